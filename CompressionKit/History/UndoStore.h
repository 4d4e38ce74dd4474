#pragma once

#include "Foundation/Date.h"
#include "History/RecordStore.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace tarnwick {

/// The backups of originals with all operations on them. See RecordStore for files and records, Restoring.h
/// and BackupCleanup.h for the rest.
class UndoStore : public RecordStore {
public:
    /// How long an original can be restored, in seconds.
    static constexpr double backupRetention = 14'400;
    /// How many bytes of backups are kept by default: 5 GiB.
    static constexpr std::int64_t backupBudget = std::int64_t{5} << 30;

    using RecordStore::RecordStore;

    /// See Restoring.h.
    std::string verifyBackup(const UndoRecord& record) const;
    void restore(const UndoRecord& record) const;
    void forget(const UndoRecord& record) const;
    /// See BackupCleanup.h.
    std::optional<Date> nextBackupExpiration() const;
    std::int64_t backupBytes(Date now) const;
    std::size_t cleanup(double maxAge, std::int64_t maxBytes, Date now) const;
};

} // namespace tarnwick
