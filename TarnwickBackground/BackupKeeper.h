#pragma once

#include "Foundation/FileLock.h"
#include "Foundation/URL.h"
#include "History/Leftovers.h"
#include "History/UndoStore.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/Maintenance/BackupMaintenance.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"

#include <exception>
#include <functional>
#include <optional>

namespace tarnwick {

/// Removes what killed processes left, then the store's backups as they expire, until there is none. Belongs
/// to the main thread and needs its event loop.
///
/// It stays while a process works on a picture, while a backup can still be restored, while a record of a
/// killed process waits to be settled, at most as long as its backup could be restored, and while an expired
/// backup cannot be removed, for a minute.
class BackupKeeper {
public:
    /// Calls `end` with the program's exit status when there is no more work. Holds `lock` until then.
    /// `clock` must outlive the keeper.
    BackupKeeper(UndoStore store, URL lockFile, FileLock lock, Clock& clock, std::function<void(int)> end);

private:
    void sweep();
    void sweepIfNeeded();
    void handleLeftovers(const std::exception_ptr& error, const LeftoversReport& leftovers);
    void handleFindings(const BackupMaintenance::Findings& findings);
    bool isNeeded(const BackupMaintenance::Findings& findings) const;
    bool takeLock();

    UndoStore store_;
    URL lockFile_;
    /// None during the last look at the store.
    std::optional<FileLock> lock_;
    Clock& clock_;
    std::function<void(int)> end_;
    DBusNotifications notifications_;
    LogindWakeMonitor wake_;
    MainThreadContext mainThread_;
    BackgroundWorker worker_{mainThread_.executor()};
    BackupMaintenance maintenance_;
    Registration nextSweep_;
    bool isSweeping_ = false;
    bool isSweepStale_ = false;
    /// Whether live processes hold items that may have to be removed later.
    bool isWorkHeld_ = false;
    bool hasPrepared_ = false;
    Registration historyObservation_;
    Registration undoObservation_;
    Registration wakeObservation_;
};

} // namespace tarnwick
