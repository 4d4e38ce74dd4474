#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text measured in terminal columns; an East Asian wide character takes two. All text is valid UTF-8 without
/// control characters.
namespace tarnwick::TerminalText {

std::size_t columns(std::string_view text);
/// The text if it fits, else its start and end joined by "…".
std::string elidedInMiddle(std::string_view text, std::size_t maximumColumns);
/// The text followed by spaces up to `width` columns.
std::string padded(std::string_view text, std::size_t width);

} // namespace tarnwick::TerminalText
