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

} // namespace

HistoryLoading::HistoryLoading(BackgroundWorker& worker, UndoStore store, Completion completion)
    : worker_(worker), store_(std::move(store)), completion_(std::move(completion)) {}

void HistoryLoading::start(bool isStartup) {
    newest_ = isStartup;
    if (isReading_) {
        isSuperseded_ = true;
    } else {
        read();
    }
}

void HistoryLoading::exclude(const URL& file) {
    if (newest_) {
        excludedPaths_.insert(standardized(file.path()));
    }
}

void HistoryLoading::exclude(const UndoRecord& record) {
    if (newest_) {
        excludedRecords_.insert(record.id);
    }
}

void HistoryLoading::read() {
    isReading_ = true;
    isSuperseded_ = false;
    worker_.run([store = store_] { return readHistory(store); },
                [this](const std::exception_ptr& error, std::vector<HistoryEntry> entries) {
                    finish(error, std::move(entries));
                });
}

void HistoryLoading::finish(const std::exception_ptr& error, std::vector<HistoryEntry> entries) {
    if (isSuperseded_) {
        read();
        return;
    }
    if (error) {
        qCDebug(debugLog).noquote() << "无法读取历史记录：" + errorText(error);
    }
    std::erase_if(entries, [this](const HistoryEntry& entry) { return isExcluded(entry); });
    const bool isStartup = *std::exchange(newest_, std::nullopt);
    isReading_ = false;
    excludedPaths_.clear();
    excludedRecords_.clear();
    completion_(isStartup, entries);
}

bool HistoryLoading::isExcluded(const HistoryEntry& entry) const {
    return excludedRecords_.contains(entry.record.id) ||
           (!excludedPaths_.empty() && excludedPaths_.contains(standardized(entry.record.originalPath)));
}

} // namespace tarnwick
