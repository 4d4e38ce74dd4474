#include "Tarnwick/Model/CloseConfirmation.h"
#include "Tarnwick/Model/CompressionConfirmation.h"
#include "Tarnwick/ModelFixture.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <filesystem>

namespace tarnwick::test {
namespace {

using namespace testing;

class AppModelTest : public ModelFixture {
protected:
    void compress(const URL& photo) {
        model->add(std::vector{photo});
        settle();
    }
    /// Keeps the backup from being removed.
    void block(const UndoRecord& record) const {
        removeFile(store.backupURL(record));
        createDirectories(store.backupURL(record).appending("in the way"));
    }
};

TEST_F(AppModelTest, CompressesAFileAndRestoresTheOriginal) {
    start();
    const URL photo = largePicture("photo.png");
    model->add(QList<QUrl>{toQUrl(photo)});
    EXPECT_THAT(rows(), ElementsAre("photo.png: 等待压缩"));
    EXPECT_EQ(text(0, Role::RestoreRefusal), "正在处理这张图片，请稍候");
    EXPECT_TRUE(model->isCompressing());
    settle();
    EXPECT_EQ(data(0, Role::Status), TaskStatus::Done);
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
    compress(photo);
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
    compress(photo);
    EXPECT_EQ(model->tasks()->count(), 2);
}

TEST_F(AppModelTest, RefusesAFileThatIsNoPicture) {
    start();
    const URL notes = pictures.file("notes.txt", "text");
    model->add(std::vector{notes});
    EXPECT_TRUE(model->hasModalPresentation());
    EXPECT_EQ(model->importAnimationID(), "");
    model->setAlertMessage("");
    model->add(std::vector{notes, largePicture("photo.png")});
    EXPECT_EQ(model->alertMessage(), "目前只支持 PNG、JPG、GIF 和 HEIC/HEIF 图片文件。");
    EXPECT_EQ(names(), "photo.png ");
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

TEST_F(AppModelTest, DeletesARowWithItsRecord) {
    start();
    model->add(std::vector{largePicture("photo.png"), largePicture("other.png")});
    settle();
    const UndoRecord record = *row(0).record();
    model->deleteTask(idOf(0));
    model->deleteTask(idOf(0));
    EXPECT_EQ(rows().front(), "photo.png: 正在删除记录…");
    settle();
    EXPECT_EQ(names(), "other.png ");
    EXPECT_FALSE(store.hasBackup(record));
    EXPECT_THAT(store.readRecords(), ElementsAre(*row(0).record()));
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
    EXPECT_TRUE(desktop.filters.join("").contains("*.HEIF"));
    EXPECT_TRUE(model->isChoosingFiles() && model->hasModalPresentation());
    const auto first = std::exchange(desktop.chosen, nullptr);
    model->chooseFiles();
    EXPECT_FALSE(desktop.chosen);
    first({toQUrl(largePicture("ä \xFF.png"))});
    EXPECT_EQ(row(0).url, pictures / "ä \xFF.png");
    settle();
    model->chooseFiles();
    ASSERT_TRUE(desktop.chosen);
    desktop.chosen({});
    EXPECT_FALSE(model->isChoosingFiles());
    EXPECT_EQ(model->tasks()->count(), 1);
    model->chooseFiles();
    model.reset();
    desktop.chosen({toQUrl(pictures / "late.png")});
}

TEST_F(AppModelTest, EndsToolsAndWaitingJobsWhenItClosesAfterAQuestion) {
    start();
    int ends = 0;
    CloseConfirmation closing(*model, alerts, [&] { ++ends; });
    closing.request();
    EXPECT_EQ(ends, 1) << "nothing is in work";
    tools.script("pngquant", {{"hang"}});
    model->add(std::vector{largePicture("a.png"), largePicture("b.png"), largePicture("c.png")});
    ASSERT_TRUE(runUntil([this] { return !tools.runs().empty(); }));
    closing.request();
    closing.request();
    EXPECT_THAT(alerts.shown.back().message.toStdString(), HasSubstr("3"));
    alerts.answer(false);
    closing.request();
    alerts.answer(true);
    EXPECT_EQ(ends, 2);
    model.reset();
    queue.reset();
    EXPECT_EQ(pictures.listing(), "a.png b.png c.png");
    EXPECT_EQ(contents(pictures / "a.png"), large);
    EXPECT_FALSE(desktop.historyDidChange || desktop.didWake) << "still observing";
}

TEST_F(AppModelTest, ClearsTheRowsOfDeletedRecords) {
    const UndoRecord record = replaced("old.png");
    start();
    model->add(std::vector{largePicture("photo.png"), pictures.file("tiny.png", small)});
    settle();
    model->requestClearAllRecords();
    EXPECT_TRUE(model->showClearConfirmation() && model->hasModalPresentation());
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
        EXPECT_EQ(model->alertMessage(), "当前有未完成的任务，请等待压缩完成后再清除记录。");
    }
    settle();
    block(record);
    model->clearAllRecords();
    settle();
    EXPECT_THAT(model->alertMessage().toStdString(), HasSubstr("无法删除 old.png"));
    EXPECT_FALSE(model->isClearing());
}

TEST_F(AppModelTest, AsksBeforeABatchThatCannotBeRestoredWhole) {
    const auto kept = replaced("old.png").originalBytes;
    const URL huge = pictures.file("huge.png", "");
    const std::vector<URL> batch = {huge, pictures.file("tiny.png", small)};
    std::filesystem::resize_file(huge.path(), static_cast<std::uintmax_t>(UndoStore::backupBudget - kept));
    makeModel();
    for (const bool isAgreed : {false, true}) {
        model->add(batch);
        ASSERT_TRUE(alerts.isOpen()) << "known before and after the first look at the store";
        EXPECT_TRUE(alerts.shown.back().informativeText.contains("会超出 114 B；"));
        EXPECT_THAT(names(), Not(HasSubstr("huge")));
        alerts.answer(isAgreed);
        ASSERT_TRUE(runUntil([this] { return model->tasks()->count() > 0 && desktop.wait; }));
    }
    EXPECT_THAT(names(), EndsWith("huge.png tiny.png "));
    settle();
}

TEST_F(AppModelTest, AsksAboutFilesThatWereOnlyOpenedOneQuestionAfterTheOther) {
    start();
    CompressionConfirmation confirmation(*model, alerts);
    const auto questionAbout = [&](const std::string& name, bool isRequested) {
        confirmation.open({toQUrl(largePicture(name))}, isRequested);
        return alerts.isOpen() ? alerts.shown.back().message : "";
    };
    confirmation.open({}, false);
    EXPECT_EQ(questionAbout("requested.png", true), "");
    EXPECT_EQ(questionAbout("f\u202E\u202C.png", false), "要压缩“f\uFFFD\uFFFD.png”吗？");
    EXPECT_EQ(questionAbout("second.png", false), "要压缩“f\uFFFD\uFFFD.png”吗？");
    EXPECT_EQ(questionAbout("third.png", false), "要压缩“f\uFFFD\uFFFD.png”吗？");
    EXPECT_EQ(names(), "requested.png ");
    alerts.answer(true);
    EXPECT_EQ(alerts.shown.back().message, "要压缩这 2 个文件吗？");
    alerts.answer(false);
    EXPECT_EQ(names(), "requested.png f\uFFFD\uFFFD.png ");
    settle();
}

} // namespace
} // namespace tarnwick::test
