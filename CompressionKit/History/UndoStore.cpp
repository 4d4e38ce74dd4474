#include "History/UndoStore.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileCopy.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Foundation/WorkRegister.h"
#include "Inspection/ImageFacts.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <utility>

namespace tarnwick {
namespace {

constexpr std::size_t maximumRecordBytes = std::size_t{1} << 20U;
/// The store holds private pictures, whatever the rights of the folders they came from.
constexpr unsigned privateFolder = 0700;

std::string backupNameFor(const UUID& id, const URL& source) {
    return id.text() + "." + decodeUTF8(lowercasedASCII(source.pathExtension()));
}

/// The file's size, or 0 when it cannot be told.
std::int64_t sizeOrZero(const URL& url) noexcept {
    try {
        return fileSize(url);
    } catch (const std::exception&) {
        return 0;
    }
}

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

/// Makes a verified copy of the backup beside the file that it is about to become.
void copyBackup(const URL& backup, const URL& copy, const std::string& originalHash) {
    copyFile(backup, copy);
    if (hash(copy) != originalHash) {
        throw CompressionError::validationFailed();
    }
}

void requireHash(const URL& url, const std::string& expected) {
    if (hash(url) != expected) {
        throw CompressionError::unsafeRestore();
    }
}

void moveWhereAbsent(const URL& source, const URL& destination) {
    if (!atomicRenameIfAbsent(source, destination)) {
        throw CompressionError::unsafeRestore();
    }
}

} // namespace

UndoStore::UndoStore(std::optional<URL> root)
    : root_(root ? std::move(*root) : applicationSupportDirectory().appending("Tarnwick/Undo")) {}

UndoRecord UndoStore::prepare(const URL& source, const URL& candidate, const UUID& sessionID,
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
    createDirectories(sessionDirectory(record), privateFolder);
    try {
        copyFile(source, backupURL(record));
        record.originalBytes = fileSize(source);
        record.replacementBytes = fileSize(candidate);
        record.replacementHash = hash(candidate);
        record.originalHash = hash(source);
        if (hash(backupURL(record)) != record.originalHash) {
            throw CompressionError::changedDuringCompression();
        }
        record.createdAt = Date::now();
        write(record);
        syncDirectory(root_);
    } catch (...) {
        const auto failure = std::current_exception();
        try {
            deleteRecord(record);
        } catch (const CompressionError&) {
            // The first failure is the one to tell; what could not be removed is an unused backup.
        }
        std::rethrow_exception(failure);
    }
    return record;
}

UndoRecord UndoStore::commit(UndoRecord record) const {
    record.state = UndoRecord::State::committed;
    write(record);
    return record;
}

URL UndoStore::sessionDirectory(const UndoRecord& record) const {
    return root_.appending(record.sessionID.text());
}

URL UndoStore::recordURL(const UndoRecord& record) const {
    return sessionDirectory(record).appending(record.id.text() + ".json");
}

URL UndoStore::backupURL(const UndoRecord& record) const {
    return sessionDirectory(record).appending(record.backupName);
}

bool UndoStore::hasBackup(const UndoRecord& record) const noexcept {
    return isRegularFile(backupURL(record));
}

void UndoStore::write(const UndoRecord& record) const {
    writeFileAtomically(recordURL(record), record.encoded());
}

std::vector<UndoRecord> UndoStore::records() const {
    return scanRecords(false);
}

std::vector<UndoRecord> UndoStore::readRecords() const {
    return scanRecords(true);
}

namespace {

/// The record in the file; none when the file is gone meanwhile, or, unless `checked`, when it cannot be
/// read.
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

std::vector<UndoRecord> UndoStore::scanRecords(bool checked) const {
    std::vector<UndoRecord> found;
    if (!itemExists(root_)) {
        return found;
    }
    for (const URL& session : entries(root_)) {
        if (!isDirectory(session)) {
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

std::vector<UndoRecord> UndoStore::committedRecords() const {
    std::vector<UndoRecord> committed;
    try {
        committed = scanRecords(false);
    } catch (const FileSystemError&) {
        return {};
    }
    std::erase_if(committed,
                  [](const UndoRecord& record) { return record.state != UndoRecord::State::committed; });
    return committed;
}

std::string UndoStore::verifyBackup(const UndoRecord& record) const {
    const URL backup = backupURL(record);
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

void UndoStore::restore(const UndoRecord& record) const {
    if (Date::now() >= record.createdAt.adding(backupRetention)) {
        removeBackup(record);
        throw CompressionError::fileOperation("原图备份已过期");
    }
    const std::string originalHash = verifyBackup(record);
    if (record.convertedPath) {
        restoreConverted(record, originalHash);
    } else {
        restoreInPlace(record, originalHash);
    }
    deleteRecord(record);
}

void UndoStore::restoreInPlace(const UndoRecord& record, const std::string& originalHash) const {
    const URL original = record.originalURL();
    if (itemExists(original)) {
        requireHash(original, record.replacementHash);
    }
    const NotedFile copy(original.deletingLastPathComponent(), WorkItem::restoredFile);
    copyBackup(backupURL(record), copy.url(), originalHash);
    // Copying took a while: look again right before the move.
    if (itemExists(original)) {
        requireHash(original, record.replacementHash);
        atomicRename(copy.url(), original);
    } else {
        moveWhereAbsent(copy.url(), original);
    }
    syncDirectory(original.deletingLastPathComponent());
}

void UndoStore::restoreConverted(const UndoRecord& record, const std::string& originalHash) const {
    const URL original = record.originalURL();
    const URL converted = URL::file(*record.convertedPath);
    if (itemExists(converted)) {
        requireHash(converted, record.replacementHash);
    }
    if (itemExists(original)) {
        requireHash(original, originalHash);
    } else {
        const NotedFile copy(original.deletingLastPathComponent(), WorkItem::restoredFile);
        copyBackup(backupURL(record), copy.url(), originalHash);
        moveWhereAbsent(copy.url(), original);
        syncDirectory(original.deletingLastPathComponent());
    }
    if (itemExists(converted)) {
        requireHash(converted, record.replacementHash);
        removeFile(converted);
    }
}

void UndoStore::deleteRecord(const UndoRecord& record) const {
    try {
        removeFile(backupURL(record));
        removeFile(recordURL(record));
    } catch (const FileSystemError& error) {
        throw CompressionError::fileOperation("无法删除 " +
                                              displayText(record.originalURL().lastPathComponent()) +
                                              " 的记录或备份：" + error.systemText());
    }
    // Only an empty folder can be removed: while other records are in it, this does nothing.
    ::rmdir(sessionDirectory(record).c_str());
}

void UndoStore::removeBackup(const UndoRecord& record) const {
    removeFile(backupURL(record));
}

std::vector<UndoRecord> UndoStore::removeAll() const {
    std::vector<UndoRecord> all = scanRecords(true);
    for (const UndoRecord& record : all) {
        deleteRecord(record);
    }
    return all;
}

std::optional<Date> UndoStore::nextBackupExpiration() const {
    std::optional<Date> next;
    for (const UndoRecord& record : committedRecords()) {
        const Date expiration = record.createdAt.adding(backupRetention);
        if (hasBackup(record) && (!next || expiration < *next)) {
            next = expiration;
        }
    }
    return next;
}

std::size_t UndoStore::cleanup(double maxAge, std::int64_t maxBytes, Date now) const {
    std::size_t removed = 0;
    const auto tryToRemoveBackup = [&](const UndoRecord& record) {
        const bool wasThere = hasBackup(record);
        try {
            removeBackup(record);
            removed += wasThere ? 1 : 0;
        } catch (const FileSystemError&) {
            // It stays until the next clean-up.
        }
    };
    for (const UndoRecord& record : committedRecords()) {
        if (now.timeIntervalSince(record.createdAt) >= maxAge) {
            tryToRemoveBackup(record);
        }
    }
    const std::vector<UndoRecord> kept = committedRecords();
    std::int64_t total = 0;
    for (const UndoRecord& record : kept) {
        total += sizeOrZero(backupURL(record));
    }
    for (const UndoRecord& record : kept) {
        if (total <= maxBytes) {
            break;
        }
        const std::int64_t bytes = sizeOrZero(backupURL(record));
        tryToRemoveBackup(record);
        total -= bytes;
    }
    return removed;
}

} // namespace tarnwick
