#pragma once

#include "Foundation/FileLock.h"
#include "Foundation/URL.h"
#include "History/Leftovers.h"
#include "History/UndoStore.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "Tarnwick/Maintenance/BackupMaintenance.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"

#include <exception>
#include <functional>
#include <optional>

namespace tarnwick {

/// Removes what killed processes left, then the store's backups as they expire, until there is none. Belongs
/// to the main thread and needs its event loop.
class BackupKeeper {
public:
    /// Calls `end` with the program's exit status when there is no more work. Holds `lock` until then.
    BackupKeeper(UndoStore store, URL lockFile, FileLock lock, std::function<void(int)> end);

private:
    void removeLeftovers();
    void handleLeftovers(const std::exception_ptr& error, const LeftoversReport& leftovers);
    void handleFindings(const BackupMaintenance::Findings& findings);
    void endUnlessNeeded();
    bool takeLock();

    UndoStore store_;
    URL lockFile_;
    std::optional<FileLock> lock_;
    std::function<void(int)> end_;
    SystemClock clock_;
    DBusNotifications notifications_;
    LogindWakeMonitor wake_;
    MainThreadContext mainThread_;
    BackgroundWorker worker_{mainThread_.executor()};
    BackupMaintenance maintenance_;
    Registration nextSweep_;
    bool isSweepPending_ = false;
    Registration historyObservation_;
    Registration undoObservation_;
    Registration wakeObservation_;
};

} // namespace tarnwick
