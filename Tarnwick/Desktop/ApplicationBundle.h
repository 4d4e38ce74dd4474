#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// The locations of the application's parts.
class ApplicationBundle {
public:
    /// Identifies the file managers' extension to the system.
    static constexpr auto extensionIdentifier = "app.tarnwick.Tarnwick.finder";

    /// The bundle that has `executable` in its "Contents/Linux".
    explicit ApplicationBundle(const URL& executable);
    /// The running program's. Throws std::filesystem::filesystem_error when its path cannot be read.
    static ApplicationBundle running();

    /// The bundle itself, which holds "Contents".
    URL url() const;
    /// The application's own executable.
    URL executable() const;
    /// "Resources/Tools" in the bundle; without resources "Vendor/Bin" in the current directory.
    URL toolDirectory() const;
    /// The bundle of the file managers' extension; it need not exist.
    URL extension() const;
    /// The folder of `pluginkit`, which registers the extension: the system's (`systemTools`) if it has one,
    /// else the extension's.
    URL pluginKitDirectory(const URL& systemTools = URL::file("/usr/bin")) const;
    /// The bundle of the helper that looks after the backups; it need not exist.
    URL helper() const;
    URL helperExecutable() const;

private:
    URL contents_;
};

} // namespace tarnwick
