#include "Tarnwick/Model/AppModel.h"

#include "Engine/CompressionEngine.h"
#include "Foundation/CompressionError.h"
#include "Inspection/ImageKind.h"
#include "Process/Cancellation.h"
#include "Scheduling/CompressionQueue.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Maintenance/BackupMaintenance.h"
#include "Tarnwick/Model/ComparisonPreparation.h"
#include "Tarnwick/Model/HistoryLoading.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"
#include "Tarnwick/QtSupport/QtConversions.h"
#include "Wording/Messages.h"
#include "Wording/RowText.h"

#include <asio/bind_executor.hpp>

#include <QPointer>
#include <QStringList>
#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <utility>

namespace tarnwick {
namespace {

QStringList imageFilters() {
    return {"图片 (*.png *.PNG *.jpg *.JPG *.jpeg *.JPEG *.gif *.GIF *.heic *.HEIC *.heif *.HEIF)"};
}

/// The same for all ways to name a file.
std::string workKey(const URL& url) {
    return url.isFileURL() ? CompressionQueue::fileIdentity(url) : url.absoluteString();
}

bool isRecognised(const URL& url) {
    return ImageKind::from(url).has_value();
}

} // namespace

CompressionEngine makeApplicationEngine(const URL& toolDirectory, const Cancellation& cancellation) {
    constexpr QualityThresholds thresholds;
    return {toolDirectory, UndoStore(), thresholds.general, thresholds.png, thresholds.gif, cancellation};
}

struct AppModel::Work {
    Work(AppModel& model, CompressionEngine theEngine, Cancellation theCancellation)
        : engine(std::move(theEngine)), cancellation(std::move(theCancellation)),
          historyLoading(background, engine.undo(),
                         [&model](bool isStartup, const std::vector<HistoryEntry>& entries) {
                             model.historyLoaded(isStartup, entries);
                         }),
          maintenance(background, model.services_.clock, engine.undo(),
                      [&model](const BackupMaintenance::Findings& findings) {
                          model.tasks_.setAvailableBackups(findings.records);
                      }) {}

