#pragma once

#include "Foundation/URL.h"

#include <vector>

namespace tarnwick {

/// The folders of the user and of the system. A folder need not exist.
struct UserDirectories {
    /// $XDG_DATA_HOME, else ~/.local/share.
    URL data;
    /// $XDG_CONFIG_HOME, else ~/.config.
    URL configuration;
    /// $XDG_CONFIG_DIRS, else /etc/xdg: the most important first.
    std::vector<URL> systemConfiguration;
    /// The folders of programs: $PATH, else the usual places.
    std::vector<URL> executables;
    /// The folders of libraries, with the plug-ins of the file managers: /usr/lib and the like.
    std::vector<URL> libraries;

    /// Not thread-safe while the environment changes.
    static UserDirectories fromEnvironment();
};

} // namespace tarnwick
