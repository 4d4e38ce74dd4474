#pragma once

#include "Foundation/UUID.h"
#include "History/UndoStore.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>

namespace tarnwick {

/// Removes backups when they expire, until none is left. Tries again while one cannot be removed, after a
/// second at first, then after twice the last pause, at most a minute. Belongs to the main thread.
class BackupMaintenance {
public:
    struct Findings {
        /// The committed records that still have a backup.
        std::set<UUID> records;
        /// The size of these backups together.
        std::int64_t backupBytes = 0;
        /// Whether a backup was removed since the previous findings.
        bool hasRemoved = false;
        /// When the next backup expires.
        std::optional<Date> nextExpiration;
        /// Whether a backup stays although it has expired: it cannot be removed.
        bool hasOverdue = false;
        /// Whether removing the overdue ones has failed for a minute.
        bool isOverdueForLong = false;
        /// Whether there is a prepared record that is no older than a backup gets. An older one is of no use:
        /// its backup would expire as soon as the record was settled.
        bool hasPrepared = false;

        /// Adds a committed record with a backup. `bytes` is the size of the backup.
        void add(const UndoRecord& record, std::int64_t bytes, bool isOverdue);
    };

    /// `onBackups` receives the findings of every pass. After a failed pass, `onFailure` is called and the
    /// next pass waits for schedule().
    BackupMaintenance(
        BackgroundWorker& worker, Clock& clock, UndoStore store,
        std::function<void(const Findings&)> onBackups, std::function<void()> onFailure = [] {});

    /// Starts a pass now. If a pass is running, its findings are dropped and a new pass follows.
    void schedule();

private:
    static constexpr double shortestPause = 1;

    static Findings tidy(const UndoStore& store, Date now);
    void pass();
    void finishPass(const std::exception_ptr& error, const Findings& findings);
    void wait(const Findings& findings);

    BackgroundWorker& worker_;
    Clock& clock_;
    UndoStore store_;
    std::function<void(const Findings&)> onBackups_;
    std::function<void()> onFailure_;
    bool isRunning_ = false;
    bool isStale_ = false;
    bool hasRemoved_ = false;
    /// The seconds until the next attempt to remove overdue backups.
    double retryPause_ = shortestPause;
    Registration wait_;
};

} // namespace tarnwick
