#pragma once

#include "Foundation/Date.h"
#include "Foundation/URL.h"
#include "Foundation/UUID.h"
#include "History/UndoRecord.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// The folder tree of backups and records: one folder a session, in it each record's backup
/// ("<id>.<extension>") and the record itself ("<id>.json"). A value without a lock of its own: whoever
/// compresses or restores a file sees to it that nobody else works on that file. Functions block on the disk.
class UndoStore {
public:
    /// How long an original can be restored, in seconds.
    static constexpr double backupRetention = 14'400;
    /// How many bytes of backups are kept by default: 5 GiB.
    static constexpr std::int64_t backupBudget = std::int64_t{5} << 30;

    /// `root` is created when first needed; the default is "Tarnwick/Undo" in the user's application data.
    explicit UndoStore(std::optional<URL> root = std::nullopt);

    const URL& root() const noexcept { return root_; }

    /// Backs `source` up and writes a record of its coming replacement by `candidate`. When it returns, both
    /// the backup (proven equal to the source) and the record are on the disk; when it throws, neither is
    /// left. `convertedPath` is the new file's path when the source is to stay. Throws FileSystemError, or
    /// CompressionError (changedDuringCompression when the source changed while it was copied).
    UndoRecord prepare(const URL& source, const URL& candidate, const UUID& sessionID,
                       const std::optional<URL>& convertedPath = std::nullopt) const;
    /// Writes the record as committed and returns it so. Throws FileSystemError or CompressionError.
    UndoRecord commit(UndoRecord record) const;
    /// Takes back what prepare() made. Throws as deleteRecord().
    void discard(const UndoRecord& record) const { deleteRecord(record); }

    URL backupURL(const UndoRecord& record) const;
    /// Whether the backup still stands there.
    bool hasBackup(const UndoRecord& record) const noexcept;

    /// Every readable record, the newest first; unreadable ones are passed over. Throws FileSystemError when
    /// the root cannot be listed.
    std::vector<UndoRecord> records() const;
    /// The same, but an unreadable record or folder throws.
    std::vector<UndoRecord> readRecords() const;

    /// Proves that the backup is the original, whole, and returns its SHA-256. Throws
    /// CompressionError::fileOperation.
    std::string verifyBackup(const UndoRecord& record) const;
    /// Puts the original back, removes the converted file if there is one, and deletes the record. A file
    /// that is not what the compression left there is never touched: CompressionError::unsafeRestore. Also
    /// throws CompressionError::fileOperation (expired, missing or damaged backup), validationFailed,
    /// FileSystemError.
    void restore(const UndoRecord& record) const;

    /// Deletes the backup and the record, and the session's folder once it is empty. What is missing already
    /// is no failure. Throws CompressionError::fileOperation.
    void deleteRecord(const UndoRecord& record) const;
    /// Deletes only the backup. Throws FileSystemError.
    void removeBackup(const UndoRecord& record) const;
    /// Deletes every record with its backup and returns them. Throws at the first failure.
    std::vector<UndoRecord> removeAll() const;

    /// When the next backup of a committed record expires; none when there is no such backup.
    std::optional<Date> nextBackupExpiration() const;
    /// Removes backups of committed records older than `maxAge` seconds, then, from the newest on, those that
    /// make the total exceed `maxBytes`: the budget gives up the newest backups and leaves the older ones to
    /// their age. Never throws for a file that cannot be removed. Returns how many backups are gone by it.
    std::size_t cleanup(double maxAge, std::int64_t maxBytes, Date now) const;

private:
    URL sessionDirectory(const UndoRecord& record) const;
    URL recordURL(const UndoRecord& record) const;
    void write(const UndoRecord& record) const;
    std::vector<UndoRecord> scanRecords(bool checked) const;
    /// scanRecords without any failure: a root that cannot be listed holds nothing.
    std::vector<UndoRecord> committedRecords() const;
    void restoreInPlace(const UndoRecord& record, const std::string& originalHash) const;
    void restoreConverted(const UndoRecord& record, const std::string& originalHash) const;

    URL root_;
};

} // namespace tarnwick
