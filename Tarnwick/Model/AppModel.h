#pragma once

#include "Tarnwick/Desktop/Registration.h"
#include "Tarnwick/Model/BatchTotals.h"
#include "Tarnwick/Model/ComparisonItem.h"
#include "Tarnwick/Model/ImageTaskListModel.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>
#include <exception>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace tarnwick {

class Cancellation;
class Clock;
class CompressionEngine;
class CompressionQueue;
class DistributedNotifications;
class FileChooser;
class FileRevealer;
class HelperLauncher;
class WakeMonitor;
struct HistoryEntry;

/// What the model works with; all of it must outlive the model.
struct AppServices {
    CompressionQueue& queue;
    DistributedNotifications& notifications;
    WakeMonitor& wake;
    HelperLauncher& helper;
    FileChooser& chooser;
    FileRevealer& revealer;
    Clock& clock;
};

/// The application's engine: the default store and thresholds, the tools of the bundle.
CompressionEngine makeApplicationEngine(const URL& toolDirectory, const Cancellation& cancellation);

/// The one model behind the main window. It belongs to the main thread, whose event loop it needs; work on
/// files is done elsewhere, so that no function blocks for long. Tasks are named by the text of their
/// `taskId` role; an unknown one is no error and nothing happens.
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
    /// Of a comparison: the pair, or what to tell the user instead.
    using ComparisonOutcome = std::variant<ComparisonItem, QString>;

    /// Starts by loading the history. `cancellation` is the engine's.
    AppModel(const AppServices& services, const CompressionEngine& engine, const Cancellation& cancellation,
             QObject* parent = nullptr);
    /// Cancels running compressions and stops the queue, for good; does not wait for what runs in it. No
    /// handler of the model is called from now on.
    ~AppModel() override;

    ImageTaskListModel* tasks() noexcept { return &tasks_; }
    /// Empty while there is no alert.
    const QString& alertMessage() const noexcept { return alertMessage_; }
    void setAlertMessage(const QString& message);
    bool isTargeted() const noexcept { return isTargeted_; }
    void setTargeted(bool isTargeted);
    bool showClearConfirmation() const noexcept { return showClearConfirmation_; }
    void setShowClearConfirmation(bool show);
    /// Another one for every import; empty before the first.
    const QString& importAnimationID() const noexcept { return importAnimationID_; }
    bool isClearing() const noexcept { return isClearing_; }
    bool isChoosingFiles() const noexcept { return isChoosingFiles_; }
    /// Whether the history is being cleared or any task is active.
    bool isCompressing() const noexcept { return isClearing_ || tasks_.activeCount() > 0; }
    /// Whether an alert, the confirmation or the file chooser is open.
    bool hasModalPresentation() const noexcept;

    /// Of the running batch of compressions, or of the last one; 0 of 0 before the first.
    int doneCount() const noexcept { return progress_.done(); }
    int totalCount() const noexcept { return progress_.total(); }
    qint64 savedBytes() const noexcept { return progress_.savedBytes(); }
    /// "735 KB"
    QString savedText() const;

    /// Opens the file chooser and imports what the user picks.
    Q_INVOKABLE void chooseFiles();
    /// Imports files and begins to compress them; what is no picture's name is refused with an alert.
    Q_INVOKABLE void add(const QList<QUrl>& urls);
    void add(const std::vector<URL>& urls);

    void markCompressing(const UUID& id);

    Q_INVOKABLE void restore(const QString& taskID);
    /// Puts the original of a row back that holds this record.
    void restoreRecord(const UndoRecord& record);
    /// Deletes a finished row, with its record and backup. The row is removed once those are gone.
    Q_INVOKABLE void deleteTask(const QString& taskID);
    /// Shows the file in the file manager.
    Q_INVOKABLE void reveal(const QString& taskID);

    /// Asks the user, or says why not.
    Q_INVOKABLE void requestClearAllRecords();
    /// What the user confirmed: deletes the whole history. Closes the confirmation.
    Q_INVOKABLE void clearAllRecords();

    /// Answers with comparisonReady() or comparisonFailed(); not at all for a task without a record.
    Q_INVOKABLE void compare(const QString& taskID);
    /// `completion` is called later, unless the model is gone by then.
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
    void chosen(const QList<QUrl>& urls);
    std::vector<URL> withoutDuplicates(const std::vector<URL>& urls) const;
    void importFiles(const std::vector<URL>& urls);
    void compress(const ImageTask& task, const UUID& sessionID);
    void compressionEnded(const UUID& id, const std::exception_ptr& error, const CompressionResult& result);
    void setStatus(const UUID& id, const TaskStatus& status);
    const ImageTask* task(const QString& taskID) const;
    void restoreEnded(const UndoRecord& record, const std::exception_ptr& error);
    /// `deleted` is the task as it was before.
    void deleteEnded(const ImageTask& deleted, const std::exception_ptr& error);
    void clearEnded(const std::exception_ptr& error, const std::vector<UndoRecord>& removed);
    std::set<std::string> pathsBeingCompressed() const;
    void historyLoaded(bool isStartup, const std::vector<HistoryEntry>& entries);
    void announceHistoryChange();
    void setClearing(bool isClearing);
    void setChoosingFiles(bool isChoosing);

    /// What runs outside the main thread, and how it comes back.
    struct Work;

    AppServices services_;
    ImageTaskListModel tasks_;
    QString alertMessage_;
    bool isTargeted_ = false;
    bool showClearConfirmation_ = false;
    QString importAnimationID_;
    bool isClearing_ = false;
    bool isChoosingFiles_ = false;
    BatchTotals progress_;
    std::unique_ptr<Work> work_;
    Registration historyObservation_;
    Registration wakeObservation_;
};

} // namespace tarnwick
