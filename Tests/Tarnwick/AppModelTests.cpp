#include "Tarnwick/ModelFixture.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Role = ImageTaskListModel;

constexpr auto unfinished = "当前有未完成的任务，请等待压缩完成后再清除记录。";

class AppModelTest : public ModelFixture {
protected:
    /// Makes a picture and compresses it.
    URL compressed(const std::string& name) {
        const URL photo = largePicture(name);
        model->add(std::vector{photo});
        settle();
        return photo;
    }
    /// Keeps the backup from being removed.
    void block(const UndoRecord& record) const {
        removeFile(store.backupURL(record));
        createDirectories(store.backupURL(record).appending("in the way"));
    }
};

TEST_F(AppModelTest, CompressesAFileAndRestoresTheOriginal) {
    start();
    std::vector<int> statuses;
    QObject::connect(model->tasks(), &QAbstractItemModel::dataChanged, &*model,
                     [&](const QModelIndex& first, const QModelIndex&, const QList<int>& roles) {
                         if (roles.contains(Role::Status)) {
                             statuses.push_back(first.data(Role::Status).toInt());
                         }
                     });
    const URL photo = largePicture("photo.png");
    model->add(QList<QUrl>{toQUrl(photo)});
    EXPECT_THAT(rows(), ElementsAre("photo.png: 等待压缩"));
    EXPECT_EQ(text(0, Role::RestoreRefusal), "正在处理这张图片，请稍候");
    EXPECT_TRUE(model->isCompressing());
    EXPECT_EQ(model->importAnimationID().size(), 36);
    settle();
    EXPECT_THAT(statuses, ElementsAre(TaskStatus::Compressing, TaskStatus::Done));
    EXPECT_THAT(rows().front(), HasSubstr(" → "));
    EXPECT_TRUE(text(0, Role::BadgeText).startsWith("↓ "));
    EXPECT_EQ(contents(photo), small);
    EXPECT_TRUE(can(0, Role::CanRestore) && can(0, Role::CanCompare) && can(0, Role::CanDelete));
    EXPECT_EQ(desktop.launches, 1);
    EXPECT_NEAR(desktop.wait.value_or(0), UndoStore::backupRetention, 60);
    EXPECT_EQ(model->savedBytes(), std::ssize(large) - std::ssize(small));

    model->restore(idOf(0));
    model->restore(idOf(0));
    settle();
    EXPECT_THAT(rows(), ElementsAre("photo.png: 已恢复原图"));
    EXPECT_EQ(contents(photo), large);
    EXPECT_EQ(text(0, Role::RestoreRefusal), "原图已恢复");
    EXPECT_EQ(text(0, Role::BadgeText), "");
    EXPECT_THAT(desktop.posted, ElementsAre("undoDidChange"));
    EXPECT_EQ(desktop.wait, std::nullopt);
}

TEST_F(AppModelTest, FollowsAConvertedFileToItsPNGAndBack) {
    start();
    const URL photo = original("photo.heic");
    model->add(std::vector{photo});
    settle();
    EXPECT_EQ(row(0).url, pictures / "photo.png");
    EXPECT_TRUE(text(0, Role::StatusText).endsWith(" · HEIC → PNG · 无损 PNG"));
    model->reveal(idOf(0));
    EXPECT_THAT(desktop.revealed, ElementsAre(pictures / "photo.png"));
    model->restore(idOf(0));
    settle();
    EXPECT_EQ(row(0).url, photo);
    EXPECT_EQ(row(0).thumbnailURL, photo);
    EXPECT_EQ(pictures.listing(), "photo.heic");
}

