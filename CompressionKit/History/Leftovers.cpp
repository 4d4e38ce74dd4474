#include "History/Leftovers.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "History/Restoring.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <set>

namespace tarnwick {
namespace {

/// Records of operations that were not completed.
std::vector<UndoRecord> unsettledRecords(const UndoStore& store) {
    std::vector<UndoRecord> records = store.records();
    std::erase_if(records, [](const UndoRecord& record) {
        return record.state == UndoRecord::State::committed && !itemExists(record.exchangeURL());
    });
    return records;
}

std::vector<URL> unfinishedRecords(const UndoStore& store) {
    std::vector<URL> found;
    if (!itemExists(store.root())) {
        return found;
    }
    for (const URL& session : entries(store.root())) {
        if (isDirectory(session)) {
            const std::vector<URL> files = entries(session);
            std::copy_if(files.begin(), files.end(), std::back_inserter(found), isUnfinishedWrite);
        }
    }
    return found;
}

/// Whether the backup was never complete, so that this record never replaced its original.
bool isBackupUnfinished(const UndoStore& store, const UndoRecord& record) {
    const auto backup = statusIfPresent(store.backupURL(record));
    return !backup || backup->st_size < record.originalBytes;
}

/// False when the record must stay as it is because the picture is not known to be safe.
bool trySettle(const UndoStore& store, const UndoRecord& record) {
    const URL original = record.originalURL();
    if (!holdsReplacement(record, record.replacementURL()) && holdsOriginal(record, original)) {
        // It may have been rolled back a moment ago.
        syncDirectory(original.deletingLastPathComponent());
        store.deleteRecord(record);
        return true;
    }
    if (hasSoundBackup(store, record)) {
        // Also when the original is gone, or another program's file is in its place: it can be restored, or
        // the backup expires.
        store.commit(record);
        return true;
    }
    if (!isBackupUnfinished(store, record)) {
        return false;
    }
    store.deleteRecord(record);
    return true;
}

/// Calls `attempt`, which returns false when it must leave something. `problem` is the text for that.
template <typename Attempt>
bool settled(const UndoRecord& record, const char* problem, LeftoversReport& report, Attempt attempt) {
    const std::string name = displayText(record.originalPath);
    try {
        if (attempt()) {
            return true;
        }
        report.problems.push_back(problem + name);
    } catch (const std::exception& error) {
        report.problems.push_back("无法处理意外中断的压缩记录 " + name + "：" + errorDescription(error));
    }
    return false;
}

void settle(const UndoStore& store, const UndoRecord& record, LeftoversReport& report) {
    if (itemExists(record.exchangeURL())) {
        const bool isReturned = settled(record, "意外中断时被其他程序修改的文件仍保留在隐藏文件中：", report,
                                        [&] { return returnDisplacedFile(store, record); });
        report.removed += isReturned ? 1 : 0;
    }
    if (record.state == UndoRecord::State::prepared &&
        settled(record, "压缩曾意外中断，无法确认原图是否完好，已保留备份：", report,
                [&] { return trySettle(store, record); })) {
        ++report.settledRecords;
    }
}

} // namespace

LeftoversReport removeLeftovers(const UndoStore& store, const WorkRegister& workRegister) {
    LeftoversReport report;
    const auto turn = FileLock::tryAcquire(workRegister.folder().appending("sweep.lock"));
    if (!turn) {
        report.isIncomplete = true;
        return report;
    }
    // A live process holds a note beside the picture from before it prepares a record until it commits or
    // deletes the record. So a record that was unsettled before and after the sweep, without such a note
    // during the sweep, belongs to a dead process.
    std::set<UUID> unsettled;
    for (const UndoRecord& record : unsettledRecords(store)) {
        unsettled.insert(record.id);
    }
    const std::vector<URL> unfinished = unfinishedRecords(store);
    WorkRegister::SweepResult sweep = workRegister.sweep();
    report.removed = sweep.removed;
    report.isIncomplete = !sweep.held.empty();
    report.problems = std::move(sweep.problems);
    if (!sweep.isCertain) {
        return report;
    }
    if (sweep.held.empty()) {
        std::for_each(unfinished.begin(), unfinished.end(), removeFile);
        report.removed += static_cast<int>(unfinished.size());
    }
    for (const UndoRecord& record : unsettledRecords(store)) {
        if (unsettled.contains(record.id) &&
            !hasItemIn(record.originalURL().deletingLastPathComponent(), sweep.held)) {
            settle(store, record, report);
        }
    }
    return report;
}

} // namespace tarnwick
