#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// Where the parts of the application stand.
class ApplicationBundle {
public:
    /// What the system knows the file managers' extension by.
    static constexpr auto extensionIdentifier = "app.tarnwick.Tarnwick.finder";

    /// The one that `executable`, a file in its "Contents/Linux", belongs to.
    explicit ApplicationBundle(const URL& executable);
    /// The running program's. Throws std::filesystem::filesystem_error when the system does not tell.
    static ApplicationBundle running();

    /// The bundle itself, which holds "Contents".
    URL url() const;
    /// The application's own executable.
    URL executable() const;
    /// "Resources/Tools" in the bundle, or "Vendor/Bin" in the current directory where there are no
    /// resources.
    URL toolDirectory() const;
    /// The file managers' extension, a bundle of its own; it need not be there.
    URL extension() const;
    /// The folder of `pluginkit`, which registers the extension: that of the system (`systemTools`) where it
    /// has one, else the extension's.
    URL pluginKitDirectory(const URL& systemTools = URL::file("/usr/bin")) const;
    /// The helper that keeps the backups, a bundle of its own; it need not be there.
    URL helper() const;
    URL helperExecutable() const;

private:
    URL contents_;
};

} // namespace tarnwick
