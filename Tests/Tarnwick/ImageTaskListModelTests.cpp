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
    static ImageTask imported(const std::string& name) {
        return ImageTask::imported(URL::file("/pictures/" + name + ".png"));
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
    QSignalSpy insertions{&model, &QAbstractItemModel::rowsInserted};
    QSignalSpy removals{&model, &QAbstractItemModel::rowsRemoved};
    QSignalSpy changes{&model, &QAbstractItemModel::dataChanged};
    QSignalSpy activeChanges{&model, &ImageTaskListModel::activeCountChanged};
};

TEST_F(ImageTaskListModelTest, KeepsTrackOfPlacesAndActiveTasks) {
    const std::vector<ImageTask> tasks = {imported("0"), imported("1"), imported("2")};
    model.insert(0, tasks);
    model.insert(0, {imported("f")});
    model.insert(2, {imported("s")});
    EXPECT_EQ(names(), "f0s12");
    EXPECT_EQ(insertions.size(), 3);
    EXPECT_EQ(insertions.at(0).at(2).toInt(), 2);
    model.setStatus(tasks[2].id, TaskStatus::Compressing);
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(0).toModelIndex().row(), 4);
    EXPECT_EQ(changes.at(0).at(2).value<QList<int>>(), (QList<int>{Role::Status, Role::StatusText}));
    model.update(tasks[2].id, [](ImageTask&) {});
    model.setStatus(UUID::random(), TaskStatus::Done);
    EXPECT_EQ(changes.size(), 1);
    EXPECT_EQ(activeChanges.size(), 3);
    model.setStatus(tasks[2].id, TaskStatus::failed("…"));
    EXPECT_EQ(model.activeCount(), 4);
    EXPECT_EQ(activeChanges.size(), 4);
    model.remove(tasks[0].id);
    model.remove(tasks[0].id);
    EXPECT_EQ(names(), "fs12");
    EXPECT_EQ(model.find(tasks[0].id), nullptr);
}

TEST_F(ImageTaskListModelTest, RemovesNeighboursTogether) {
    for (const char* name : {"0", "1", "2", "3", "4", "5", "6"}) {
        model.insert(model.count(), {imported(name)});
    }
    model.removeAll([](const ImageTask& task) {
        return std::string("0135").find(task.displayName().front()) != std::string::npos;
    });
    EXPECT_EQ(names(), "246");
    EXPECT_EQ(removals.size(), 3);
    EXPECT_EQ(model.activeCount(), 3);
    model.removeAll([](const ImageTask&) { return true; });
    EXPECT_EQ(names(), "");
    EXPECT_EQ(removals.size(), 4);
    EXPECT_EQ(model.activeCount(), 0);
}

TEST_F(ImageTaskListModelTest, FindsTheHoldersOfARecordAndItsBackup) {
    const UndoRecord first = record();
    const UndoRecord second = record();
    model.insert(0, {ImageTask::fromHistory(first, false), ImageTask::fromHistory(second, false),
                     ImageTask::fromHistory(first, false), imported("old")});
    EXPECT_EQ(model.tasksHolding(first.id).size(), 2U);
    EXPECT_EQ(text(0, Role::BadgeText), "↓ 0%");
    model.setAvailableBackups({first.id, second.id});
    model.setAvailableBackups({first.id, second.id});
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(1).toModelIndex().row(), 2);
    model.setAvailableBackups({second.id});
    EXPECT_EQ(changes.size(), 3);
    EXPECT_NE(text(0, Role::RestoreRefusal), "");
    EXPECT_EQ(text(0, Role::RestoreRefusal), text(2, Role::CompareRefusal));
    EXPECT_EQ(text(1, Role::RestoreRefusal), "");
    model.remove(model.at(0).id);
    EXPECT_THAT(model.tasksHolding(first.id), ElementsAre(model.at(1).id));
}

TEST_F(ImageTaskListModelTest, ShowsEveryNameAndMessageOnOneLine) {
    ImageTask task = imported("a\nb\xFF");
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
