#pragma once

#include <cstddef>
#include <string>

/// How words of any bytes stand in a line: what is not plain is percent-encoded, nothing at all is a lone
/// "%". Needs nothing of the library, since the fake tool is not linked with it.
namespace tarnwick::test {

inline std::string escaped(const std::string& text) {
    constexpr auto digits = "0123456789ABCDEF";
    std::string word = text.empty() ? "%" : "";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte < 0x7F && c != '%') {
            word += c;
        } else {
            word += {'%', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return word;
}

inline std::string unescaped(const std::string& word) {
    std::string text;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (word[i] != '%') {
            text += word[i];
        } else if (i + 2 < word.size()) {
            text += static_cast<char>(std::stoi(word.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
    }
    return text;
}

} // namespace tarnwick::test