    const CompressionEngine engine;
    const Cancellation cancellation;
    MainThreadContext mainThread;
    BackgroundWorker background{mainThread.executor()};
    HistoryLoading historyLoading;
    BackupMaintenance maintenance;
};

AppModel::AppModel(const AppServices& services, const CompressionEngine& engine,
                   const Cancellation& cancellation, QObject* parent)
    : QObject(parent), services_(services), work_(std::make_unique<Work>(*this, engine, cancellation)),
      historyObservation_(services_.notifications.observe(NotificationName::historyDidChange,
                                                          [this] { loadHistory(false); })),
      wakeObservation_(services_.wake.observeWake([this] { scheduleBackupMaintenance(); })) {
    connect(&tasks_, &ImageTaskListModel::activeCountChanged, this, &AppModel::isCompressingChanged);
    connect(this, &AppModel::isClearingChanged, this, &AppModel::isCompressingChanged);
    connect(this, &AppModel::alertMessageChanged, this, &AppModel::hasModalPresentationChanged);
    connect(this, &AppModel::showClearConfirmationChanged, this, &AppModel::hasModalPresentationChanged);
    connect(this, &AppModel::isChoosingFilesChanged, this, &AppModel::hasModalPresentationChanged);
    loadHistory(true);
}

AppModel::~AppModel() {
    work_->cancellation.request();
    services_.queue.stop();
}

void AppModel::setAlertMessage(const QString& message) {
    if (std::exchange(alertMessage_, message) != message) {
        emit alertMessageChanged();
    }
}

void AppModel::setTargeted(bool isTargeted) {
    if (std::exchange(isTargeted_, isTargeted) != isTargeted) {
        emit isTargetedChanged();
    }
}

void AppModel::setShowClearConfirmation(bool show) {
    if (std::exchange(showClearConfirmation_, show) != show) {
        emit showClearConfirmationChanged();
    }
}

void AppModel::setChoosingFiles(bool isChoosing) {
    if (std::exchange(isChoosingFiles_, isChoosing) != isChoosing) {
        emit isChoosingFilesChanged();
    }
}

void AppModel::setClearing(bool isClearing) {
    isClearing_ = isClearing;
    tasks_.setClearing(isClearing);
    emit isClearingChanged();
}

bool AppModel::hasModalPresentation() const noexcept {
    return !alertMessage_.isEmpty() || showClearConfirmation_ || isChoosingFiles_;
}

QString AppModel::savedText() const {
    return toQString(RowText::byteCount(progress_.savedBytes()));
}

void AppModel::chooseFiles() {
    if (isChoosingFiles_) {
        return;
    }
    setChoosingFiles(true);
    services_.chooser.open(imageFilters(), [model = QPointer(this)](const QList<QUrl>& urls) {
        if (model) {
            model->chosen(urls);
        }
    });
}

void AppModel::chosen(const QList<QUrl>& urls) {
    if (!urls.isEmpty()) {
        add(urls);
    }
    setChoosingFiles(false);
}

void AppModel::add(const QList<QUrl>& urls) {
    std::vector<URL> converted;
    std::transform(urls.begin(), urls.end(), std::back_inserter(converted), fromQUrl);
    add(converted);
}

void AppModel::add(const std::vector<URL>& urls) {
    if (isClearing_) {
        setAlertMessage("正在清除记录，请稍后再导入图片。");
        return;
    }
    std::vector<URL> pictures;
    std::copy_if(urls.begin(), urls.end(), std::back_inserter(pictures), isRecognised);
    if (pictures.size() < urls.size()) {
        setAlertMessage(toQString(Messages::unsupportedKind));
    }
    const std::vector<URL> accepted = withoutDuplicates(pictures);
    if (!accepted.empty()) {
        importFiles(accepted);
    }
}

std::vector<URL> AppModel::withoutDuplicates(const std::vector<URL>& urls) const {
    std::set<std::string> atWork;
    for (int row = 0; row < tasks_.count() && !urls.empty(); ++row) {
        if (tasks_.at(row).status.isActive()) {
            atWork.insert(workKey(tasks_.at(row).url));
        }
    }
    std::vector<URL> accepted;
    std::copy_if(urls.begin(), urls.end(), std::back_inserter(accepted),
                 [&](const URL& url) { return atWork.insert(workKey(url)).second; });
    return accepted;
}

void AppModel::importFiles(const std::vector<URL>& urls) {
    std::vector<ImageTask> imported;
    for (const URL& url : urls) {
        work_->historyLoading.exclude(url);
        imported.push_back(ImageTask::imported(url));
    }
    const UUID sessionID = UUID::random();
    importAnimationID_ = toQString(sessionID.text());
    emit importAnimationIDChanged();
    progress_.begin(static_cast<int>(imported.size()));
    emit progressChanged();
    tasks_.insert(tasks_.count(), imported);
    for (const ImageTask& task : imported) {
        compress(task, sessionID);
    }
}

void AppModel::compress(const ImageTask& task, const UUID& sessionID) {
    const auto& mainThread = work_->mainThread.executor();
    services_.queue.run(
        task.url,
        [this, mainThread, id = task.id] { mainThread.execute([this, id] { markCompressing(id); }); },
        [engine = work_->engine, url = task.url, sessionID] { return engine.compress(url, sessionID); },
        asio::bind_executor(mainThread, [this, id = task.id](const std::exception_ptr& error,
                                                             const CompressionResult& result) {
            compressionEnded(id, error, result);
        }));
}

void AppModel::markCompressing(const UUID& id) {
    setStatus(id, TaskStatus::Compressing);
}

void AppModel::compressionEnded(const UUID& id, const std::exception_ptr& error,
                                const CompressionResult& result) {
    if (error) {
        progress_.endWithFailure();
        setStatus(id, TaskStatus::failed(errorDescription(error)));
        emit progressChanged();
        return;
    }
    progress_.endWith(result);
    tasks_.update(id, [&](ImageTask& task) {
        task.result = result;
        task.status = result.outcome == CompressionOutcome::skipped ? TaskStatus::Skipped : TaskStatus::Done;
        task.backupAvailable = result.undoRecord.has_value();
        task.url = result.url;
    });
    emit progressChanged();
    if (result.undoRecord) {
        scheduleBackupMaintenance();
        ensureBackupKeeper();
    }
}

void AppModel::restore(const QString& taskID) {
    const ImageTask* found = task(taskID);
    if (found != nullptr && found->record() != nullptr) {
        // A copy: the row's own changes while it is used.
        restoreRecord(UndoRecord(*found->record()));
    }
}

void AppModel::restoreRecord(const UndoRecord& record) {
    const std::vector<UUID> holders = tasks_.tasksHolding(record.id);
    const auto isActive = [this](const UUID& id) { return tasks_.find(id)->status.isActive(); };
    if (isClearing_ || holders.empty() || std::any_of(holders.begin(), holders.end(), isActive)) {
        return;
    }
    for (const UUID& id : holders) {
        setStatus(id, TaskStatus::Restoring);
    }
    services_.queue.run(
        record.replacementURL(), [store = work_->engine.undo(), record] { store.restore(record); },
        asio::bind_executor(work_->mainThread.executor(), [this, record](const std::exception_ptr& error) {
            restoreEnded(record, error);
        }));
}

void AppModel::restoreEnded(const UndoRecord& record, const std::exception_ptr& error) {
    for (const UUID& id : tasks_.tasksHolding(record.id)) {
        tasks_.update(id, [&](ImageTask& task) {
            if (error) {
                task.status = TaskStatus::failed(errorDescription(error));
                return;
            }
            task.status = TaskStatus::Restored;
            task.url = record.originalURL();
            task.thumbnailURL = task.url;
            task.backupAvailable = false;
        });
    }
    if (!error) {
        announceHistoryChange();
    }
}

void AppModel::deleteTask(const QString& taskID) {
    const ImageTask* found = task(taskID);
    if (isClearing_ || found == nullptr || found->status.isActive()) {
        return;
    }
    if (found->record() == nullptr) {
        tasks_.remove(found->id);
        return;
    }
    const ImageTask deleted = *found;
    setStatus(deleted.id, TaskStatus::Deleting);
    services_.queue.run(
        deleted.record()->replacementURL(),
        [store = work_->engine.undo(), record = *deleted.record()] { store.deleteRecord(record); },
        asio::bind_executor(work_->mainThread.executor(), [this, deleted](const std::exception_ptr& error) {
            deleteEnded(deleted, error);
        }));
}

void AppModel::deleteEnded(const ImageTask& deleted, const std::exception_ptr& error) {
    if (error) {
        // What is still in the history must not vanish from the list.
        setAlertMessage(errorText(error));
        setStatus(deleted.id, deleted.status);
    } else {
        work_->historyLoading.exclude(*deleted.record());
        tasks_.remove(deleted.id);
    }
    announceHistoryChange();
}

void AppModel::reveal(const QString& taskID) {
    if (const ImageTask* found = task(taskID)) {
        services_.revealer.reveal(found->url);
    }
}

void AppModel::requestClearAllRecords() {
    if (isCompressing()) {
        setShowClearConfirmation(false);
        setAlertMessage("当前有未完成的任务，请等待压缩完成后再清除记录。");
    } else {
        setShowClearConfirmation(true);
    }
}

void AppModel::clearAllRecords() {
    if (isCompressing()) {
        requestClearAllRecords();
        return;
    }
    setShowClearConfirmation(false);
    setClearing(true);
    work_->background.run([store = work_->engine.undo()] { return store.removeAll(); },
                          [this](const std::exception_ptr& error, const std::vector<UndoRecord>& removed) {
                              clearEnded(error, removed);
                          });
}

void AppModel::clearEnded(const std::exception_ptr& error, const std::vector<UndoRecord>& removed) {
    if (error) {
        setAlertMessage(errorText(error));
    } else {
        std::set<UUID> gone;
        std::transform(removed.begin(), removed.end(), std::inserter(gone, gone.end()),
                       [](const UndoRecord& record) { return record.id; });
        tasks_.removeAll([&](const ImageTask& task) {
            return task.record() != nullptr && gone.contains(task.record()->id);
        });
    }
    setClearing(false);
    services_.notifications.post(NotificationName::undoDidChange);
    loadHistory(false);
    scheduleBackupMaintenance();
}

void AppModel::compare(const QString& taskID) {
    const ImageTask* found = task(taskID);
    if (found == nullptr || found->record() == nullptr) {
        return;
    }
    comparisonItem(*found->record(), [this, taskID](const ComparisonOutcome& outcome) {
        if (const auto* item = std::get_if<ComparisonItem>(&outcome)) {
            emit comparisonReady(taskID, *item);
        } else {
            emit comparisonFailed(taskID, std::get<QString>(outcome));
        }
    });
}

void AppModel::comparisonItem(const UndoRecord& record,
                              std::function<void(const ComparisonOutcome&)> completion) {
    work_->background.run(
        [store = work_->engine.undo(), record, now = services_.clock.now()] {
            return prepareComparison(store, record, now);
        },
        [completion = std::move(completion)](const std::exception_ptr& error, const ComparisonItem& item) {
            completion(error ? ComparisonOutcome(errorText(error)) : ComparisonOutcome(item));
        });
}

void AppModel::loadHistory(bool isStartup) {
    // Clearing ends with a load of its own.
    if (!isClearing_) {
        work_->historyLoading.start(isStartup);
    }
}

std::set<std::string> AppModel::pathsBeingCompressed() const {
    std::set<std::string> paths;
    for (int row = 0; row < tasks_.count(); ++row) {
        const ImageTask& task = tasks_.at(row);
        if (task.status == TaskStatus::Waiting || task.status == TaskStatus::Compressing) {
            paths.insert(task.url.path());
        }
    }
    return paths;
}

void AppModel::historyLoaded(bool isStartup, const std::vector<HistoryEntry>& entries) {
    // The record that a compression has just prepared is not its row's yet.
    const std::set<std::string> compressing = pathsBeingCompressed();
    std::vector<ImageTask> found;
    for (const HistoryEntry& entry : entries) {
        const bool isOfARow = !tasks_.tasksHolding(entry.record.id).empty();
        if (!isOfARow && !compressing.contains(entry.record.originalPath)) {
            found.push_back(ImageTask::fromHistory(entry.record, entry.hasBackup));
        }
    }
    tasks_.insert(isStartup ? tasks_.count() : 0, std::move(found));
    scheduleBackupMaintenance();
    if (std::any_of(entries.begin(), entries.end(), [](const auto& entry) { return entry.hasBackup; })) {
        ensureBackupKeeper();
    }
}

void AppModel::announceHistoryChange() {
    services_.notifications.post(NotificationName::undoDidChange);
    scheduleBackupMaintenance();
}

void AppModel::scheduleBackupMaintenance() {
    work_->maintenance.schedule();
}

void AppModel::ensureBackupKeeper() {
    services_.helper.launch();
}

void AppModel::setStatus(const UUID& id, const TaskStatus& status) {
    tasks_.update(id, [&](ImageTask& task) { task.status = status; });
}

const ImageTask* AppModel::task(const QString& taskID) const {
    const auto id = UUID::parse(taskID.toStdString());
    return id ? tasks_.find(*id) : nullptr;
}

} // namespace tarnwick
