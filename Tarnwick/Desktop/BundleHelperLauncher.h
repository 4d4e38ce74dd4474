#pragma once

#include "Foundation/URL.h"
#include "Tarnwick/Desktop/HelperLauncher.h"

#include <QtGlobal>

namespace tarnwick {

/// Starts the helper of an application bundle with "--maintain-backups", unless the one that it started
/// before still runs.
class BundleHelperLauncher final : public HelperLauncher {
public:
    /// `helper` is the helper's executable, see ApplicationBundle.
    explicit BundleHelperLauncher(URL helper);

    void launch() override;

private:
    bool isRunning() const;

    URL helper_;
    qint64 process_ = 0;
};

} // namespace tarnwick
