#pragma once

#include "Foundation/URL.h"
#include "TarnwickFinderSync/FileManagerMenus.h"
#include "TarnwickFinderSync/UserDirectories.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace tarnwick {

/// A file that is a menu entry by itself.
struct MenuFile {
    URL location;
    std::string contents;
    mode_t mode;
};

/// The files that can serve a file manager, best first; not for Thunar, which has one file for all entries.
std::vector<MenuFile> menuFiles(FileManagerMenus::FileManager fileManager, const std::string& application,
                                const UserDirectories& directories);

} // namespace tarnwick
