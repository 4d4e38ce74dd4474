#include "TarnwickBackground/BackupKeeper.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "Tarnwick/QtSupport/DebugLog.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <cstdlib>
#include <utility>

namespace tarnwick {
namespace {

/// Nothing tells of a crash, so the register of work is looked at this often. The tools of a killed process
/// keep running for a while and hold their work.
constexpr double secondsBetweenSweeps = 30;

} // namespace

BackupKeeper::BackupKeeper(UndoStore store, URL lockFile, FileLock lock, Clock& clock,
                           std::function<void(int)> end)
    : store_(std::move(store)), lockFile_(std::move(lockFile)), lock_(std::move(lock)), clock_(clock),
      end_(std::move(end)),
      maintenance_(
          worker_, clock_, store_,
          [this](const BackupMaintenance::Findings& findings) { handleFindings(findings); },
          [this] { end_(EXIT_FAILURE); }) {
    const auto look = [this] { sweep(); };
    historyObservation_ = notifications_.observe(NotificationName::historyDidChange, look);
    undoObservation_ = notifications_.observe(NotificationName::undoDidChange, look);
    wakeObservation_ = wake_.observeWake(look);
    sweep();
}

void BackupKeeper::sweep() {
    nextSweep_ = {};
    isSweepStale_ = isSweeping_;
    if (std::exchange(isSweeping_, true)) {
        return;
    }
    worker_.run([store = store_] { return removeLeftovers(store); },
                [this](const std::exception_ptr& error, const LeftoversReport& leftovers) {
                    handleLeftovers(error, leftovers);
                });
}

void BackupKeeper::handleLeftovers(const std::exception_ptr& error, const LeftoversReport& leftovers) {
    isSweeping_ = false;
    isWorkHeld_ = leftovers.isIncomplete;
    if (error) {
        qCDebug(debugLog).noquote() << "无法清理意外中断的任务：" + errorText(error);
    }
    for (const std::string& problem : leftovers.problems) {
        qCDebug(debugLog).noquote() << QString::fromStdString(problem);
    }
    if (leftovers.settledRecords > 0) {
        postBothNotifications();
    }
    if (isSweepStale_) {
        sweep();
        return;
    }
    nextSweep_ = clock_.startTimer(secondsBetweenSweeps, [this] { sweepIfNeeded(); });
    maintenance_.schedule();
}

/// Does not read the store where no process left a note.
void BackupKeeper::sweepIfNeeded() {
    worker_.run([] { return WorkRegister().isEmpty(); },
                [this](const std::exception_ptr& error, bool isEmpty) {
                    if (error || !isEmpty || isWorkHeld_ || hasPrepared_) {
                        sweep();
                    } else if (!isSweeping_) {
                        nextSweep_ = clock_.startTimer(secondsBetweenSweeps, [this] { sweepIfNeeded(); });
                    }
                });
}

void BackupKeeper::handleFindings(const BackupMaintenance::Findings& findings) {
    hasPrepared_ = findings.hasPrepared;
    // This process receives its own signals too. There is no loop: the next pass finds nothing to remove.
    if (findings.hasRemoved) {
        postBothNotifications();
    }
    if (isSweeping_) {
        return;
    }
    if (isNeeded(findings) ? !lock_ && !takeLock() : !lock_) {
        end_(EXIT_SUCCESS);
    } else if (!isNeeded(findings)) {
        // Another process may be making a record now; the helper that it starts exits at once while this one
        // holds the lock. So this one releases the lock and then looks at the store again: it sees every
        // record made before the release, and for a later record the new helper gets the lock.
        lock_.reset();
        maintenance_.schedule();
    }
}

bool BackupKeeper::isNeeded(const BackupMaintenance::Findings& findings) const {
    return isWorkHeld_ || findings.hasPrepared || findings.nextExpiration ||
           (findings.hasOverdue && !findings.isOverdueForLong);
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
