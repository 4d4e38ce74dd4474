#pragma once

#include "Foundation/UUID.h"
#include "History/UndoStore.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"

#include <functional>
#include <optional>
#include <set>

namespace tarnwick {

/// Removes backups when they expire, for as long as there are any. Belongs to the main thread.
class BackupMaintenance {
public:
    struct Findings {
        /// The committed records that still have a backup.
        std::set<UUID> records;
        /// Whether a backup was removed since the findings before.
        bool hasRemoved = false;
        std::optional<Date> nextExpiration;
    };

    /// `onBackups` receives what every pass finds. A pass that fails is logged, and the next one waits for
    /// schedule(); `onFailure` is told of it.
    BackupMaintenance(
        BackgroundWorker& worker, Clock& clock, UndoStore store,
        std::function<void(const Findings&)> onBackups, std::function<void()> onFailure = [] {});

    /// Begins anew with a pass now; a pass at work is followed by one more, and its findings are dropped.
    void schedule();

private:
    static Findings tidy(const UndoStore& store, Date now);
    void pass();
    void passEnded(const std::exception_ptr& error, const Findings& findings);
    void waitUntil(Date expiration);

    BackgroundWorker& worker_;
    Clock& clock_;
    UndoStore store_;
    std::function<void(const Findings&)> onBackups_;
    std::function<void()> onFailure_;
    bool isAtWork_ = false;
    bool isStale_ = false;
    bool hasRemoved_ = false;
    Registration wait_;
};

} // namespace tarnwick
