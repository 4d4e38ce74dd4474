#pragma once

#include "Tarnwick/Model/ImageTask.h"

#include <QAbstractListModel>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <vector>

namespace tarnwick {

/// The rows of the window, on the main thread. Emits exactly what changed and never resets. Finding or
/// changing a task takes logarithmic time.
class ImageTaskListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    /// QML uses the same names with a lower-case first letter.
    enum Role {
        /// QString; the argument of AppModel's functions
        TaskId = Qt::UserRole + 1,
        /// QUrl
        Url,
        /// QString
        FileName,
        /// QUrl
        ThumbnailUrl,
        /// int, a TaskStatus::Case
        Status,
        /// QString; for a failure the whole sentence
        StatusText,
        /// QString, empty for no badge
        BadgeText,
        /// bool
        IsActive,
        IsFailed,
        BackupAvailable,
        CanRestore,
        CanCompare,
        CanDelete,
        /// QString for a tool tip: why the action is refused; empty when it is allowed
        RestoreRefusal,
        CompareRefusal,
        DeleteRefusal,
    };
    Q_ENUM(Role)

    explicit ImageTaskListModel(QObject* parent = nullptr);
    ~ImageTaskListModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const noexcept { return static_cast<int>(rows_.size()); }
    /// How many tasks are in an active status.
    int activeCount() const noexcept { return activeCount_; }
    const ImageTask& at(int row) const;
    /// Null when no task has this identity. Valid until the model changes.
    const ImageTask* find(const UUID& id) const;
    /// The tasks whose result holds this record.
    std::vector<UUID> tasksHolding(const UUID& recordID) const;

    /// Inserts the tasks before this row (count() appends them), as one insertion.
    void insert(int row, std::vector<ImageTask> tasks);
    void remove(const UUID& id);
    /// Removes every task for which `condition` holds; neighbours go as one removal.
    void removeAll(const std::function<bool(const ImageTask&)>& condition);
    /// Does nothing when no task has this identity.
    void setStatus(const UUID& id, const TaskStatus& status);
    /// Like setStatus(), for any other change; the id must not change.
    void update(const UUID& id, const std::function<void(ImageTask&)>& change);
    /// Sets each task's backupAvailable to whether `records` contains its record.
    void setAvailableBackups(const std::set<UUID>& records);
    /// Makes every row refuse to restore and delete.
    void setClearing(bool isClearing);

signals:
    void countChanged();
    void activeCountChanged();

private:
    /// Each row stores its position, so the lookup maps, which point to rows, stay valid when rows move.
    struct Row {
        ImageTask task;
        int place = 0;
    };

    void addToIndexes(Row& row);
    void removeFromIndexes(const Row& row);
    void removeRange(int first, int last);
    void renumber(int first);
    void announceActiveCount(int before);
    void announce(int first, int last, const QList<int>& changed);

    std::vector<std::unique_ptr<Row>> rows_;
    std::map<UUID, Row*> byID_;
    std::multimap<UUID, Row*> byRecord_;
    int activeCount_ = 0;
    bool isClearing_ = false;
};

} // namespace tarnwick
