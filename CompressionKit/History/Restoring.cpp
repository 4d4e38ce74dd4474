#include "History/Restoring.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileCopy.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/WorkRegister.h"
#include "Inspection/ImageFacts.h"

namespace tarnwick {
namespace {

CompressionError damagedBackup() {
    return CompressionError::fileOperation("原图备份已损坏，无法恢复或对比");
}

std::string hashOfSoundBackup(const URL& backup, const UndoRecord& record) {
    if (!isRegularFile(backup) || fileSize(backup) != record.originalBytes) {
        throw damagedBackup();
    }
    std::string backupHash = hash(backup);
    if (record.originalHash && backupHash != *record.originalHash) {
        throw damagedBackup();
    }
    ImageFacts::inspect(backup);
    return backupHash;
}

void requireHash(const URL& url, const std::string& expected) {
    if (hash(url) != expected) {
        throw CompressionError::unsafeRestore();
    }
}

/// Makes a verified copy of the backup under a temporary name.
void copyBackup(const URL& backup, const URL& copy, const std::string& originalHash) {
    copyFile(backup, copy);
    if (hash(copy) != originalHash) {
        throw CompressionError::validationFailed();
    }
}

void moveWhereAbsent(const URL& source, const URL& destination) {
    if (!atomicRenameIfAbsent(source, destination)) {
        throw CompressionError::unsafeRestore();
    }
}

void restoreInPlace(const URL& backup, const UndoRecord& record, const std::string& originalHash) {
    const URL original = record.originalURL();
    const URL folder = original.deletingLastPathComponent();
    if (itemExists(original)) {
        requireHash(original, record.replacementHash);
    }
    const NotedFile copy(folder, WorkItem::restoredFile);
    copyBackup(backup, copy.url(), originalHash);
    if (!itemExists(original)) {
        moveWhereAbsent(copy.url(), original);
        syncDirectory(folder);
    } else if (!guardedReplacement(record).replace(copy.url(), originalHash)) {
        throw CompressionError::unsafeRestore();
    }
}

void restoreConverted(const URL& backup, const UndoRecord& record, const std::string& originalHash) {
    const URL original = record.originalURL();
    const URL converted = record.replacementURL();
    if (itemExists(converted)) {
        requireHash(converted, record.replacementHash);
    }
    if (itemExists(original)) {
        requireHash(original, originalHash);
    } else {
        const URL folder = original.deletingLastPathComponent();
        const NotedFile copy(folder, WorkItem::restoredFile);
        copyBackup(backup, copy.url(), originalHash);
        moveWhereAbsent(copy.url(), original);
        syncDirectory(folder);
    }
    if (itemExists(converted) && !guardedReplacement(record).remove()) {
        throw CompressionError::unsafeRestore();
    }
}

/// The size tells most other files apart without reading them.
bool holds(const URL& url, std::int64_t bytes, const std::string& expectedHash) {
    try {
        return isRegularFile(url) && fileSize(url) == bytes && hash(url) == expectedHash;
    } catch (const FileSystemError&) {
        return false;
    }
}

/// Whether the record tells of these bytes, and they are elsewhere too.
bool isRecorded(const RecordStore& store, const UndoRecord& record, const URL& url) {
    return holdsReplacement(record, url) || (holdsOriginal(record, url) && hasSoundBackup(store, record));
}

} // namespace

GuardedFile guardedReplacement(const UndoRecord& record) {
    return {record.replacementURL(), record.exchangeURL(),
            [expected = record.replacementHash](const URL& url) { return hash(url) == expected; }};
}

bool holdsOriginal(const UndoRecord& record, const URL& url) {
    return record.originalHash && holds(url, record.originalBytes, *record.originalHash);
}

bool holdsReplacement(const UndoRecord& record, const URL& url) {
    return holds(url, record.replacementBytes, record.replacementHash);
}

bool hasSoundBackup(const RecordStore& store, const UndoRecord& record) {
    try {
        verifyBackup(store, record);
        return true;
    } catch (const CompressionError&) {
        return false;
    }
}

bool returnDisplacedFile(const RecordStore& store, const UndoRecord& record) {
    const URL displaced = record.exchangeURL();
    const URL place = record.replacementURL();
    if (!itemExists(displaced)) {
        return true;
    }
    if (!isRecorded(store, record, displaced)) {
        if (!itemExists(place)) {
            return atomicRenameIfAbsent(displaced, place);
        }
        const bool isOurs = holdsReplacement(record, place) || holdsOriginal(record, place);
        if (!isOurs || !atomicExchange(displaced, place) || !isRecorded(store, record, displaced)) {
            return false;
        }
        syncDirectory(place.deletingLastPathComponent());
    }
    removeFile(displaced);
    return true;
}

void forgetRecord(const RecordStore& store, const UndoRecord& record) {
    if (!returnDisplacedFile(store, record)) {
        throw CompressionError::fileOperation("意外中断时被其他程序修改的文件仍保留在隐藏文件中");
    }
    store.deleteRecord(record);
}

std::string verifyBackup(const RecordStore& store, const UndoRecord& record) {
    const URL backup = store.backupURL(record);
    if (!itemExists(backup)) {
        throw CompressionError::fileOperation("原图备份已不存在");
    }
    try {
        return hashOfSoundBackup(backup, record);
    } catch (const CompressionError&) {
        throw damagedBackup();
    } catch (const FileSystemError&) {
        throw damagedBackup();
    }
}

void restoreOriginal(const RecordStore& store, const UndoRecord& record, double retention) {
    if (Date::now() >= record.createdAt.adding(retention)) {
        store.removeBackup(record);
        throw CompressionError::fileOperation("原图备份已过期");
    }
    const std::string originalHash = verifyBackup(store, record);
    if (!returnDisplacedFile(store, record)) {
        throw CompressionError::unsafeRestore();
    }
    if (record.convertedPath) {
        restoreConverted(store.backupURL(record), record, originalHash);
    } else {
        restoreInPlace(store.backupURL(record), record, originalHash);
    }
    forgetRecord(store, record);
}

} // namespace tarnwick
