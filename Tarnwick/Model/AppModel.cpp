#include "Tarnwick/Model/AppModel.h"

#include "Engine/CompressionEngine.h"
#include "Foundation/CompressionError.h"
#include "Scheduling/CompressionQueue.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Maintenance/BackupMaintenance.h"
#include "Tarnwick/Model/BudgetConfirmation.h"
#include "Tarnwick/Model/ComparisonPreparation.h"
#include "Tarnwick/Model/ImportSelection.h"
#include "Tarnwick/Model/RecordActions.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"
#include "Tarnwick/QtSupport/QtConversions.h"
#include "Wording/Messages.h"
#include "Wording/RowText.h"

#include <asio/bind_executor.hpp>

#include <QPointer>
#include <algorithm>
#include <iterator>
#include <set>
#include <stop_token>
#include <utility>

namespace tarnwick {

struct AppModel::Work {
    Work(AppModel& model, const CompressionEngine& theEngine)
        : engine(theEngine.cancelledBy(cancellation)),
          cancelling(model.services_.queue.stopToken(), [this] { cancellation.request(); }),
          budget(model, model.services_.alerts, engine.undo()),
          historyLoading(background, engine.undo(),
                         [&model](const HistoryLoading::Result& loaded) { model.insertHistory(loaded); }),
          backupMaintenanceTask(background, model.services_.clock, engine.undo(),
                                [this, &model](const BackupMaintenance::Findings& findings) {
                                    model.tasks_.setAvailableBackups(findings.records);
                                    budget.setBackupBytes(findings.backupBytes);
                                }),
          recordActions(model.tasks_, model.services_.queue, engine.undo(), mainThread.executor(),
                        {.onHistoryChange = [&model] { model.announceHistoryChange(); },
                         .onDelete = [this](const UndoRecord& record) { historyLoading.exclude(record); },
                         .onDeleteFailure = [&model](const QString& text) { model.setAlertMessage(text); }}) {
    }

    const Cancellation cancellation = Cancellation::make();
    const CompressionEngine engine;
    /// Qt exits when the display is gone, and destroys no model. The queue is stopped even then.
    const std::stop_callback<std::function<void()>> cancelling;
    BudgetConfirmation budget;
    MainThreadContext mainThread;
    BackgroundWorker background{mainThread.executor()};
    HistoryLoading historyLoading;
    BackupMaintenance backupMaintenanceTask;
    RecordActions recordActions;
};

AppModel::AppModel(const AppServices& services, const CompressionEngine& engine, QObject* parent)
    : QObject(parent), services_(services), work_(std::make_unique<Work>(*this, engine)),
      backgroundHistoryObserver_(services_.notifications.observe(NotificationName::historyDidChange,
                                                                 [this] { loadHistory(false); })),
      workspaceWakeObserver_(services_.wake.observeWake([this] { scheduleBackupMaintenance(); })) {
    connect(&tasks_, &ImageTaskListModel::activeCountChanged, this, &AppModel::isCompressingChanged);
    connect(this, &AppModel::isClearingChanged, this, &AppModel::isCompressingChanged);
    connect(this, &AppModel::alertMessageChanged, this, &AppModel::hasModalPresentationChanged);
    connect(this, &AppModel::showClearConfirmationChanged, this, &AppModel::hasModalPresentationChanged);
    connect(this, &AppModel::isChoosingFilesChanged, this, &AppModel::hasModalPresentationChanged);
    loadHistory(true);
}

AppModel::~AppModel() {
    stop();
}

void AppModel::stop() {
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
    return toQString(RowText::byteCount(totals_.savedBytes()));
}

void AppModel::chooseFiles() {
    if (isChoosingFiles_) {
        return;
    }
    setChoosingFiles(true);
    const QStringList filters = {
        "图片 (*.png *.PNG *.jpg *.JPG *.jpeg *.JPEG *.gif *.GIF *.heic *.HEIC *.heif *.HEIF)"};
    services_.chooser.open(filters, [model = QPointer(this)](const QList<QUrl>& urls) {
        if (model) {
            model->importChosen(urls);
        }
    });
}

void AppModel::importChosen(const QList<QUrl>& urls) {
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

void AppModel::add(const std::vector<URL>& urls, bool isAgreed) {
    if (isClearing_) {
        setAlertMessage("正在清除记录，请稍后再导入图片。");
        return;
    }
    const ImportSelection selection = ImportSelection::of(urls, tasks_);
    if (selection.hasUnsupported) {
        setAlertMessage(toQString(Messages::unsupportedKind));
    }
    if (!selection.accepted.empty() && (isAgreed || work_->budget.allows(selection.accepted))) {
        importFiles(selection.accepted);
    }
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
    totals_.begin(static_cast<int>(imported.size()));
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
            finishCompression(id, error, result);
        }));
}

