#pragma once

#include <cstdint>
#include <span>

namespace tarnwick {

/// The unsigned number that up to eight bytes make, the most significant first.
constexpr std::uint64_t bigEndian(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) {
        value = value << 8U | byte;
    }
    return value;
}

} // namespace tarnwick
