#pragma once

#include "Foundation/URL.h"
#include "TarnwickFinderSync/FileManagerMenus.h"
#include "TarnwickFinderSync/UserDirectories.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace tarnwick {

/// The file of a FileMenuEntry.
struct MenuFile {
    URL location;
    std::string contents;
    mode_t mode;
};

/// The alternatives for a file manager, best first. Empty for Thunar, which keeps all entries in one file.
std::vector<MenuFile> menuFiles(FileManagerMenus::FileManager fileManager, const std::string& application,
                                const UserDirectories& directories);

} // namespace tarnwick
