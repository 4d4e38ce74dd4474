#pragma once

#include "Foundation/UUID.h"
#include "History/UndoStore.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"

#include <functional>
#include <optional>
#include <set>

namespace tarnwick {

/// Removes backups when they expire, until none is left. Belongs to the main thread.
class BackupMaintenance {
public:
    struct Findings {
        /// The committed records that still have a backup.
        std::set<UUID> records;
        /// Whether a backup was removed since the previous findings.
        bool hasRemoved = false;
        std::optional<Date> nextExpiration;
    };

    /// `onBackups` receives the findings of every pass. After a failed pass, `onFailure` is called and the
    /// next pass waits for schedule().
    BackupMaintenance(
        BackgroundWorker& worker, Clock& clock, UndoStore store,
        std::function<void(const Findings&)> onBackups, std::function<void()> onFailure = [] {});

    /// Starts a pass now. If a pass is running, its findings are dropped and a new pass follows.
    void schedule();

private:
    static Findings tidy(const UndoStore& store, Date now);
    void pass();
    void finishPass(const std::exception_ptr& error, const Findings& findings);
    void waitUntil(Date expiration);

    BackgroundWorker& worker_;
    Clock& clock_;
    UndoStore store_;
    std::function<void(const Findings&)> onBackups_;
    std::function<void()> onFailure_;
    bool isRunning_ = false;
    bool isStale_ = false;
    bool hasRemoved_ = false;
    Registration wait_;
};

} // namespace tarnwick
