#include "History/Leftovers.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <set>

namespace tarnwick {
namespace {

std::vector<UndoRecord> preparedRecords(const UndoStore& store) {
    std::vector<UndoRecord> records = store.records();
    std::erase_if(records,
                  [](const UndoRecord& record) { return record.state != UndoRecord::State::prepared; });
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

/// Whether `url` is a regular file with this hash.
bool holds(const URL& url, const std::string& expectedHash) {
    try {
        return isRegularFile(url) && hash(url) == expectedHash;
    } catch (const FileSystemError&) {
        return false;
    }
}

bool hasSoundBackup(const UndoStore& store, const UndoRecord& record) {
    try {
        store.verifyBackup(record);
        return true;
    } catch (const CompressionError&) {
        return false;
    }
}

/// False when the record must stay because the picture is not known to be safe.
bool trySettle(const UndoStore& store, const UndoRecord& record) {
    if (holds(record.replacementURL(), record.replacementHash)) {
        if (!hasSoundBackup(store, record)) {
            return false;
        }
        store.commit(record);
        return true;
    }
    const URL original = record.originalURL();
    if (!record.originalHash || !holds(original, *record.originalHash)) {
        return false;
    }
    // It may have been rolled back a moment ago.
    syncDirectory(original.deletingLastPathComponent());
    store.deleteRecord(record);
    return true;
}

void settle(const UndoStore& store, const UndoRecord& record, LeftoversReport& report) {
    const std::string name = displayText(record.originalPath);
    try {
        if (trySettle(store, record)) {
            ++report.settledRecords;
        } else {
            report.problems.push_back("压缩曾意外中断，无法确认原图是否完好，已保留备份：" + name);
        }
    } catch (const std::exception& error) {
        report.problems.push_back("无法处理意外中断的压缩记录 " + name + "：" + errorDescription(error));
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
    // deletes the record. So a record that is listed both before and after the sweep, without such a note
    // during the sweep, belongs to a dead process.
    std::set<UUID> prepared;
    for (const UndoRecord& record : preparedRecords(store)) {
        prepared.insert(record.id);
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
    for (const UndoRecord& record : preparedRecords(store)) {
        if (prepared.contains(record.id) &&
            !hasItemIn(record.originalURL().deletingLastPathComponent(), sweep.held)) {
            settle(store, record, report);
        }
    }
    return report;
}

} // namespace tarnwick
