#include "Tarnwick/Model/BackupMaintenance.h"

#include "Tarnwick/Model/ErrorText.h"

#include <QDebug>
#include <algorithm>
#include <utility>

namespace tarnwick {

BackupMaintenance::BackupMaintenance(BackgroundWorker& worker, Clock& clock, UndoStore store,
                                     std::function<void(const std::set<UUID>&)> onBackups)
    : worker_(worker), clock_(clock), store_(std::move(store)), onBackups_(std::move(onBackups)) {}

void BackupMaintenance::schedule() {
    wait_ = {};
    if (isAtWork_) {
        isStale_ = true;
    } else {
        pass();
    }
}

BackupMaintenance::Findings BackupMaintenance::tidy(const UndoStore& store, Date now) {
    store.cleanup(UndoStore::backupRetention, UndoStore::backupBudget, now);
    Findings findings;
    for (const UndoRecord& record : store.records()) {
        if (record.state == UndoRecord::State::committed && store.hasBackup(record)) {
            const Date expiration = record.createdAt.adding(UndoStore::backupRetention);
            findings.records.insert(record.id);
            findings.nextExpiration = std::min(findings.nextExpiration.value_or(expiration), expiration);
        }
    }
    return findings;
}

void BackupMaintenance::pass() {
    isAtWork_ = true;
    isStale_ = false;
    worker_.run([store = store_, now = clock_.now()] { return tidy(store, now); },
                [this](const std::exception_ptr& error, const Findings& findings) {
                    isAtWork_ = false;
                    passEnded(error, findings);
                });
}

void BackupMaintenance::passEnded(const std::exception_ptr& error, const Findings& findings) {
    if (isStale_) {
        pass();
    } else if (error) {
        qWarning().noquote() << "无法清理原图备份：" + errorText(error);
    } else {
        onBackups_(findings.records);
        if (findings.nextExpiration) {
            waitUntil(*findings.nextExpiration);
        }
    }
}

void BackupMaintenance::waitUntil(Date expiration) {
    // A backup that cannot be removed has always expired: it must not keep the disk busy.
    constexpr double shortestWait = 1;
    const double seconds = std::max(expiration.timeIntervalSince(clock_.now()), shortestWait);
    wait_ = clock_.startTimer(seconds, [this] { pass(); });
}

} // namespace tarnwick
