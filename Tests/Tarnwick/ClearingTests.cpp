#include "Foundation/Directory.h"
#include "Tarnwick/ModelFixture.h"

#include <gmock/gmock.h>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Role = ImageTaskListModel;

class ClearingTest : public ModelFixture {};

TEST_F(ClearingTest, RemovesTheRowsWhoseRecordsAreGone) {
    replaced("old.png");
    start();
    model->add(std::vector{largePicture("photo.png"), picture("tiny.png", small)});
    settle();
    model->requestClearAllRecords();
    EXPECT_TRUE(model->showClearConfirmation() && model->hasModalPresentation());
    desktop.posted.clear();
    model->clearAllRecords();
    EXPECT_FALSE(model->showClearConfirmation());
    settle();
    EXPECT_THAT(rows(), ElementsAre("tiny.png: 未找到更小且质量合格的结果"));
    EXPECT_TRUE(store.readRecords().empty());
    EXPECT_THAT(desktop.posted, ElementsAre("undoDidChange"));
    EXPECT_EQ(desktop.wait, std::nullopt);
}

TEST_F(ClearingTest, RefusesEverythingElseMeanwhile) {
    const UndoRecord record = replaced("old.png");
    start();
    model->clearAllRecords();
    ASSERT_TRUE(model->isClearing() && model->isCompressing());
    model->add(std::vector{largePicture("photo.png")});
    EXPECT_EQ(model->alertMessage(), "正在清除记录，请稍后再导入图片。");
    model->restore(idOf(0));
    model->deleteTask(idOf(0));
    EXPECT_EQ(row(0).status, TaskStatus::Done);
    EXPECT_FALSE(can(0, Role::CanRestore) || can(0, Role::CanDelete));
    EXPECT_EQ(text(0, Role::DeleteRefusal), "正在清除记录，请稍候");
    model->clearAllRecords();
    EXPECT_EQ(model->alertMessage(), "当前有未完成的任务，请等待压缩完成后再清除记录。");
    settle();
    EXPECT_EQ(model->tasks()->count(), 0);
    EXPECT_EQ(contents(record.originalURL()), textOf(small));
}

TEST_F(ClearingTest, IsRefusedWhileAFileIsAtWork) {
    start();
    const URL photo = largePicture("photo.png");
    {
        const Occupation occupation(*queue, photo);
        model->add(std::vector{photo});
        model->setShowClearConfirmation(true);
        model->clearAllRecords();
        EXPECT_FALSE(model->isClearing() || model->showClearConfirmation());
        EXPECT_EQ(model->alertMessage(), "当前有未完成的任务，请等待压缩完成后再清除记录。");
    }
    settle();
}

TEST_F(ClearingTest, AFailureIsToldAndEndsIt) {
    const UndoRecord record = replaced("old.png");
    start();
    removeFile(store.backupURL(record));
    createDirectories(store.backupURL(record).appending("in the way"));
    model->clearAllRecords();
    settle();
    EXPECT_THAT(model->alertMessage().toStdString(), HasSubstr("无法删除 old.png"));
    EXPECT_EQ(model->tasks()->count(), 1);
    EXPECT_FALSE(model->isClearing());
}

} // namespace
} // namespace tarnwick::test
