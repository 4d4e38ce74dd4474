#include "Foundation/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace tarnwick {
namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

struct Sequence {
    std::size_t length;
    bool wellFormed;
};

bool isContinuation(std::string_view bytes, std::size_t index) {
    return index < bytes.size() && (static_cast<unsigned char>(bytes[index]) & 0xC0U) == 0x80U;
}

/// The number of bytes that the lead byte announces; 0 when it cannot begin a character.
std::size_t announcedLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return 3;
    }
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

/// Whether the second byte keeps the character from being overlong, a surrogate or beyond U+10FFFF.
bool secondByteFits(unsigned char lead, unsigned char second) {
    switch (lead) {
    case 0xE0:
        return second >= 0xA0;
    case 0xED:
        return second < 0xA0;
    case 0xF0:
        return second >= 0x90;
    case 0xF4:
        return second < 0x90;
    default:
        return true;
    }
}

/// The sequence at `index`: a complete character, or the longest prefix of a truncated one.
Sequence sequenceAt(std::string_view bytes, std::size_t index) {
    const auto lead = static_cast<unsigned char>(bytes[index]);
    const std::size_t announced = announcedLength(lead);
    if (announced <= 1) {
        return {1, announced == 1};
    }
    std::size_t length = 1;
    while (length < announced && isContinuation(bytes, index + length)) {
        if (length == 1 && !secondByteFits(lead, static_cast<unsigned char>(bytes[index + 1]))) {
            break;
        }
        ++length;
    }
    return {length, length == announced};
}

/// Whether a character would do something where it is shown, beside being seen.
bool isControl(std::string_view character) {
    const char32_t point = codePoint(character);
    const bool isC0OrC1 = point < 0x20 || (point >= 0x7F && point < 0xA0);
    const bool isSeparatorOrOverride = point >= 0x2028 && point <= 0x202E;
    const bool isIsolate = point >= 0x2066 && point <= 0x2069;
    return isC0OrC1 || isSeparatorOrOverride || isIsolate;
}

/// Calls `shown` with each complete character for the text in its place.
template <typename Shown>
std::string replacing(std::string_view bytes, Shown shown) {
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t index = 0; index < bytes.size();) {
        const Sequence sequence = sequenceAt(bytes, index);
        const std::string_view character = bytes.substr(index, sequence.length);
        if (sequence.wellFormed) {
            text += shown(character);
        } else {
            text += replacementCharacter;
        }
        index += sequence.length;
    }
    return text;
}

} // namespace

char32_t codePoint(std::string_view character) {
    const auto lead = static_cast<unsigned char>(character[0]);
    char32_t point = character.size() == 1 ? lead : lead & (0x7FU >> character.size());
    for (const char byte : character.substr(1)) {
        point = (point << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    return point;
}

bool isUTF8(std::string_view bytes) {
    for (std::size_t index = 0; index < bytes.size();) {
        const Sequence sequence = sequenceAt(bytes, index);
        if (!sequence.wellFormed) {
            return false;
        }
        index += sequence.length;
    }
    return true;
}

std::string decodeUTF8(std::string_view bytes) {
    return replacing(bytes, [](std::string_view character) { return character; });
}

std::string displayText(std::string_view bytes) {
    return replacing(bytes, [](std::string_view character) {
        return isControl(character) ? replacementCharacter : character;
    });
}

std::string displayableJSON(std::string_view json) {
    return replacing(json, [](std::string_view character) {
        return isControl(character) ? fmt::format("\\u{:04x}", std::uint32_t{codePoint(character)})
                                    : std::string(character);
    });
}

std::string firstCharacters(std::string_view text, std::size_t count) {
    std::size_t end = 0;
    for (; count > 0 && end < text.size(); --count) {
        end += sequenceAt(text, end).length;
    }
    return std::string(text.substr(0, end));
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string lowercasedASCII(std::string_view text) {
    std::string lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lowered;
}

bool startsWith(std::span<const std::uint8_t> bytes, std::string_view text) {
    return bytes.size() >= text.size() &&
           std::equal(text.begin(), text.end(), bytes.begin(),
                      [](char c, std::uint8_t byte) { return static_cast<std::uint8_t>(c) == byte; });
}

} // namespace tarnwick
