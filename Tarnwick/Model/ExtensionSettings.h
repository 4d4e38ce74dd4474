#pragma once

#include "Tarnwick/Desktop/FileManagerExtensions.h"
#include "Tarnwick/Desktop/FinderServices.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"

#include <QAbstractListModel>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

namespace tarnwick {

/// The file managers of this machine, one a row, each with whether its context menu has this program's entry.
/// Belongs to the main thread, whose event loop it needs; reading and switching are done elsewhere, one after
/// another.
class ExtensionSettings : public QAbstractListModel, public ExtensionManagement {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    /// Whether the rows are known: not before the first reading has ended, nor after one that failed.
    Q_PROPERTY(bool isLoaded READ isLoaded NOTIFY isLoadedChanged)
    /// Why the last reading or switching failed; empty when it did not.
    Q_PROPERTY(QString failure READ failure NOTIFY failureChanged)

public:
    /// The names in QML are the enumerators', beginning in lower case.
    enum Role {
        /// QString
        Name = Qt::UserRole + 1,
        /// bool; while a switching is under way, what it is to become
        IsEnabled,
    };
    Q_ENUM(Role)

    /// `extensions` must outlive the model.
    explicit ExtensionSettings(FileManagerExtensions& extensions, QObject* parent = nullptr);
    /// Waits for a reading or switching that is under way.
    ~ExtensionSettings() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const noexcept { return static_cast<int>(rows_.size()); }
    bool isLoaded() const noexcept { return isLoaded_; }
    const QString& failure() const noexcept { return failure_; }

    /// Reads what is on the machine now.
    Q_INVOKABLE void reload();
    /// Switches a row's entry on or off; a failure switches it back. An unknown row is no error and nothing
    /// happens.
    Q_INVOKABLE void setEnabled(int row, bool isEnabled);
    /// Reloads, and asks for the window.
    void showExtensionManagementInterface() override;

signals:
    void countChanged();
    void isLoadedChanged();
    void failureChanged();
    /// The settings are to be brought before the user.
    void showRequested();

private:
    using States = std::vector<FileManagerExtensions::State>;
    using Change = std::function<void(FileManagerExtensions&)>;

    struct Row {
        FileManagerExtensions::State state;
        int pendingSwitches = 0;
    };
    /// What the machine holds after a change, if that is known, and what failed, if anything did.
    struct Outcome {
        std::optional<States> states;
        QString failure;
    };

    static Outcome outcomeOf(FileManagerExtensions& extensions, const Change& change);
    void run(Change change, std::function<void()> completion);
    void endSwitch(const QString& name);
    void show(const Outcome& outcome);
    bool hasRowsOf(const States& states) const;
    void makeRows(const States& states);
    void showEnabled(int row, bool isEnabled);

    FileManagerExtensions& extensions_;
    std::vector<Row> rows_;
    bool isLoaded_ = false;
    QString failure_;
    MainThreadContext mainThread_;
    BackgroundWorker worker_;
};

} // namespace tarnwick
