#include "Support/HistoryFixture.h"
#include "Tarnwick/ModelFixture.h"

#include <QSignalSpy>

namespace tarnwick::test {
namespace {

using namespace testing;

class ImageTaskListModelTest : public HistoryFixture {
protected:
    static ImageTask imported(const std::string& name) {
        return ImageTask::imported(URL::file("/pictures/" + name));
    }
    QString text(int row, Role::Role role) const { return model.index(row).data(role).toString(); }

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
    EXPECT_EQ(names(model), "f 0 s 1 2 ");
    EXPECT_EQ(insertions.size(), 3);
    EXPECT_EQ(insertions.at(0).at(2).toInt(), 2);
    model.setStatus(tasks[2].id, TaskStatus::Compressing);
    model.update(tasks[2].id, [](ImageTask&) {});
    model.setStatus(UUID::random(), TaskStatus::Done);
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(0).toModelIndex().row(), 4);
    EXPECT_EQ(changes.at(0).at(2).value<QList<int>>(), (QList<int>{Role::Status, Role::StatusText}));
    model.setStatus(tasks[2].id, TaskStatus::failed("…"));
    EXPECT_EQ(model.activeCount(), 4);
    EXPECT_EQ(activeChanges.size(), 4);
    model.remove(tasks[0].id);
    model.remove(tasks[0].id);
    EXPECT_EQ(names(model), "f s 1 2 ");
    EXPECT_EQ(model.find(tasks[0].id), nullptr);
}

TEST_F(ImageTaskListModelTest, RemovesNeighboursTogether) {
    for (const char* name : {"0", "1", "2", "3", "4", "5", "6"}) {
        model.insert(model.count(), {imported(name)});
    }
    const std::tuple<std::string, std::string, int> steps[] = {{"0135", "2 4 6 ", 3}, {"246", "", 4}};
    for (const auto& [removed, kept, count] : steps) {
        model.removeAll([&names = removed](const ImageTask& task) {
            return names.find(task.displayName()) != std::string::npos;
        });
        EXPECT_EQ(names(model), kept);
        EXPECT_EQ(removals.size(), count);
        EXPECT_EQ(model.activeCount(), model.count());
    }
}

TEST_F(ImageTaskListModelTest, FindsTheHoldersOfARecordAndItsBackup) {
    const UndoRecord first = replaced(picture("first.png", 1));
    const UndoRecord second = replaced(picture("second.png", 2));
    model.insert(0, {ImageTask::fromHistory(first, false), ImageTask::fromHistory(second, false),
                     ImageTask::fromHistory(first, false), imported("old")});
    model.setAvailableBackups({first.id, second.id});
    model.setAvailableBackups({first.id, second.id});
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(1).toModelIndex().row(), 2);
    model.setAvailableBackups({second.id});
    EXPECT_EQ(changes.size(), 3);
    EXPECT_NE(text(0, Role::RestoreRefusal), "");
    EXPECT_EQ(text(0, Role::RestoreRefusal), text(2, Role::CompareRefusal));
    EXPECT_EQ(text(1, Role::RestoreRefusal), "");
    EXPECT_THAT(model.tasksHolding(first.id), UnorderedElementsAre(model.at(0).id, model.at(2).id));
    model.remove(model.at(0).id);
    EXPECT_THAT(model.tasksHolding(first.id), ElementsAre(model.at(1).id));
}

TEST_F(ImageTaskListModelTest, ShowsEveryNameAndMessageOnOneLine) {
    ImageTask task = imported("a\nb\xFF");
    task.status = TaskStatus::failed("one\ntwo");
    model.insert(0, {task});
    EXPECT_EQ(text(0, Role::FileName), QString::fromUtf8("a\uFFFDb\uFFFD"));
    EXPECT_EQ(text(0, Role::StatusText), QString::fromUtf8("压缩失败：one\uFFFDtwo"));
    EXPECT_EQ(text(0, Role::Url), "file:///pictures/a%0Ab%FF");
    task.status = TaskStatus::Done;
    EXPECT_EQ(task.statusText(), "已完成");
}

} // namespace
} // namespace tarnwick::test