TEST_F(AppModelTest, TakesAFileOnceWhileItIsInWork) {
    start();
    const URL photo = largePicture("photo.png");
    std::filesystem::create_symlink(pictures.url().path(), (home / "link").path());
    const URL sameByLink = home / "link/photo.png";
    {
        const HeldJob held = hold(photo);
        const URL sameByDetour = URL::file(pictures.url().path() + "/absent/../photo.png");
        model->add(std::vector{photo, sameByDetour, sameByLink, photo});
        model->add(std::vector{sameByLink});
        EXPECT_EQ(model->tasks()->count(), 1);
        EXPECT_EQ(model->alertMessage(), "");
    }
    settle();
    const QString firstAnimation = model->importAnimationID();
    model->add(std::vector{photo});
    EXPECT_EQ(model->tasks()->count(), 2);
    EXPECT_NE(model->importAnimationID(), firstAnimation);
    settle();
}

TEST_F(AppModelTest, RefusesAFileThatIsNoPicture) {
    start();
    model->add(std::vector{pictures.file("notes.txt", "text")});
    EXPECT_EQ(model->alertMessage(), "目前只支持 PNG、JPG、GIF 和 HEIC/HEIF 图片文件。");
    EXPECT_TRUE(model->hasModalPresentation());
    EXPECT_EQ(model->importAnimationID(), "");
    EXPECT_THAT(rows(), IsEmpty());
    model->setAlertMessage("");
    EXPECT_FALSE(model->hasModalPresentation());
    model->add(std::vector{pictures / "notes.txt", largePicture("photo.png")});
    EXPECT_NE(model->alertMessage(), "");
    EXPECT_EQ(model->tasks()->count(), 1);
    settle();
}

TEST_F(AppModelTest, CountsABatchUntilTheNextOne) {
    start();
    const URL a = largePicture("a.png");
    {
        const HeldJob held = hold(a);
        model->add(std::vector{a});
        model->add(std::vector{pictures.file("tiny.png", small), pictures.file("broken.png", "x")});
        EXPECT_EQ(model->totalCount(), 3);
    }
    settle();
    EXPECT_THAT(rows(), ElementsAre(StartsWith("a.png: "), "tiny.png: 未找到更小且质量合格的结果",
                                    "broken.png: 压缩失败：图片无法解码"));
    EXPECT_EQ(model->doneCount(), 3);
    EXPECT_EQ(text(1, Role::RestoreRefusal), "图片未被修改，无需恢复");
    model->deleteTask(idOf(2));
    EXPECT_EQ(model->tasks()->count(), 2);
    model->add(std::vector{largePicture("b.png")});
    EXPECT_EQ(model->totalCount(), 1);
    EXPECT_EQ(model->savedText(), "0 B");
    settle();
}

TEST_F(AppModelTest, LeavesAChangedFileWhenRestoringFails) {
    start();
    const URL photo = compressed("photo.png");
    pictures.file("photo.png", "mine");
    model->restore(idOf(0));
    settle();
    EXPECT_THAT(rows(), ElementsAre("photo.png: 压缩失败：文件已被修改，无法直接恢复"));
    EXPECT_EQ(contents(photo), "mine");
    EXPECT_TRUE(can(0, Role::IsFailed) && can(0, Role::CanRestore));
    EXPECT_THAT(desktop.posted, IsEmpty());
}

TEST_F(AppModelTest, DeletesARowWithItsRecord) {
    start();
    compressed("photo.png");
    compressed("other.png");
    const UndoRecord record = *row(0).record();
    model->deleteTask(idOf(0));
    model->deleteTask(idOf(0));
    EXPECT_EQ(rows().front(), "photo.png: 正在删除记录…");
    settle();
    EXPECT_EQ(rows().size(), 1U);
    EXPECT_FALSE(store.hasBackup(record));
    EXPECT_EQ(store.readRecords().size(), 1U);
    EXPECT_THAT(desktop.posted, ElementsAre("undoDidChange"));

    block(*row(0).record());
    model->deleteTask(idOf(0));
    settle();
    EXPECT_TRUE(model->alertMessage().startsWith("无法删除 other.png 的记录或备份：")) << rows().front();
    EXPECT_EQ(row(0).status, TaskStatus::Done);
}

