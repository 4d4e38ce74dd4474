#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The file in which Thunar keeps all custom actions, the user's and ours, as text. What is not ours keeps
/// every byte: only our own element is put in, replaced or cut out. Ours is the one with MenuTexts::uniqueID.
/// All throw CompressionError for text that isn't such a file in well-formed XML and UTF-8.
namespace tarnwick::ThunarActions {

/// A file without any action.
constexpr std::string_view emptyFile = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<actions>\n</actions>\n";

/// The command of our action; none when there is no such action.
std::optional<std::string> ourCommand(std::string_view text);

/// With `action`, an element with the line end after it, in the place of ours, else after all others.
std::string withAction(std::string_view text, std::string_view action);

/// Without our action and the line end after it.
std::string withoutAction(std::string_view text);

} // namespace tarnwick::ThunarActions
