#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// Where the parts of the application stand.
class ApplicationBundle {
public:
    /// The one that `executable`, a file in its "Contents/Linux", belongs to.
    explicit ApplicationBundle(const URL& executable);
    /// The running program's. Throws std::filesystem::filesystem_error when the system does not tell.
    static ApplicationBundle running();

    /// "Resources/Tools" in the bundle, or "Vendor/Bin" in the current directory where there are no
    /// resources.
    URL toolDirectory() const;
    /// The executable of the helper that keeps the backups; it need not be there.
    URL helperExecutable() const;

private:
    URL contents_;
};

} // namespace tarnwick
