#include "History/BackupCleanup.h"

#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <numeric>
#include <vector>

namespace tarnwick {
namespace {

/// A store that cannot be listed has none.
std::vector<UndoRecord> committedRecords(const RecordStore& store) {
    std::vector<UndoRecord> committed;
    try {
        committed = store.records();
    } catch (const FileSystemError&) {
        return {};
    }
    std::erase_if(committed,
                  [](const UndoRecord& record) { return record.state != UndoRecord::State::committed; });
    return committed;
}

/// Returns how many backups were removed: 1 or 0.
std::size_t tryToRemoveBackup(const RecordStore& store, const UndoRecord& record) {
    const bool hadBackup = store.hasBackup(record);
    try {
        store.removeBackup(record);
        return hadBackup ? 1 : 0;
    } catch (const FileSystemError&) {
        // The next clean-up tries again.
        return 0;
    }
}

std::size_t removeOldBackups(const RecordStore& store, double maxAge, Date now) {
    std::size_t removed = 0;
    for (const UndoRecord& record : committedRecords(store)) {
        if (now.timeIntervalSince(record.createdAt) >= maxAge) {
            removed += tryToRemoveBackup(store, record);
        }
    }
    return removed;
}

std::size_t removeBackupsOverBudget(const RecordStore& store, std::int64_t maxBytes) {
    const std::vector<UndoRecord> kept = committedRecords(store);
    std::int64_t total = std::accumulate(
        kept.begin(), kept.end(), std::int64_t{0},
        [&](std::int64_t sum, const UndoRecord& record) { return sum + backupBytes(store, record); });
    std::size_t removed = 0;
    for (const UndoRecord& record : kept) {
        if (total <= maxBytes) {
            break;
        }
        total -= backupBytes(store, record);
        removed += tryToRemoveBackup(store, record);
    }
    return removed;
}

} // namespace

std::optional<Date> nextExpiration(const RecordStore& store, double retention) {
    std::optional<Date> next;
    for (const UndoRecord& record : committedRecords(store)) {
        const Date expiration = record.createdAt.adding(retention);
        if (store.hasBackup(record) && (!next || expiration < *next)) {
            next = expiration;
        }
    }
    return next;
}

std::int64_t backupBytes(const RecordStore& store, const UndoRecord& record) noexcept {
    try {
        return fileSize(store.backupURL(record));
    } catch (const std::exception&) {
        return 0;
    }
}

std::int64_t backupBytes(const RecordStore& store, double maxAge, Date now) {
    std::int64_t total = 0;
    for (const UndoRecord& record : committedRecords(store)) {
        total += now.timeIntervalSince(record.createdAt) < maxAge ? backupBytes(store, record) : 0;
    }
    return total;
}

std::int64_t bytesOverBudget(std::int64_t keptBytes, const std::vector<std::int64_t>& originals,
                             std::int64_t maxBytes) {
    std::int64_t total = keptBytes;
    for (const std::int64_t bytes : originals) {
        // A file without content may have any size.
        total += std::min(bytes, std::numeric_limits<std::int64_t>::max() - total);
    }
    return std::max<std::int64_t>(total - maxBytes, 0);
}

std::size_t removeBackups(const RecordStore& store, double maxAge, std::int64_t maxBytes, Date now) {
    return removeOldBackups(store, maxAge, now) + removeBackupsOverBudget(store, maxBytes);
}

} // namespace tarnwick
