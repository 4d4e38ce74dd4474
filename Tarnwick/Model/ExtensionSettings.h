#pragma once

#include "Tarnwick/Desktop/FinderServices.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"
#include "TarnwickFinderSync/FileManagerMenus.h"

#include <QAbstractListModel>
#include <QString>
#include <exception>
#include <functional>
#include <optional>
#include <vector>

namespace tarnwick {

/// One row per file manager of this machine, with whether its context menu has this program's entry. Belongs
/// to the main thread and needs its event loop; another thread reads and switches, one operation at a time.
class ExtensionSettings : public QAbstractListModel, public ExtensionManagement {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    /// Whether the rows are known: false before the first read, and after one that failed.
    Q_PROPERTY(bool isLoaded READ isLoaded NOTIFY isLoadedChanged)
    /// Why the last read or switch failed; empty when it did not.
    Q_PROPERTY(QString failure READ failure NOTIFY failureChanged)

public:
    /// QML uses the same names with a lower-case first letter.
    enum Role {
        /// QString
        Name = Qt::UserRole + 1,
        /// bool; during a switch, the new state
        IsEnabled,
    };
    Q_ENUM(Role)

    explicit ExtensionSettings(FileManagerMenus menus, QObject* parent = nullptr);
    /// Waits for a running read or switch.
    ~ExtensionSettings() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const noexcept { return static_cast<int>(rows_.size()); }
    bool isLoaded() const noexcept { return isLoaded_; }
    const QString& failure() const noexcept { return failure_; }

    /// Reads the current state.
    Q_INVOKABLE void reload();
    /// Switches a row's entry on or off; a failure switches it back. An unknown row is ignored.
    Q_INVOKABLE void setEnabled(int row, bool isEnabled);
    /// Reloads and emits showRequested().
    Q_INVOKABLE void showExtensionManagementInterface() override;

signals:
    void countChanged();
    void isLoadedChanged();
    void failureChanged();
    /// The window should show the settings.
    void showRequested();

private:
    using FileManager = FileManagerMenus::FileManager;
    using States = std::vector<FileManagerMenus::State>;
    using Change = std::function<void(const FileManagerMenus&)>;

    struct Row {
        FileManagerMenus::State state;
        int pendingSwitches = 0;
    };
    /// The machine's state after a change, unless it cannot be read, and the text of a failure.
    struct Outcome {
        std::optional<States> states;
        QString failure;
    };

    static Outcome perform(const FileManagerMenus& menus, const Change& change);
    void run(Change change, std::function<void()> completion);
    void endSwitch(FileManager fileManager);
    void show(const Outcome& outcome);
    bool hasRowsOf(const States& states) const;
    void makeRows(const States& states);
    void showEnabled(int row, bool isEnabled);

    FileManagerMenus menus_;
    std::vector<Row> rows_;
    bool isLoaded_ = false;
    QString failure_;
    MainThreadContext mainThread_;
    BackgroundWorker worker_;
};

} // namespace tarnwick
