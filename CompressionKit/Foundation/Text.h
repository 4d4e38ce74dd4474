#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tarnwick {

/// Whether `bytes` are well-formed UTF-8 (no overlong forms, no surrogates).
bool isUTF8(std::string_view bytes);

/// `bytes` as UTF-8, each ill-formed sequence replaced by U+FFFD.
std::string decodeUTF8(std::string_view bytes);

/// `bytes` as one line of well-formed text for display: ill-formed sequences and control characters, which
/// could break the line or control a terminal, become U+FFFD.
std::string displayText(std::string_view bytes);

/// The first `count` characters (code points) of well-formed UTF-8 text.
std::string firstCharacters(std::string_view text, std::size_t count);

/// `text` without the white space and line ends around it.
std::string_view trimmed(std::string_view text);

/// `text` with A to Z in lower case; all other bytes stay.
std::string lowercasedASCII(std::string_view text);

/// The bytes of `text`, which must outlive the result.
inline std::span<const std::uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Whether a file's bytes begin with those of `text`.
bool startsWith(std::span<const std::uint8_t> bytes, std::string_view text);

} // namespace tarnwick
