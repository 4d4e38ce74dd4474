#include "TarnwickBackground/BackupKeeper.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "Tarnwick/QtSupport/DebugLog.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <cstdlib>
#include <utility>

namespace tarnwick {
namespace {

/// The tools of a killed process keep running for a while and hold their work.
constexpr double secondsUntilNextSweep = 60;

/// Uses a connection of its own, since the bus must have the messages before this program exits. Windows
/// observe the first notification, observers of backups the second. This process receives its own
/// signals too. There is no loop: the next pass finds nothing to remove.
void announceChange() {
    postNotification(NotificationName::historyDidChange);
    postNotification(NotificationName::undoDidChange);
}

} // namespace

BackupKeeper::BackupKeeper(UndoStore store, URL lockFile, FileLock lock, std::function<void(int)> end)
    : store_(std::move(store)), lockFile_(std::move(lockFile)), lock_(std::move(lock)), end_(std::move(end)),
      maintenance_(
          worker_, clock_, store_,
          [this](const BackupMaintenance::Findings& findings) { handleFindings(findings); },
          [this] { end_(EXIT_FAILURE); }) {
    const auto schedule = [this] { maintenance_.schedule(); };
    historyObservation_ = notifications_.observe(NotificationName::historyDidChange, schedule);
    undoObservation_ = notifications_.observe(NotificationName::undoDidChange, schedule);
    wakeObservation_ = wake_.observeWake(schedule);
    removeLeftovers();
}

void BackupKeeper::removeLeftovers() {
    isSweepPending_ = true;
    worker_.run([store = store_] { return tarnwick::removeLeftovers(store); },
                [this](const std::exception_ptr& error, const LeftoversReport& leftovers) {
                    handleLeftovers(error, leftovers);
                });
}

void BackupKeeper::handleLeftovers(const std::exception_ptr& error, const LeftoversReport& leftovers) {
    isSweepPending_ = leftovers.isIncomplete;
    if (error) {
        qCDebug(debugLog).noquote() << "无法清理意外中断的任务：" + errorText(error);
    }
    for (const std::string& problem : leftovers.problems) {
        qCDebug(debugLog).noquote() << QString::fromStdString(problem);
    }
    if (leftovers.settledRecords > 0) {
        announceChange();
    }
    if (isSweepPending_) {
        nextSweep_ = clock_.startTimer(secondsUntilNextSweep, [this] { removeLeftovers(); });
    }
    maintenance_.schedule();
}

void BackupKeeper::handleFindings(const BackupMaintenance::Findings& findings) {
    if (findings.hasRemoved) {
        announceChange();
    }
    if (findings.records.empty() && !isSweepPending_) {
        endUnlessNeeded();
    }
}

void BackupKeeper::endUnlessNeeded() {
    // Another process may be making a record now; the helper that it starts exits at once while this one
    // holds the lock. So this one releases the lock and then checks the store again: it sees every record
    // made before the release, and for a later record the new helper gets the lock.
    lock_.reset();
    if (store_.nextBackupExpiration() && takeLock()) {
        maintenance_.schedule();
    } else {
        end_(EXIT_SUCCESS);
    }
}

bool BackupKeeper::takeLock() {
    try {
        lock_ = FileLock::tryAcquire(lockFile_);
    } catch (const FileSystemError& error) {
        qCDebug(debugLog).noquote() << QString::fromStdString(errorDescription(error));
    }
    return lock_.has_value();
}

} // namespace tarnwick
