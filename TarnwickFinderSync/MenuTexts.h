#pragma once

#include <string>
#include <string_view>

/// The texts of the menus' entries that start the executable `application`, a path in UTF-8 without control
/// characters. Each entry shows itself for PNG, JPEG, GIF and HEIC files alone, as far as the file manager
/// can, and passes any name of a file on unharmed: as file URIs where the file manager has them, since
/// programs read arguments as text of the user's encoding.
namespace tarnwick::MenuTexts {

constexpr std::string_view title = "用 Tarnwick 压缩";
/// Stands in every entry that is a file by itself; a file without it is the user's own.
constexpr std::string_view mark =
    "Tarnwick-Menu: app.tarnwick.Tarnwick.finder (without this line, the file is left alone)";
/// The unique-id of Thunar's action.
constexpr std::string_view uniqueID = "app.tarnwick.Tarnwick.finder";

/// What tells Nautilus and Caja apart: "nautilus", "Nautilus", "NAUTILUS".
struct NautilusNames {
    std::string program;
    std::string module;
    std::string variable;
};

std::string pythonExtension(const NautilusNames& names, const std::string& application);
/// The scripts' menu shows itself for everything; files with other extensions are passed over.
std::string script(const NautilusNames& names, const std::string& application);
/// Nemo has no way to write a "%" that means itself: `application` must hold none.
std::string nemoAction(const std::string& application);
std::string serviceMenu(const std::string& application);
/// An <action> element of Thunar with the line end after it.
std::string thunarAction(const std::string& application);
/// The command in it.
std::string thunarCommand(const std::string& application);

} // namespace tarnwick::MenuTexts
