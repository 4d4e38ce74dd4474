#include "Tarnwick/Model/HistoryLoading.h"

#include "Tarnwick/QtSupport/DebugLog.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace tarnwick {
namespace {

std::string standardized(const std::string& path) {
    return std::filesystem::path(path).lexically_normal().native();
}

std::vector<HistoryEntry> readHistory(const UndoStore& store) {
    std::vector<HistoryEntry> entries;
    for (UndoRecord& record : store.records()) {
        const bool hasBackup = record.state == UndoRecord::State::committed && store.hasBackup(record);
        entries.push_back({.record = std::move(record), .hasBackup = hasBackup});
    }
    return entries;
}

std::set<std::string> pathsBeingCompressed(const ImageTaskListModel& tasks) {
    std::set<std::string> paths;
    for (int row = 0; row < tasks.count(); ++row) {
        const ImageTask& task = tasks.at(row);
        if (task.status == TaskStatus::Waiting || task.status == TaskStatus::Compressing) {
            paths.insert(task.url.path());
        }
    }
    return paths;
}

} // namespace

std::vector<ImageTask> missingRows(const std::vector<HistoryEntry>& entries,
                                   const ImageTaskListModel& tasks) {
    const std::set<std::string> compressing = pathsBeingCompressed(tasks);
    std::vector<ImageTask> rows;
    for (const HistoryEntry& entry : entries) {
        const bool hasRow = !tasks.tasksHolding(entry.record.id).empty();
        if (!hasRow && !compressing.contains(entry.record.originalPath)) {
            rows.push_back(ImageTask::fromHistory(entry.record, entry.hasBackup));
        }
    }
    return rows;
}

HistoryLoading::HistoryLoading(BackgroundWorker& worker, UndoStore store, Completion completion)
    : worker_(worker), store_(std::move(store)), completion_(std::move(completion)) {}

void HistoryLoading::start(bool isStartup) {
    const bool isReading = std::exchange(historyLoadID_, UUID::random()).has_value();
    isStartup_ = isStartup;
    if (!isReading) {
        hasSwept_ ? read() : sweep();
    }
}

void HistoryLoading::sweep() {
    hasSwept_ = true;
    worker_.run([store = store_] { return removeLeftovers(store); },
                [this](const std::exception_ptr& error, const LeftoversReport& leftovers) {
                    if (error) {
                        qCDebug(debugLog).noquote() << "无法清理意外中断的任务：" + errorText(error);
                    }
                    for (const std::string& problem : leftovers.problems) {
                        qCDebug(debugLog).noquote() << QString::fromStdString(problem);
                    }
                    leftovers_ = leftovers;
                    read();
                });
}

void HistoryLoading::exclude(const URL& file) {
    if (historyLoadID_) {
        historyExcludedPaths_.insert(standardized(file.path()));
    }
}

void HistoryLoading::exclude(const UndoRecord& record) {
    if (historyLoadID_) {
        excludedRecords_.insert(record.id);
    }
}

void HistoryLoading::read() {
    worker_.run(
        [store = store_] { return readHistory(store); },
        [this, loadID = *historyLoadID_](const std::exception_ptr& error, std::vector<HistoryEntry> entries) {
            finish(loadID, error, std::move(entries));
        });
}

void HistoryLoading::finish(const UUID& loadID, const std::exception_ptr& error,
                            std::vector<HistoryEntry> entries) {
    if (historyLoadID_ != loadID) {
        read();
        return;
    }
    if (error) {
        qCDebug(debugLog).noquote() << "无法读取历史记录：" + errorText(error);
    }
    std::erase_if(entries, [this](const HistoryEntry& entry) { return isExcluded(entry); });
    historyLoadID_.reset();
    historyExcludedPaths_.clear();
    excludedRecords_.clear();
    completion_(
        {.isStartup = isStartup_, .entries = std::move(entries), .leftovers = std::exchange(leftovers_, {})});
}

bool HistoryLoading::isExcluded(const HistoryEntry& entry) const {
    return excludedRecords_.contains(entry.record.id) ||
           (!historyExcludedPaths_.empty() &&
            historyExcludedPaths_.contains(standardized(entry.record.originalPath)));
}

} // namespace tarnwick
