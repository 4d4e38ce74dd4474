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

/// `bytes` as one line of well-formed text for display: ill-formed sequences and all characters that could
/// break the line, control a terminal or reorder the text (control characters, line separators, and overrides
/// and isolates of the writing direction) become U+FFFD.
std::string displayText(std::string_view bytes);

/// JSON text with \uXXXX for each character that displayText() replaces. Its strings then say the same.
std::string displayableJSON(std::string_view json);

/// The code point of one well-formed character.
char32_t codePoint(std::string_view character);

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
