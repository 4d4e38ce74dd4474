#include "Tarnwick/Model/ImageTaskListModel.h"

#include <gmock/gmock.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;

using Role = ImageTaskListModel;

UndoRecord record() {
    return {.id = UUID::random(),
            .sessionID = UUID::random(),
            .createdAt = Date::now(),
            .originalPath = "/pictures/old.png",
            .backupName = "old.png",
            .originalBytes = 1000,
            .replacementBytes = 999,
            .replacementHash = {},
            .originalHash = {},
            .convertedPath = {}};
}

class ImageTaskListModelTest : public testing::Test {
protected:
    static std::vector<ImageTask> imported(int count) {
        std::vector<ImageTask> tasks;
        for (int number = 0; number < count; ++number) {
            tasks.push_back(ImageTask::imported(URL::file("/pictures/" + std::to_string(number) + ".png")));
        }
        return tasks;
    }
    QString text(int row, Role::Role role) const { return model.index(row).data(role).toString(); }
    std::string names() const {
        std::string all;
        for (int row = 0; row < model.count(); ++row) {
            all += text(row, Role::FileName).left(1).toStdString();
        }
        return all;
    }

    ImageTaskListModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(ImageTaskListModelTest, InsertsAtOnceAndKeepsTrackOfPlaces) {
    const QSignalSpy insertions(&model, &QAbstractItemModel::rowsInserted);
    const auto tasks = imported(3);
    model.insert(0, tasks);
    model.insert(0, {ImageTask::imported(URL::file("/pictures/first.png"))});
    model.insert(2, {ImageTask::imported(URL::file("/pictures/second.png"))});
    EXPECT_EQ(names(), "f0s12");
    EXPECT_EQ(insertions.size(), 3);
    EXPECT_EQ(insertions.at(0).at(2).toInt(), 2);
    const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    model.update(tasks[2].id, [](ImageTask& task) { task.status = TaskStatus::Compressing; });
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(0).toModelIndex().row(), 4);
    EXPECT_EQ(changes.at(0).at(2).value<QList<int>>(), (QList<int>{Role::Status, Role::StatusText}));
    model.update(tasks[2].id, [](ImageTask&) {});
    model.update(UUID::random(), [](ImageTask& task) { task.url = URL(); });
    EXPECT_EQ(changes.size(), 1);
    model.remove(tasks[0].id);
    model.remove(tasks[0].id);
    EXPECT_EQ(names(), "fs12");
    EXPECT_EQ(model.find(tasks[0].id), nullptr);
}

TEST_F(ImageTaskListModelTest, RemovesNeighboursTogether) {
    model.insert(0, imported(7));
    const QSignalSpy removals(&model, &QAbstractItemModel::rowsRemoved);
    model.removeAll([](const ImageTask& task) {
        return std::string("0135").find(task.displayName().front()) != std::string::npos;
    });
    EXPECT_EQ(names(), "246");
    EXPECT_EQ(removals.size(), 3);
    EXPECT_EQ(model.activeCount(), 3);
    model.removeAll([](const ImageTask&) { return true; });
    EXPECT_EQ(model.count(), 0);
    EXPECT_EQ(removals.size(), 4);
    EXPECT_EQ(model.activeCount(), 0);
}

TEST_F(ImageTaskListModelTest, CountsActiveTasks) {
    const QSignalSpy changes(&model, &ImageTaskListModel::activeCountChanged);
    const auto tasks = imported(2);
    model.insert(0, tasks);
    model.update(tasks[0].id, [](ImageTask& task) { task.status = TaskStatus::Restoring; });
    EXPECT_EQ(changes.size(), 1);
    model.update(tasks[0].id, [](ImageTask& task) { task.status = TaskStatus::failed("…"); });
    EXPECT_EQ(model.activeCount(), 1);
    EXPECT_EQ(changes.size(), 2);
}

TEST_F(ImageTaskListModelTest, FindsTheHoldersOfARecordAndItsBackup) {
    const UndoRecord first = record();
    const UndoRecord second = record();
    model.insert(0, {ImageTask::fromHistory(first, false), ImageTask::fromHistory(second, false),
                     ImageTask::fromHistory(first, false), ImageTask::imported(first.originalURL())});
    EXPECT_EQ(model.tasksHolding(first.id).size(), 2U);
    EXPECT_EQ(text(0, Role::BadgeText), "↓ 0%");
    const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    model.setAvailableBackups({first.id, second.id});
    model.setAvailableBackups({first.id, second.id});
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(1).toModelIndex().row(), 2);
    model.setAvailableBackups({second.id});
    EXPECT_EQ(changes.size(), 3);
    EXPECT_TRUE(text(0, Role::RestoreRefusal) == text(2, Role::CompareRefusal) &&
                !text(0, Role::RestoreRefusal).isEmpty());
    EXPECT_EQ(text(1, Role::RestoreRefusal), "");
    model.remove(model.at(0).id);
    EXPECT_THAT(model.tasksHolding(first.id), ElementsAre(model.at(1).id));
}

TEST_F(ImageTaskListModelTest, ShowsEveryNameAndMessageInOneLine) {
    ImageTask task = ImageTask::imported(URL::file("/pictures/a\nb\xFF.png"));
    task.status = TaskStatus::failed("one\ntwo");
    model.insert(0, {task});
    EXPECT_EQ(text(0, Role::FileName), QString::fromUtf8("a\uFFFDb\uFFFD.png"));
    EXPECT_EQ(text(0, Role::StatusText), QString::fromUtf8("压缩失败：one\uFFFDtwo"));
    EXPECT_EQ(text(0, Role::Url), "file:///pictures/a%0Ab%FF.png");
    task.status = TaskStatus::Done;
    EXPECT_EQ(task.statusText(), "已完成");
}

} // namespace
} // namespace tarnwick::test
