#include "History/RecordStore.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileCopy.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Foundation/WorkRegister.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <utility>

namespace tarnwick {
namespace {

constexpr std::size_t maximumRecordBytes = std::size_t{1} << 20U;
/// Pictures may come from private folders.
constexpr unsigned privateFolder = 0700;
constexpr int maximumAttempts = 100;

std::string backupNameFor(const UUID& id, const URL& source) {
    return id.text() + "." + decodeUTF8(lowercasedASCII(source.pathExtension()));
}

/// None when the file is missing or, unless `checked`, cannot be read.
std::optional<UndoRecord> readRecord(const URL& file, bool checked) {
    try {
        return UndoRecord::decode(readFile(file, maximumRecordBytes));
    } catch (const FileSystemError& error) {
        if (checked && error.code() != ENOENT) {
            throw;
        }
    } catch (const CompressionError& error) {
        if (checked) {
            throw CompressionError::fileOperation(error.errorDescription() + "：" + displayText(file.path()));
        }
    }
    return std::nullopt;
}

/// A compression holds an item beside the picture until it commits or deletes the record.
bool isBesideWork(const UndoRecord& record, const std::vector<URL>& heldItems) {
    return hasItemIn(record.originalURL().deletingLastPathComponent(), heldItems);
}

/// False when that is unknown, unless `checked`. Throws FileSystemError.
bool isSession(const URL& item, bool checked) {
    if (!checked) {
        return isDirectory(item);
    }
    const auto status = statusIfPresent(item);
    return status && S_ISDIR(status->st_mode);
}

/// Empty when the folder cannot be listed, unless `checked`.
std::vector<URL> filesOfSession(const URL& directory, bool checked) {
    try {
        return entries(directory);
    } catch (const FileSystemError&) {
        if (checked) {
            throw;
        }
        return {};
    }
}

} // namespace

RecordStore::RecordStore(std::optional<URL> root)
    : root_(root ? std::move(*root) : applicationSupportDirectory().appending("Tarnwick/Undo")) {}

UndoRecord RecordStore::prepare(const URL& source, const URL& candidate, const UUID& sessionID,
                                const std::optional<URL>& convertedPath) const {
    const UUID id = UUID::random();
    UndoRecord record = {.id = id,
                         .sessionID = sessionID,
                         .createdAt = Date::now(),
                         .originalPath = source.path(),
                         .backupName = backupNameFor(id, source),
                         .replacementHash = {},
                         .originalHash = {},
                         .convertedPath =
                             convertedPath ? std::optional(convertedPath->path()) : std::nullopt};
    createDurably(root_);
    try {
        fillAndWrite(record, source, candidate);
    } catch (...) {
        const auto failure = std::current_exception();
        try {
            deleteRecord(record);
        } catch (const CompressionError&) {
            // The first failure is reported; an unused backup stays.
        }
        std::rethrow_exception(failure);
    }
    return record;
}

/// Until the record is in the session's folder, another job of the session may remove the empty folder.
void RecordStore::writeFirst(const UndoRecord& record) const {
    for (int attempt = 1;; ++attempt) {
        createDirectories(sessionDirectory(record), privateFolder);
        try {
            write(record);
            return;
        } catch (const FileSystemError& error) {
            if (error.code() != ENOENT || attempt == maximumAttempts) {
                throw;
            }
        }
    }
}

void RecordStore::fillAndWrite(UndoRecord& record, const URL& source, const URL& candidate) const {
    record.originalBytes = fileSize(source);
    record.replacementBytes = fileSize(candidate);
    record.replacementHash = hash(candidate);
    record.originalHash = hash(source);
    // The record comes first: a backup without a record would never be removed.
    writeFirst(record);
    copyFile(source, backupURL(record));
    if (hash(backupURL(record)) != record.originalHash) {
        throw CompressionError::changedDuringCompression();
    }
    syncDirectory(sessionDirectory(record));
    syncDirectory(root_);
}

UndoRecord RecordStore::commit(UndoRecord record) const {
    record.state = UndoRecord::State::committed;
    if (!rewriteFileAtomically(recordURL(record), record.encoded())) {
        throw CompressionError::fileOperation("压缩记录已被删除");
    }
    return record;
}

URL RecordStore::sessionDirectory(const UndoRecord& record) const {
    return root_.appending(record.sessionID.text());
}

URL RecordStore::recordURL(const UndoRecord& record) const {
    return sessionDirectory(record).appending(record.id.text() + ".json");
}

URL RecordStore::backupURL(const UndoRecord& record) const {
    return sessionDirectory(record).appending(record.backupName);
}

bool RecordStore::hasBackup(const UndoRecord& record) const noexcept {
    return isRegularFile(backupURL(record));
}

void RecordStore::write(const UndoRecord& record) const {
    writeFileAtomically(recordURL(record), record.encoded());
}

bool RecordStore::isInWork(const UndoRecord& record) {
    return record.state == UndoRecord::State::prepared && isBesideWork(record, WorkRegister().heldItems());
}

std::vector<UndoRecord> RecordStore::records() const {
    return scanRecords(false);
}

std::vector<UndoRecord> RecordStore::readRecords() const {
    return scanRecords(true);
}

std::vector<UndoRecord> RecordStore::scanRecords(bool checked) const {
    std::vector<UndoRecord> found;
    if (!itemExists(root_)) {
        return found;
    }
    for (const URL& session : entries(root_)) {
        if (!isSession(session, checked)) {
            continue;
        }
        for (const URL& file : filesOfSession(session, checked)) {
            if (file.pathExtension() != "json") {
                continue;
            }
            if (auto record = readRecord(file, checked)) {
                found.push_back(std::move(*record));
            }
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const UndoRecord& a, const UndoRecord& b) { return a.createdAt > b.createdAt; });
    return found;
}

void RecordStore::deleteRecord(const UndoRecord& record) const {
    try {
        removeFile(backupURL(record));
        removeFile(recordURL(record));
    } catch (const FileSystemError& error) {
        throw CompressionError::fileOperation("无法删除 " +
                                              displayText(record.originalURL().lastPathComponent()) +
                                              " 的记录或备份：" + error.systemText());
    }
    // Fails, as it should, while other records are in the folder.
    ::rmdir(sessionDirectory(record).c_str());
}

void RecordStore::removeBackup(const UndoRecord& record) const {
    removeFile(backupURL(record));
}

std::vector<UndoRecord> RecordStore::removeAll() const {
    std::vector<UndoRecord> all = scanRecords(true);
    // The notes are read after the records: a compression holds its note from before it prepares a record
    // until it commits or deletes the record.
    const std::vector<URL> held = WorkRegister().heldItems();
    std::erase_if(all, [&](const UndoRecord& record) {
        const bool isPrepared = record.state == UndoRecord::State::prepared;
        return (isPrepared && isBesideWork(record, held)) || itemExists(record.exchangeURL());
    });
    for (const UndoRecord& record : all) {
        deleteRecord(record);
    }
    return all;
}

} // namespace tarnwick
