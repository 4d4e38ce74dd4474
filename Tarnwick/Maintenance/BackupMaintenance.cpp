#include "Tarnwick/Maintenance/BackupMaintenance.h"

#include "Tarnwick/QtSupport/DebugLog.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <algorithm>
#include <utility>

namespace tarnwick {
namespace {

std::vector<UndoRecord> backedUpRecords(const UndoStore& store) {
    std::vector<UndoRecord> records = store.records();
    std::erase_if(records, [&](const UndoRecord& record) {
        return record.state != UndoRecord::State::committed || !store.hasBackup(record);
    });
    return records;
}

} // namespace

BackupMaintenance::BackupMaintenance(BackgroundWorker& worker, Clock& clock, UndoStore store,
                                     std::function<void(const Findings&)> onBackups,
                                     std::function<void()> onFailure)
    : worker_(worker), clock_(clock), store_(std::move(store)), onBackups_(std::move(onBackups)),
      onFailure_(std::move(onFailure)) {}

void BackupMaintenance::schedule() {
    wait_ = {};
    if (isRunning_) {
        isStale_ = true;
    } else {
        pass();
    }
}

BackupMaintenance::Findings BackupMaintenance::tidy(const UndoStore& store, Date now) {
    Findings findings;
    findings.hasRemoved = store.cleanup(UndoStore::backupRetention, UndoStore::backupBudget, now) > 0;
    for (const UndoRecord& record : backedUpRecords(store)) {
        const Date expiration = record.createdAt.adding(UndoStore::backupRetention);
        findings.records.insert(record.id);
        findings.nextExpiration = std::min(findings.nextExpiration.value_or(expiration), expiration);
    }
    return findings;
}

void BackupMaintenance::pass() {
    isRunning_ = true;
    isStale_ = false;
    worker_.run([store = store_, now = clock_.now()] { return tidy(store, now); },
                [this](const std::exception_ptr& error, const Findings& findings) {
                    isRunning_ = false;
                    hasRemoved_ = hasRemoved_ || findings.hasRemoved;
                    finishPass(error, findings);
                });
}

void BackupMaintenance::finishPass(const std::exception_ptr& error, const Findings& findings) {
    if (isStale_) {
        pass();
    } else if (error) {
        qCDebug(debugLog).noquote() << "无法清理原图备份：" + errorText(error);
        onFailure_();
    } else {
        if (findings.nextExpiration) {
            waitUntil(*findings.nextExpiration);
        }
        Findings all = findings;
        all.hasRemoved = std::exchange(hasRemoved_, false);
        onBackups_(all);
    }
}

void BackupMaintenance::waitUntil(Date expiration) {
    // A backup that cannot be removed stays expired; its retries must not keep the disk busy.
    constexpr double shortestWait = 1;
    const double seconds = std::max(expiration.timeIntervalSince(clock_.now()), shortestWait);
    wait_ = clock_.startTimer(seconds, [this] { pass(); });
}

} // namespace tarnwick
