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
#include <optional>
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
        if (!isDirectory(session)) {
            continue;
        }
        const std::vector<URL> files = entries(session);
        std::copy_if(files.begin(), files.end(), std::back_inserter(found), isUnfinishedWrite);
    }
    return found;
}

/// Whether a regular file of these bytes stands there.
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

/// False when nothing can be done for the record without a danger to the picture.
bool settle(const UndoStore& store, const UndoRecord& record) {
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
    // A roll-back may have put it there a moment ago.
    syncDirectory(original.deletingLastPathComponent());
    store.deleteRecord(record);
    return true;
}

bool worksBeside(const std::vector<URL>& held, const URL& original) {
    const URL folder = original.deletingLastPathComponent();
    return std::any_of(held.begin(), held.end(),
                       [&](const URL& item) { return item.deletingLastPathComponent() == folder; });
}

void settle(const UndoStore& store, const UndoRecord& record, Leftovers& leftovers) {
    const std::string name = displayText(record.originalPath);
    try {
        if (settle(store, record)) {
            ++leftovers.settledRecords;
        } else {
            leftovers.problems.push_back("压缩曾意外中断，无法确认原图是否完好，已保留备份：" + name);
        }
    } catch (const std::exception& error) {
        leftovers.problems.push_back("无法处理意外中断的压缩记录 " + name + "：" + errorDescription(error));
    }
}

} // namespace

Leftovers removeLeftovers(const UndoStore& store, const WorkRegister& workRegister) {
    Leftovers leftovers;
    const auto turn = FileLock::tryAcquire(workRegister.folder().appending("sweep.lock"));
    if (!turn) {
        return leftovers;
    }
    // What is seen before the notes are, and is still there after, was made by someone who had a note then:
    // a compression's note stands beside the picture from before its record is prepared until that is
    // committed or deleted. Without such a note its maker is dead.
    std::set<UUID> prepared;
    for (const UndoRecord& record : preparedRecords(store)) {
        prepared.insert(record.id);
    }
    const std::vector<URL> unfinished = unfinishedRecords(store);
    WorkRegister::Sweep sweep = workRegister.sweep();
    leftovers.removed = sweep.removed;
    leftovers.isHeld = !sweep.held.empty();
    leftovers.problems = std::move(sweep.problems);
    if (!sweep.isCertain) {
        return leftovers;
    }
    if (sweep.held.empty()) {
        std::for_each(unfinished.begin(), unfinished.end(), removeFile);
        leftovers.removed += static_cast<int>(unfinished.size());
    }
    for (const UndoRecord& record : preparedRecords(store)) {
        if (prepared.contains(record.id) && !worksBeside(sweep.held, record.originalURL())) {
            settle(store, record, leftovers);
        }
    }
    return leftovers;
}

} // namespace tarnwick
