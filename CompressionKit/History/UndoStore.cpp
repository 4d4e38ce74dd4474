#include "History/UndoStore.h"

#include "History/BackupCleanup.h"
#include "History/Restoring.h"

namespace tarnwick {

std::string UndoStore::verifyBackup(const UndoRecord& record) const {
    return tarnwick::verifyBackup(*this, record);
}

void UndoStore::restore(const UndoRecord& record) const {
    restoreOriginal(*this, record, backupRetention);
}

void UndoStore::forget(const UndoRecord& record) const {
    forgetRecord(*this, record);
}

std::optional<Date> UndoStore::nextBackupExpiration() const {
    return nextExpiration(*this, backupRetention);
}

std::int64_t UndoStore::backupBytes(Date now) const {
    return tarnwick::backupBytes(*this, backupRetention, now);
}

std::size_t UndoStore::cleanup(double maxAge, std::int64_t maxBytes, Date now) const {
    return removeBackups(*this, maxAge, maxBytes, now);
}

} // namespace tarnwick
