#pragma once

#include "Foundation/URL.h"
#include "Tarnwick/Desktop/DesktopServices.h"

namespace tarnwick {

/// Starts the helper of an application bundle with "--maintain-backups", unless one runs already. It outlives
/// this program and its terminal and holds none of their files open.
class BundleHelperLauncher final : public HelperLauncher {
public:
    /// `helper` is the helper's executable, see ApplicationBundle.
    explicit BundleHelperLauncher(URL helper);

    void launch() override;

private:
    URL helper_;
};

/// The file that a running helper locks (see FileLock).
URL helperLockFile();

} // namespace tarnwick
