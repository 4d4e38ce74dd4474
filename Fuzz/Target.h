#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tarnwick::fuzz {

/// What is fuzzed: code that reads foreign bytes.
struct Target {
    std::string_view name;
    /// Must throw nothing, whatever the bytes are.
    void (*read)(std::span<const std::uint8_t> bytes);
};

/// The target of this name. Ends the process when there is none.
const Target& targetNamed(std::string_view name);

} // namespace tarnwick::fuzz
