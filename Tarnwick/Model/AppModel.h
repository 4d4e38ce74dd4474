#pragma once

#include "Tarnwick/Desktop/Registration.h"
#include "Tarnwick/Model/BatchTotals.h"
#include "Tarnwick/Model/ComparisonItem.h"
#include "Tarnwick/Model/HistoryLoading.h"
#include "Tarnwick/Model/ImageTaskListModel.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>
#include <exception>
#include <functional>
#include <memory>
#include <variant>
#include <vector>

namespace tarnwick {

class AlertPresenter;
class Clock;
class CompressionEngine;
class CompressionQueue;
class DistributedNotifications;
class FileChooser;
class FileRevealer;
class HelperLauncher;
class WakeMonitor;

/// The services that the model uses; all must outlive it.
struct AppServices {
    CompressionQueue& queue;
    DistributedNotifications& notifications;
    WakeMonitor& wake;
    HelperLauncher& helper;
    FileChooser& chooser;
    FileRevealer& revealer;
    Clock& clock;
    AlertPresenter& alerts;
};

/// The model behind the main window. Belongs to the main thread and needs its event loop; other threads do
/// the work on files, so that no function blocks for long. A task is named by the text of its `taskId` role;
/// an unknown name is ignored.
class AppModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(tarnwick::ImageTaskListModel* tasks READ tasks CONSTANT)
    Q_PROPERTY(QString alertMessage READ alertMessage WRITE setAlertMessage NOTIFY alertMessageChanged)
    Q_PROPERTY(bool isTargeted READ isTargeted WRITE setTargeted NOTIFY isTargetedChanged)
    Q_PROPERTY(bool showClearConfirmation READ showClearConfirmation WRITE setShowClearConfirmation NOTIFY
                   showClearConfirmationChanged)
    Q_PROPERTY(QString importAnimationID READ importAnimationID NOTIFY importAnimationIDChanged)
    Q_PROPERTY(bool isClearing READ isClearing NOTIFY isClearingChanged)
    Q_PROPERTY(bool isChoosingFiles READ isChoosingFiles NOTIFY isChoosingFilesChanged)
    Q_PROPERTY(bool isCompressing READ isCompressing NOTIFY isCompressingChanged)
    Q_PROPERTY(bool hasModalPresentation READ hasModalPresentation NOTIFY hasModalPresentationChanged)
    Q_PROPERTY(int doneCount READ doneCount NOTIFY progressChanged)
    Q_PROPERTY(int totalCount READ totalCount NOTIFY progressChanged)
    Q_PROPERTY(qint64 savedBytes READ savedBytes NOTIFY progressChanged)
    Q_PROPERTY(QString savedText READ savedText NOTIFY progressChanged)

public:
    /// The pair to compare, or the text of the failure.
    using ComparisonOutcome = std::variant<ComparisonItem, QString>;

    /// Starts to load the history. The model works with the engine under a cancellation of its own.
    AppModel(const AppServices& services, const CompressionEngine& engine, QObject* parent = nullptr);
    /// Calls stop(). No handler of the model is called after this.
    ~AppModel() override;

    /// Ends running tools and drops waiting jobs. Every file is then the original or a complete result. Does
    /// not wait for running jobs; nothing can be started any more.
    void stop();

    ImageTaskListModel* tasks() noexcept { return &tasks_; }
    /// Empty while there is no alert.
    const QString& alertMessage() const noexcept { return alertMessage_; }
    void setAlertMessage(const QString& message);
    bool isTargeted() const noexcept { return isTargeted_; }
    void setTargeted(bool isTargeted);
    bool showClearConfirmation() const noexcept { return showClearConfirmation_; }
    void setShowClearConfirmation(bool show);
    /// New for every import; empty before the first.
    const QString& importAnimationID() const noexcept { return importAnimationID_; }
    bool isClearing() const noexcept { return isClearing_; }
    bool isChoosingFiles() const noexcept { return isChoosingFiles_; }
    /// Whether the history is being cleared or any task is active.
    bool isCompressing() const noexcept { return isClearing_ || tasks_.activeCount() > 0; }
    /// Whether an alert, the confirmation or the file chooser is open.
    bool hasModalPresentation() const noexcept;

    /// Of the running batch of compressions, else of the last one; 0 of 0 before the first.
    int doneCount() const noexcept { return totals_.done(); }
    int totalCount() const noexcept { return totals_.total(); }
    qint64 savedBytes() const noexcept { return totals_.savedBytes(); }
    /// "735 KB"
    QString savedText() const;

    /// Opens the file chooser and imports what the user picks.
    Q_INVOKABLE void chooseFiles();
    /// Imports files and starts to compress them; an alert refuses names of unsupported formats. Asks first
    /// when their originals exceed the budget of the backups.
    Q_INVOKABLE void add(const QList<QUrl>& urls);
    /// With `isAgreed` the user has agreed to exceed the budget.
    void add(const std::vector<URL>& urls, bool isAgreed = false);

    void markCompressing(const UUID& id);

    Q_INVOKABLE void restore(const QString& taskID);
    /// Restores the original of the rows that hold this record.
    void restoreRecord(const UndoRecord& record);
    /// Deletes the record and backup of a finished row, and then the row.
    Q_INVOKABLE void deleteTask(const QString& taskID);
    /// Shows the file in the file manager.
    Q_INVOKABLE void reveal(const QString& taskID);

    /// Asks for confirmation, or says why the history cannot be cleared now.
    Q_INVOKABLE void requestClearAllRecords();
    /// Closes the confirmation and deletes the whole history.
    Q_INVOKABLE void clearAllRecords();

    /// Emits comparisonReady() or comparisonFailed() later; neither for a task without a record.
    Q_INVOKABLE void compare(const QString& taskID);
    /// Calls `completion` later, unless the model is destroyed first.
    void comparisonItem(const UndoRecord& record, std::function<void(const ComparisonOutcome&)> completion);

    void loadHistory(bool isStartup);
    void scheduleBackupMaintenance();
    void ensureBackupKeeper();

signals:
    void alertMessageChanged();
    void isTargetedChanged();
    void showClearConfirmationChanged();
    void importAnimationIDChanged();
    void isClearingChanged();
    void isChoosingFilesChanged();
    void isCompressingChanged();
    void hasModalPresentationChanged();
    void progressChanged();
    void comparisonReady(const QString& taskID, const tarnwick::ComparisonItem& item);
    void comparisonFailed(const QString& taskID, const QString& message);

private:
    void importChosen(const QList<QUrl>& urls);
    void importFiles(const std::vector<URL>& urls);
    void compress(const ImageTask& task, const UUID& sessionID);
    void finishCompression(const UUID& id, const std::exception_ptr& error, const CompressionResult& result);
    const ImageTask* task(const QString& taskID) const;
    const UndoRecord* record(const QString& taskID) const;
    void finishClearing(const std::exception_ptr& error, const std::vector<UndoRecord>& removed);
    void insertHistory(const HistoryLoading::Result& loaded);
    void announceHistoryChange();
    void setClearing(bool isClearing);
    void setChoosingFiles(bool isChoosing);

    /// The work outside the main thread, and its way back.
    struct Work;

    AppServices services_;
    ImageTaskListModel tasks_;
    QString alertMessage_;
    bool isTargeted_ = false;
    bool showClearConfirmation_ = false;
    QString importAnimationID_;
    bool isClearing_ = false;
    bool isChoosingFiles_ = false;
    BatchTotals totals_;
    std::unique_ptr<Work> work_;
    Registration backgroundHistoryObserver_;
    Registration workspaceWakeObserver_;
};

} // namespace tarnwick
