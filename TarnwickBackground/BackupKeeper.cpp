#include "TarnwickBackground/BackupKeeper.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <QDebug>
#include <cstdlib>
#include <utility>

namespace tarnwick {
namespace {

/// The tools of a process that was killed run on for a while.
constexpr double secondsUntilAnotherLook = 60;

/// By a connection of its own: the bus must have it before this program ends. The windows hear the one, and
/// who only cares for backups the other. This program hears both too; the pass that this costs removes
/// nothing, and so posts nothing.
void announceChange() {
    postNotification(NotificationName::historyDidChange);
    postNotification(NotificationName::undoDidChange);
}

} // namespace

BackupKeeper::BackupKeeper(UndoStore store, URL lockFile, FileLock lock, std::function<void(int)> end)
    : store_(std::move(store)), lockFile_(std::move(lockFile)), lock_(std::move(lock)), end_(std::move(end)),
      maintenance_(
          worker_, clock_, store_,
          [this](const BackupMaintenance::Findings& findings) { passEnded(findings); },
          [this] { end_(EXIT_FAILURE); }) {
    const auto schedule = [this] { maintenance_.schedule(); };
    historyObservation_ = notifications_.observe(NotificationName::historyDidChange, schedule);
    undoObservation_ = notifications_.observe(NotificationName::undoDidChange, schedule);
    wakeObservation_ = wake_.observeWake(schedule);
    removeLeftovers();
}

void BackupKeeper::removeLeftovers() {
    isLookingAgain_ = true;
    worker_.run([store = store_] { return tarnwick::removeLeftovers(store); },
                [this](const std::exception_ptr& error, const Leftovers& leftovers) {
                    leftoversRemoved(error, leftovers);
                });
}

void BackupKeeper::leftoversRemoved(const std::exception_ptr& error, const Leftovers& leftovers) {
    isLookingAgain_ = leftovers.isHeld;
    if (error) {
        qWarning().noquote() << "无法清理意外中断的任务：" + errorText(error);
    }
    for (const std::string& problem : leftovers.problems) {
        qWarning().noquote() << QString::fromStdString(problem);
    }
    if (leftovers.settledRecords > 0) {
        announceChange();
    }
    if (isLookingAgain_) {
        anotherLook_ = clock_.startTimer(secondsUntilAnotherLook, [this] { removeLeftovers(); });
    }
    maintenance_.schedule();
}

void BackupKeeper::passEnded(const BackupMaintenance::Findings& findings) {
    if (findings.hasRemoved) {
        announceChange();
    }
    if (findings.records.empty() && !isLookingAgain_) {
        endUnlessNeeded();
    }
}

void BackupKeeper::endUnlessNeeded() {
    // A record may be made just now, whose maker starts a helper that ends at once because this one still has
    // the lock. So the lock goes first and then comes one more look: a record that was made before the lock
    // went is seen, and the maker of a later one finds the lock free.
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
        qWarning().noquote() << QString::fromStdString(errorDescription(error));
    }
    return lock_.has_value();
}

} // namespace tarnwick
