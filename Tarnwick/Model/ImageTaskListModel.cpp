#include "Tarnwick/Model/ImageTaskListModel.h"

#include "Tarnwick/QtSupport/QtConversions.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace tarnwick {
namespace {

/// A task as its row shows it.
struct Shown {
    const ImageTask& task;
    bool isClearing;

    QString refusalUnlessClearing(const std::string& refusal) const {
        return isClearing ? QStringLiteral("正在清除记录，请稍候") : toQString(refusal);
    }
    QString restoreRefusal() const { return refusalUnlessClearing(task.refusalToRestore()); }
    QString deleteRefusal() const { return refusalUnlessClearing(task.refusalToDelete()); }
};

struct RoleDescription {
    int role;
    const char* name;
    QVariant (*value)(const Shown& row);
};

using Model = ImageTaskListModel;

/// In the order of the enumerators.
constexpr std::array<RoleDescription, 16> roles = {{
    {Model::TaskId, "taskId", [](const Shown& row) { return QVariant(toQString(row.task.id.text())); }},
    {Model::Url, "url", [](const Shown& row) { return QVariant(toQUrl(row.task.url)); }},
    {Model::FileName, "fileName",
     [](const Shown& row) { return QVariant(toQString(row.task.displayName())); }},
    {Model::ThumbnailUrl, "thumbnailUrl",
     [](const Shown& row) { return QVariant(toQUrl(row.task.thumbnailURL)); }},
    {Model::Status, "status",
     [](const Shown& row) { return QVariant(static_cast<int>(TaskStatus::Case(row.task.status))); }},
    {Model::StatusText, "statusText",
     [](const Shown& row) { return QVariant(toQString(row.task.statusText())); }},
    {Model::BadgeText, "badgeText",
     [](const Shown& row) { return QVariant(toQString(row.task.badgeText())); }},
    {Model::IsActive, "isActive", [](const Shown& row) { return QVariant(row.task.status.isActive()); }},
    {Model::IsFailed, "isFailed",
     [](const Shown& row) { return QVariant(row.task.status == TaskStatus::Failed); }},
    {Model::BackupAvailable, "backupAvailable",
     [](const Shown& row) { return QVariant(row.task.backupAvailable); }},
    {Model::CanRestore, "canRestore",
     [](const Shown& row) { return QVariant(row.restoreRefusal().isEmpty()); }},
    {Model::CanCompare, "canCompare",
     [](const Shown& row) { return QVariant(row.task.refusalToCompare().empty()); }},
    {Model::CanDelete, "canDelete", [](const Shown& row) { return QVariant(row.deleteRefusal().isEmpty()); }},
    {Model::RestoreRefusal, "restoreRefusal",
     [](const Shown& row) { return QVariant(row.restoreRefusal()); }},
    {Model::CompareRefusal, "compareRefusal",
     [](const Shown& row) { return QVariant(toQString(row.task.refusalToCompare())); }},
    {Model::DeleteRefusal, "deleteRefusal", [](const Shown& row) { return QVariant(row.deleteRefusal()); }},
}};

QList<int> changedRoles(const Shown& before, const Shown& after) {
    QList<int> changed;
    for (const RoleDescription& role : roles) {
        if (role.value(before) != role.value(after)) {
            changed.append(role.role);
        }
    }
    return changed;
}

} // namespace

ImageTaskListModel::ImageTaskListModel(QObject* parent) : QAbstractListModel(parent) {}

ImageTaskListModel::~ImageTaskListModel() = default;

int ImageTaskListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant ImageTaskListModel::data(const QModelIndex& index, int role) const {
    const int number = role - roles.front().role;
    if (!index.isValid() || index.row() >= count() || number < 0 || number >= std::ssize(roles)) {
        return {};
    }
    return roles.at(static_cast<std::size_t>(number)).value({at(index.row()), isClearing_});
}

QHash<int, QByteArray> ImageTaskListModel::roleNames() const {
    QHash<int, QByteArray> names;
    for (const RoleDescription& role : roles) {
        names.insert(role.role, role.name);
    }
    return names;
}

const ImageTask& ImageTaskListModel::at(int row) const {
    return rows_.at(static_cast<std::size_t>(row))->task;
}

const ImageTask* ImageTaskListModel::find(const UUID& id) const {
    const auto found = byID_.find(id);
    return found == byID_.end() ? nullptr : &found->second->task;
}

std::vector<UUID> ImageTaskListModel::tasksHolding(const UUID& recordID) const {
    std::vector<UUID> ids;
    const auto [first, last] = byRecord_.equal_range(recordID);
    std::transform(first, last, std::back_inserter(ids),
                   [](const auto& entry) { return entry.second->task.id; });
    return ids;
}

