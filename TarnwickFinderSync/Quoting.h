#pragma once

#include <string>
#include <string_view>

/// How a path stands in the texts of others, without loss. Paths hold no control characters.
namespace tarnwick::Quoting {

/// A word of a POSIX shell, also as GLib splits command lines.
std::string shellWord(std::string_view text);
/// A string of Python.
std::string pythonString(std::string_view text);
/// A quoted argument of a desktop entry's Exec line, before keyFileValue().
std::string execArgument(std::string_view text);
/// A value of type string in a desktop entry or another key file.
std::string keyFileValue(std::string_view text);
/// `text` in which "%" begins no field code.
std::string withoutFieldCodes(std::string_view text);
/// Character data of XML.
std::string xmlText(std::string_view text);

} // namespace tarnwick::Quoting
