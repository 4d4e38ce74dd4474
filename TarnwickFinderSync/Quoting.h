#pragma once

#include <string>
#include <string_view>

/// Quotes paths for the formats of the menu entries. Paths contain no control characters.
namespace tarnwick::Quoting {

/// A word for a POSIX shell and for GLib's parser of command lines.
std::string shellWord(std::string_view text);
/// A Python string literal.
std::string pythonString(std::string_view text);
/// A quoted argument of a desktop entry's Exec line. Apply keyFileValue() to the whole line.
std::string execArgument(std::string_view text);
/// A string value in a desktop entry or another key file.
std::string keyFileValue(std::string_view text);
/// `text` with each "%" escaped, so that it does not begin a field code.
std::string withoutFieldCodes(std::string_view text);
/// Character data of XML.
std::string xmlText(std::string_view text);

} // namespace tarnwick::Quoting