void AppModel::markCompressing(const UUID& id) {
    tasks_.setStatus(id, TaskStatus::Compressing);
}

void AppModel::finishCompression(const UUID& id, const std::exception_ptr& error,
                                 const CompressionResult& result) {
    if (error) {
        totals_.addFailure();
        tasks_.setStatus(id, TaskStatus::failed(errorDescription(error)));
    } else {
        totals_.add(result);
        tasks_.update(id, [&](ImageTask& task) {
            task.result = result;
            task.status =
                result.outcome == CompressionOutcome::skipped ? TaskStatus::Skipped : TaskStatus::Done;
            task.backupAvailable = result.undoRecord.has_value();
            task.url = result.url;
        });
    }
    emit progressChanged();
    if (result.undoRecord) {
        scheduleBackupMaintenance();
        ensureBackupKeeper();
    }
}

void AppModel::restore(const QString& taskID) {
    if (const UndoRecord* found = record(taskID)) {
        // A copy: restoring changes the row.
        restoreRecord(UndoRecord(*found));
    }
}

void AppModel::restoreRecord(const UndoRecord& record) {
    if (!isClearing_) {
        work_->recordActions.restore(record);
    }
}

void AppModel::deleteTask(const QString& taskID) {
    const ImageTask* found = task(taskID);
    if (isClearing_ || found == nullptr || found->status.isActive()) {
        return;
    }
    if (found->record() == nullptr) {
        tasks_.remove(found->id);
    } else {
        work_->recordActions.deleteTask(*found);
    }
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
                              finishClearing(error, removed);
                          });
}

void AppModel::finishClearing(const std::exception_ptr& error, const std::vector<UndoRecord>& removed) {
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
    announceHistoryChange();
    loadHistory(false);
}

void AppModel::compare(const QString& taskID) {
    const auto show = [this, taskID](const ComparisonOutcome& outcome) {
        const auto* item = std::get_if<ComparisonItem>(&outcome);
        item != nullptr ? emit comparisonReady(taskID, *item)
                        : emit comparisonFailed(taskID, std::get<QString>(outcome));
    };
    if (const UndoRecord* found = record(taskID)) {
        comparisonItem(*found, show);
    }
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

void AppModel::insertHistory(const HistoryLoading::Result& loaded) {
    tasks_.insert(loaded.isStartup ? tasks_.count() : 0, missingRows(loaded.entries, tasks_));
    if (loaded.leftovers.settledRecords > 0) {
        announceHistoryChange();
    } else {
        scheduleBackupMaintenance();
    }
    // The keeper also removes later what living processes still hold.
    if (loaded.leftovers.isIncomplete ||
        std::any_of(loaded.entries.begin(), loaded.entries.end(), std::mem_fn(&HistoryEntry::hasBackup))) {
        ensureBackupKeeper();
    }
}

void AppModel::announceHistoryChange() {
    services_.notifications.post(NotificationName::undoDidChange);
    scheduleBackupMaintenance();
}

void AppModel::scheduleBackupMaintenance() {
    work_->backupMaintenanceTask.schedule();
}

void AppModel::ensureBackupKeeper() {
    services_.helper.launch();
}

const ImageTask* AppModel::task(const QString& taskID) const {
    const auto id = UUID::parse(taskID.toStdString());
    return id ? tasks_.find(*id) : nullptr;
}

const UndoRecord* AppModel::record(const QString& taskID) const {
    const ImageTask* found = task(taskID);
    return found == nullptr ? nullptr : found->record();
}

} // namespace tarnwick
