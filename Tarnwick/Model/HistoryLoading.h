#pragma once

#include "Foundation/URL.h"
#include "Foundation/UUID.h"
#include "History/UndoStore.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarnwick {

/// A record of the history, as a load finds it.
struct HistoryEntry {
    UndoRecord record;
    /// Whether there is a backup that will expire.
    bool hasBackup = false;
};

/// Reads the history on a background thread, for the main thread. The newest load wins: while one is at work
/// another one only replaces it, so that a hundred notifications at once are answered by two loads.
class HistoryLoading {
public:
    using Completion = std::function<void(bool isStartup, const std::vector<HistoryEntry>&)>;

    /// `completion` receives what the newest load found: nothing when it failed, which is logged.
    HistoryLoading(BackgroundWorker& worker, UndoStore store, Completion completion);

    void start(bool isStartup);
    /// What the load at work, if there is one, must not bring back: a file that was imported meanwhile, a
    /// record that was deleted.
    void exclude(const URL& file);
    void exclude(const UndoRecord& record);

private:
    void read();
    void finish(const std::exception_ptr& error, std::vector<HistoryEntry> entries);
    bool isExcluded(const HistoryEntry& entry) const;

    BackgroundWorker& worker_;
    UndoStore store_;
    Completion completion_;
    /// The newest load that is not finished yet, by its `isStartup`.
    std::optional<bool> newest_;
    bool isReading_ = false;
    bool isSuperseded_ = false;
    std::set<std::string> excludedPaths_;
    std::set<UUID> excludedRecords_;
};

} // namespace tarnwick
