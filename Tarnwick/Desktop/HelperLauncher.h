#pragma once

namespace tarnwick {

/// Starts the helper that looks after the backups when no window is open.
class HelperLauncher {
public:
    HelperLauncher() = default;
    HelperLauncher(const HelperLauncher&) = delete;
    HelperLauncher& operator=(const HelperLauncher&) = delete;
    virtual ~HelperLauncher() = default;

    /// Sees to it that the helper runs, where one is installed. It outlives this process. A failure is only
    /// logged.
    virtual void launch() = 0;
};

} // namespace tarnwick