TEST_F(AppModelTest, OpensOneFileChooserAtATime) {
    start();
    model->chooseFiles();
    ASSERT_TRUE(desktop.chosen);
    EXPECT_TRUE(desktop.filters.join("").contains("*.HEIF"));
    EXPECT_TRUE(model->isChoosingFiles() && model->hasModalPresentation());
    const auto first = std::exchange(desktop.chosen, nullptr);
    model->chooseFiles();
    EXPECT_FALSE(desktop.chosen);
    first({toQUrl(largePicture("ä \xFF.png"))});
    EXPECT_FALSE(model->isChoosingFiles());
    EXPECT_EQ(row(0).url, pictures / "ä \xFF.png");
    settle();
    model->chooseFiles();
    desktop.chosen({});
    EXPECT_FALSE(model->isChoosingFiles());
    EXPECT_EQ(model->tasks()->count(), 1);
    model->chooseFiles();
    model.reset();
    desktop.chosen({toQUrl(pictures / "late.png")});
}

TEST_F(AppModelTest, EndsToolsAndWaitingJobsWhenItCloses) {
    start();
    for (const char* tool : {"pngquant", "oxipng"}) {
        tools.script(tool, {{"hang"}});
    }
    model->add(std::vector{largePicture("a.png"), largePicture("b.png"), largePicture("c.png")});
    ASSERT_TRUE(runUntil([this] { return !tools.runs().empty(); }));
    model.reset();
    queue.reset();
    EXPECT_EQ(pictures.listing(), "a.png b.png c.png");
    EXPECT_EQ(contents(pictures / "a.png"), large);
    EXPECT_FALSE(desktop.historyDidChange || desktop.didWake) << "still observing";
}

TEST_F(AppModelTest, ClearsTheRowsOfDeletedRecords) {
    const UndoRecord record = replaced("old.png");
    start();
    compressed("photo.png");
    model->add(std::vector{pictures.file("tiny.png", small)});
    settle();
    model->requestClearAllRecords();
    EXPECT_TRUE(model->showClearConfirmation() && model->hasModalPresentation());
    desktop.posted.clear();
    model->clearAllRecords();
    EXPECT_FALSE(model->showClearConfirmation());
    ASSERT_TRUE(model->isClearing() && model->isCompressing());
    model->add(std::vector{largePicture("late.png")});
    EXPECT_EQ(model->alertMessage(), "正在清除记录，请稍后再导入图片。");
    model->restore(idOf(0));
    model->deleteTask(idOf(0));
    EXPECT_EQ(row(0).status, TaskStatus::Done);
    EXPECT_FALSE(can(0, Role::CanRestore) || can(0, Role::CanDelete));
    EXPECT_EQ(text(0, Role::DeleteRefusal), "正在清除记录，请稍候");
    model->clearAllRecords();
    EXPECT_EQ(model->alertMessage(), unfinished);
    settle();
    EXPECT_THAT(rows(), ElementsAre("tiny.png: 未找到更小且质量合格的结果"));
    EXPECT_EQ(contents(record.originalURL()), small);
    EXPECT_TRUE(store.readRecords().empty());
    EXPECT_THAT(desktop.posted, ElementsAre("undoDidChange"));
    EXPECT_EQ(desktop.wait, std::nullopt);
}

TEST_F(AppModelTest, RefusesToClearDuringWorkAndReportsAFailure) {
    const UndoRecord record = replaced("old.png");
    start();
    const URL photo = largePicture("photo.png");
    {
        const HeldJob held = hold(photo);
        model->add(std::vector{photo});
        model->setShowClearConfirmation(true);
        model->clearAllRecords();
        EXPECT_FALSE(model->isClearing() || model->showClearConfirmation());
        EXPECT_EQ(model->alertMessage(), unfinished);
    }
    settle();
    block(record);
    model->clearAllRecords();
    settle();
    EXPECT_THAT(model->alertMessage().toStdString(), HasSubstr("无法删除 old.png"));
    EXPECT_FALSE(model->isClearing());
}

} // namespace
} // namespace tarnwick::test
