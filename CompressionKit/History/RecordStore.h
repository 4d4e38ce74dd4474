#pragma once

#include "Foundation/URL.h"
#include "Foundation/UUID.h"
#include "History/UndoRecord.h"

#include <optional>
#include <vector>

namespace tarnwick {

/// The folder tree of backups and records: a folder for each session, in it each record ("<id>.json") and its
/// backup ("<id>.<extension>"). A value without a lock of its own: callers must prevent other work on the
/// same file. Functions block on the disk.
class RecordStore {
public:
    /// `root` is created when first needed; the default is "Tarnwick/Undo" in the user's application data.
    explicit RecordStore(std::optional<URL> root = std::nullopt);

    const URL& root() const noexcept { return root_; }

    /// Backs `source` up and writes a record of its coming replacement by `candidate`. On return, the backup
    /// (verified against the source) and the record are on the disk; after an exception, neither is left.
    /// `convertedPath` is the path of the new file if the source is to stay. Throws FileSystemError, or
    /// CompressionError (changedDuringCompression if the source changed while it was copied).
    UndoRecord prepare(const URL& source, const URL& candidate, const UUID& sessionID,
                       const std::optional<URL>& convertedPath = std::nullopt) const;
    /// Writes the record as committed and returns it. Throws FileSystemError, or CompressionError, also when
    /// another process has deleted the record: it stays deleted.
    UndoRecord commit(UndoRecord record) const;
    /// Removes what prepare() made. Throws as deleteRecord().
    void discard(const UndoRecord& record) const { deleteRecord(record); }

    URL backupURL(const UndoRecord& record) const;
    bool hasBackup(const UndoRecord& record) const noexcept;

    /// Whether a process may be working on the prepared record right now. Throws FileSystemError when that is
    /// unknown.
    static bool isInWork(const UndoRecord& record);

    /// All records, the newest first, without those that cannot be read. Throws FileSystemError when the root
    /// cannot be listed.
    std::vector<UndoRecord> records() const;
    /// All records, the newest first. Throws FileSystemError or CompressionError when one of them cannot be
    /// read.
    std::vector<UndoRecord> readRecords() const;

    /// Deletes the backup and the record, and the session's folder when it is empty. Missing files are no
    /// error. Throws CompressionError::fileOperation.
    void deleteRecord(const UndoRecord& record) const;
    /// Deletes only the backup. Throws FileSystemError.
    void removeBackup(const UndoRecord& record) const;
    /// Deletes all records with their backups and returns them. A prepared record stays while a process works
    /// beside its picture: the backup may be all that is left of the original. So does a record whose
    /// displaced file a killed process left (see Leftovers.h). Throws at the first failure.
    std::vector<UndoRecord> removeAll() const;

private:
    URL sessionDirectory(const UndoRecord& record) const;
    URL recordURL(const UndoRecord& record) const;
    void write(const UndoRecord& record) const;
    void writeFirst(const UndoRecord& record) const;
    void fillAndWrite(UndoRecord& record, const URL& source, const URL& candidate) const;
    std::vector<UndoRecord> scanRecords(bool checked) const;

    URL root_;
};

} // namespace tarnwick
