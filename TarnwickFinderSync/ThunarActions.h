#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Edits the text of the file in which Thunar keeps all custom actions, the user's and ours. Only our
/// element, the one with MenuTexts::uniqueID, is inserted, replaced or removed: every other byte stays. All
/// functions throw CompressionError for text that isn't such a file in well-formed XML and UTF-8.
namespace tarnwick::ThunarActions {

/// A file without actions.
constexpr std::string_view emptyFile = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<actions>\n</actions>\n";

/// The command of our action, if there is one.
std::optional<std::string> ourCommand(std::string_view text);

/// Replaces our action with `action` (an element and the line break after it), or appends it to the others.
std::string withAction(std::string_view text, std::string_view action);

/// Removes our action and the line break after it.
std::string withoutAction(std::string_view text);

} // namespace tarnwick::ThunarActions
