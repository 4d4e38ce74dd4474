#pragma once

#include <string>
#include <string_view>

/// The texts of the menu entries. They start the executable `application`, a path in UTF-8 without control
/// characters. An entry appears only for PNG, JPEG, GIF and HEIC files, where the file manager can filter by
/// type. File names are passed as file: URIs where the file manager has them: a name need not be valid text
/// in the user's encoding.
namespace tarnwick::MenuTexts {

constexpr std::string_view title = "用 Tarnwick 压缩";
/// In the text of every entry that has a file of its own. A file without it belongs to the user.
constexpr std::string_view mark =
    "Tarnwick-Menu: app.tarnwick.Tarnwick.finder (without this line, the file is left alone)";
/// The unique-id of Thunar's action.
constexpr std::string_view uniqueID = "app.tarnwick.Tarnwick.finder";

/// The names that differ between Nautilus and Caja, for example "nautilus", "Nautilus", "NAUTILUS".
struct NautilusNames {
    std::string program;
    std::string module;
    std::string variable;
};

std::string pythonExtension(const NautilusNames& names, const std::string& application);
/// The menu of scripts appears for all files: the script skips those with other extensions.
std::string script(const NautilusNames& names, const std::string& application);
/// Nemo cannot escape "%": `application` must not contain it.
std::string nemoAction(const std::string& application);
std::string serviceMenu(const std::string& application);
/// An <action> element for Thunar, with the line break after it.
std::string thunarAction(const std::string& application);
/// The command in that element.
std::string thunarCommand(const std::string& application);

} // namespace tarnwick::MenuTexts
