#pragma once

#include "Foundation/UUID.h"
#include "History/UndoStore.h"
#include "Tarnwick/Desktop/Clock.h"
#include "Tarnwick/Model/BackgroundWorker.h"

#include <functional>
#include <optional>
#include <set>

namespace tarnwick {

/// Removes backups when they expire, for as long as there are any. Belongs to the main thread.
class BackupMaintenance {
public:
    /// `onBackups` receives the identities of the committed records that still have a backup, after every
    /// pass.
    BackupMaintenance(BackgroundWorker& worker, Clock& clock, UndoStore store,
                      std::function<void(const std::set<UUID>&)> onBackups);

    /// Begins anew with a pass now; a pass at work is followed by one more, and its findings are dropped.
    void schedule();

private:
    struct Findings {
        std::set<UUID> records;
        std::optional<Date> nextExpiration;
    };

    static Findings tidy(const UndoStore& store, Date now);
    void pass();
    void passEnded(const std::exception_ptr& error, const Findings& findings);
    void waitUntil(Date expiration);

    BackgroundWorker& worker_;
    Clock& clock_;
    UndoStore store_;
    std::function<void(const std::set<UUID>&)> onBackups_;
    bool isAtWork_ = false;
    bool isStale_ = false;
    Registration wait_;
};

} // namespace tarnwick