void ImageTaskListModel::insert(int row, std::vector<ImageTask> tasks) {
    if (tasks.empty()) {
        return;
    }
    const int activeBefore = activeCount_;
    std::vector<std::unique_ptr<Row>> added;
    for (ImageTask& task : tasks) {
        added.push_back(std::make_unique<Row>(Row{.task = std::move(task)}));
        addToIndexes(*added.back());
    }
    beginInsertRows({}, row, row + static_cast<int>(added.size()) - 1);
    rows_.insert(rows_.begin() + row, std::move_iterator(added.begin()), std::move_iterator(added.end()));
    renumber(row);
    endInsertRows();
    emit countChanged();
    announceActiveCount(activeBefore);
}

void ImageTaskListModel::remove(const UUID& id) {
    const auto found = byID_.find(id);
    if (found != byID_.end()) {
        const int place = found->second->place;
        removeRange(place, place);
    }
}

void ImageTaskListModel::removeAll(const std::function<bool(const ImageTask&)>& condition) {
    // From the end, so that the places of the rows before stay.
    for (int last = count() - 1; last >= 0; --last) {
        int first = last + 1;
        while (first > 0 && condition(at(first - 1))) {
            --first;
        }
        if (first <= last) {
            removeRange(first, last);
            last = first;
        }
    }
}

void ImageTaskListModel::setStatus(const UUID& id, const TaskStatus& status) {
    update(id, [&](ImageTask& task) { task.status = status; });
}

void ImageTaskListModel::update(const UUID& id, const std::function<void(ImageTask&)>& change) {
    const auto found = byID_.find(id);
    if (found == byID_.end()) {
        return;
    }
    Row& row = *found->second;
    const ImageTask before = row.task;
    const int activeBefore = activeCount_;
    removeFromIndexes(row);
    change(row.task);
    addToIndexes(row);
    announce(row.place, row.place, changedRoles({before, isClearing_}, {row.task, isClearing_}));
    announceActiveCount(activeBefore);
}

void ImageTaskListModel::setAvailableBackups(const std::set<UUID>& records) {
    const auto differs = [&](int row) {
        const UndoRecord* record = at(row).record();
        return at(row).backupAvailable != (record != nullptr && records.contains(record->id));
    };
    for (int first = 0; first < count(); ++first) {
        int end = first;
        for (; end < count() && differs(end); ++end) {
            ImageTask& task = rows_[static_cast<std::size_t>(end)]->task;
            task.backupAvailable = !task.backupAvailable;
        }
        if (end > first) {
            announce(first, end - 1,
                     {BackupAvailable, CanRestore, CanCompare, RestoreRefusal, CompareRefusal});
            first = end;
        }
    }
}

void ImageTaskListModel::setClearing(bool isClearing) {
    isClearing_ = isClearing;
    if (count() > 0) {
        announce(0, count() - 1, {CanRestore, CanDelete, RestoreRefusal, DeleteRefusal});
    }
}

void ImageTaskListModel::addToIndexes(Row& row) {
    byID_.emplace(row.task.id, &row);
    if (const UndoRecord* record = row.task.record()) {
        byRecord_.emplace(record->id, &row);
    }
    activeCount_ += row.task.status.isActive() ? 1 : 0;
}

void ImageTaskListModel::removeFromIndexes(const Row& row) {
    byID_.erase(row.task.id);
    if (const UndoRecord* record = row.task.record()) {
        const auto [first, last] = byRecord_.equal_range(record->id);
        byRecord_.erase(std::find_if(first, last, [&](const auto& entry) { return entry.second == &row; }));
    }
    activeCount_ -= row.task.status.isActive() ? 1 : 0;
}

void ImageTaskListModel::removeRange(int first, int last) {
    const int activeBefore = activeCount_;
    beginRemoveRows({}, first, last);
    const auto begin = rows_.begin() + first;
    const auto end = rows_.begin() + last + 1;
    std::for_each(begin, end, [this](const auto& row) { removeFromIndexes(*row); });
    rows_.erase(begin, end);
    renumber(first);
    endRemoveRows();
    emit countChanged();
    announceActiveCount(activeBefore);
}

void ImageTaskListModel::renumber(int first) {
    for (int place = first; place < count(); ++place) {
        rows_[static_cast<std::size_t>(place)]->place = place;
    }
}

void ImageTaskListModel::announce(int first, int last, const QList<int>& changed) {
    if (!changed.isEmpty()) {
        emit dataChanged(QAbstractListModel::index(first), QAbstractListModel::index(last), changed);
    }
}

void ImageTaskListModel::announceActiveCount(int before) {
    if (activeCount_ != before) {
        emit activeCountChanged();
    }
}

} // namespace tarnwick
