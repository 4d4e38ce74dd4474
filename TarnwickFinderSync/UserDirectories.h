#pragma once

#include "Foundation/URL.h"

#include <vector>

namespace tarnwick {

/// Where the user's and the system's files stand; all of it can be injected. A folder need not exist.
struct UserDirectories {
    /// $XDG_DATA_HOME, else ~/.local/share.
    URL data;
    /// $XDG_CONFIG_HOME, else ~/.config.
    URL configuration;
    /// $XDG_CONFIG_DIRS, else /etc/xdg; the most important first.
    std::vector<URL> systemConfiguration;
    /// Where programs are looked for: $PATH, else the usual places.
    std::vector<URL> executables;
    /// Where file managers have their own plug-ins: /usr/lib and the like.
    std::vector<URL> libraries;

    /// Not thread-safe beside a change of the environment.
    static UserDirectories fromEnvironment();
};

} // namespace tarnwick
