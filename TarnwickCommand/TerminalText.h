#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text on a grid of terminal columns, of which an East Asian wide character takes two. All text is
/// well-formed UTF-8 without control characters.
namespace tarnwick::TerminalText {

std::size_t columns(std::string_view text);
/// The text itself when it fits, else its beginning and end around "…".
std::string elidedInMiddle(std::string_view text, std::size_t maximumColumns);
/// The text with spaces behind it up to `width` columns.
std::string padded(std::string_view text, std::size_t width);

} // namespace tarnwick::TerminalText
