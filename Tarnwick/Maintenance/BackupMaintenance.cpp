#include "Tarnwick/Maintenance/BackupMaintenance.h"

#include "History/BackupCleanup.h"
#include "Tarnwick/QtSupport/DebugLog.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tarnwick {
namespace {

constexpr double longestRetryPause = 60;

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

void BackupMaintenance::Findings::add(const UndoRecord& record, std::int64_t bytes, bool isOverdue) {
    records.insert(record.id);
    backupBytes += bytes;
    if (isOverdue) {
        hasOverdue = true;
        return;
    }
    const Date expiration = record.createdAt.adding(UndoStore::backupRetention);
    nextExpiration = std::min(nextExpiration.value_or(expiration), expiration);
}

BackupMaintenance::Findings BackupMaintenance::tidy(const UndoStore& store, Date now) {
    Findings findings;
    findings.hasRemoved = store.cleanup(UndoStore::backupRetention, UndoStore::backupBudget, now) > 0;
    for (const UndoRecord& record : store.records()) {
        const bool isOld = now.timeIntervalSince(record.createdAt) >= UndoStore::backupRetention;
        if (record.state == UndoRecord::State::prepared) {
            findings.hasPrepared = findings.hasPrepared || !isOld;
        } else if (store.hasBackup(record)) {
            findings.add(record, backupBytes(store, record), isOld);
        }
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
        Findings all = findings;
        all.hasRemoved = std::exchange(hasRemoved_, false);
        all.isOverdueForLong = findings.hasOverdue && retryPause_ == longestRetryPause;
        wait(findings);
        onBackups_(all);
    }
}

void BackupMaintenance::wait(const Findings& findings) {
    constexpr double never = std::numeric_limits<double>::infinity();
    retryPause_ = findings.hasOverdue ? retryPause_ : shortestPause;
    const double untilNext =
        findings.nextExpiration
            ? std::max(findings.nextExpiration->timeIntervalSince(clock_.now()), shortestPause)
            : never;
    const double seconds = findings.hasOverdue ? std::min(untilNext, retryPause_) : untilNext;
    if (seconds < never) {
        wait_ = clock_.startTimer(seconds, [this, isRetry = findings.hasOverdue] {
            retryPause_ = isRetry ? std::min(2 * retryPause_, longestRetryPause) : retryPause_;
            pass();
        });
    }
}

} // namespace tarnwick
