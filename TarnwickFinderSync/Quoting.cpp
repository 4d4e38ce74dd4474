#include "TarnwickFinderSync/Quoting.h"

namespace tarnwick::Quoting {
namespace {

/// `text` with `escape` before each of these characters.
std::string escaped(std::string_view text, std::string_view characters, char escape) {
    std::string result;
    for (const char c : text) {
        if (characters.find(c) != std::string_view::npos) {
            result += escape;
        }
        result += c;
    }
    return result;
}

std::string_view xmlCharacter(const char& c) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    default:
        return {&c, 1};
    }
}

} // namespace

std::string shellWord(std::string_view text) {
    std::string word = "'";
    for (const char c : text) {
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return word + "'";
}

std::string pythonString(std::string_view text) {
    return '"' + escaped(text, "\\\"", '\\') + '"';
}

std::string execArgument(std::string_view text) {
    return '"' + escaped(text, "\\\"`$", '\\') + '"';
}

std::string keyFileValue(std::string_view text) {
    return escaped(text, "\\", '\\');
}

std::string withoutFieldCodes(std::string_view text) {
    return escaped(text, "%", '%');
}

std::string xmlText(std::string_view text) {
    std::string result;
    for (const char& c : text) {
        result += xmlCharacter(c);
    }
    return result;
}

} // namespace tarnwick::Quoting
