#pragma once

#include "Foundation/URL.h"
#include "Foundation/UUID.h"
#include "History/Leftovers.h"
#include "History/UndoStore.h"
#include "Tarnwick/Model/ImageTaskListModel.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarnwick {

/// A record of the history.
struct HistoryEntry {
    UndoRecord record;
    /// Whether there is a backup that will expire.
    bool hasBackup = false;
};

/// A row for each entry that has none, except for those of files that are being compressed: such a
/// compression may have prepared its record already, and gives it to its own row.
std::vector<ImageTask> missingRows(const std::vector<HistoryEntry>& entries, const ImageTaskListModel& tasks);

/// Reads the history on a background thread for the main thread. Only the newest load delivers; a start while
/// one runs makes it read once more, so that a hundred notifications at once cause two reads. The first read
/// follows a sweep of what dead processes left.
class HistoryLoading {
public:
    struct Result {
        bool isStartup = false;
        /// None when reading failed.
        std::vector<HistoryEntry> entries;
        /// Of the sweep before the first read.
        LeftoversReport leftovers;
    };
    using Completion = std::function<void(const Result&)>;

    /// `completion` receives the newest load.
    HistoryLoading(BackgroundWorker& worker, UndoStore store, Completion completion);

    void start(bool isStartup);
    /// Keeps a file that was imported, or a record that was deleted, out of the load in flight.
    void exclude(const URL& file);
    void exclude(const UndoRecord& record);

private:
    void sweep();
    void read();
    void finish(const UUID& loadID, const std::exception_ptr& error, std::vector<HistoryEntry> entries);
    bool isExcluded(const HistoryEntry& entry) const;

    BackgroundWorker& worker_;
    UndoStore store_;
    Completion completion_;
    /// The newest load in flight.
    std::optional<UUID> historyLoadID_;
    bool isStartup_ = false;
    bool hasSwept_ = false;
    LeftoversReport leftovers_;
    std::set<std::string> historyExcludedPaths_;
    std::set<UUID> excludedRecords_;
};

} // namespace tarnwick
