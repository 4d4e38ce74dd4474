#pragma once

#include "Foundation/URL.h"
#include "Tarnwick/Desktop/DesktopServices.h"

namespace tarnwick {

/// Starts the helper of an application bundle with "--maintain-backups", unless one is at work already. It
/// outlives this program and its terminal, and keeps nothing of theirs open.
class BundleHelperLauncher final : public HelperLauncher {
public:
    /// `helper` is the helper's executable, see ApplicationBundle.
    explicit BundleHelperLauncher(URL helper);

    void launch() override;

private:
    URL helper_;
};

/// What a helper locks (see FileLock) while it is at work.
URL helperLockFile();

} // namespace tarnwick
