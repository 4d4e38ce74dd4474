#include "Tarnwick/Model/HistoryLoading.h"
#include "Tarnwick/ModelFixture.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <iterator>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Role = ImageTaskListModel;

/// Long enough for a load that nobody hears of.
constexpr int aMoment = 300;

class HistoryTest : public ModelFixture {
protected:
    std::vector<std::string> names() {
        std::vector<std::string> found;
        for (int number = 0; number < model->tasks()->count(); ++number) {
            found.push_back(row(number).displayName());
        }
        return found;
    }
};

TEST_F(HistoryTest, IsShownAtTheStartNewestFirst) {
    replaced("older.png", 120);
    replaced("expired.png", UndoStore::backupRetention + 1);
    UndoRecord converted = replaced("photo.heic", 60);
    converted.convertedPath = (pictures / "photo.png").path();
    store.commit(converted);
    start();
    EXPECT_THAT(names(), ElementsAre("photo.png", "older.png", "expired.png"));
    EXPECT_THAT(rows().front(), HasSubstr(" · HEIC → PNG · 历史记录"));
    EXPECT_THAT(rows().back(), HasSubstr(" · 历史记录"));
    EXPECT_EQ(row(0).result->outcome, CompressionOutcome::converted);
    EXPECT_EQ(row(1).result->outcome, CompressionOutcome::replaced);
    EXPECT_EQ(desktop.launches, 1);
    EXPECT_NEAR(desktop.wait.value_or(0), UndoStore::backupRetention - 120, 30);
    EXPECT_TRUE(can(1, Role::CanRestore));
    EXPECT_EQ(text(2, Role::RestoreRefusal), "原图备份已过期或已不存在");
    EXPECT_FALSE(store.hasBackup(*row(2).record()));
}

TEST_F(HistoryTest, NewRecordsComeToTheTopOnce) {
    replaced("old.png");
    start();
    replaced("new.png", 10);
    replaced("newer.png", 5);
    const QSignalSpy insertions(model->tasks(), &QAbstractItemModel::rowsInserted);
    for (int i = 0; i < 20; ++i) {
        desktop.historyDidChange();
    }
    EXPECT_TRUE(waitUntil([&] { return !insertions.empty(); }));
    QTest::qWait(aMoment);
    EXPECT_THAT(names(), ElementsAre("newer.png", "new.png", "old.png"));
    EXPECT_EQ(insertions.size(), 1);
}

TEST_F(HistoryTest, ALoadLeavesOutWhatWasImportedMeanwhile) {
    start();
    const UndoRecord record = replaced("photo.png");
    desktop.historyDidChange();
    model->add(std::vector{URL::file(pictures.url().path() + "/./photo.png")});
    settle();
    QTest::qWait(aMoment);
    EXPECT_THAT(rows(), ElementsAre("photo.png: 未找到更小且质量合格的结果"));
    // Only that load did.
    desktop.historyDidChange();
    EXPECT_TRUE(waitUntil([this] { return model->tasks()->count() == 2; }));
}

TEST_F(HistoryTest, ALoadLeavesOutWhatWasDeletedMeanwhile) {
    const UndoRecord deleted = replaced("deleted.png");
    const UndoRecord kept = replaced("kept.png");
    const MainThreadContext mainThread;
    BackgroundWorker worker(mainThread.executor());
    std::vector<UUID> found;
    HistoryLoading loading(worker, store, [&](bool isStartup, const std::vector<HistoryEntry>& entries) {
        EXPECT_TRUE(isStartup);
        std::transform(entries.begin(), entries.end(), std::back_inserter(found),
                       [](const HistoryEntry& entry) { return entry.record.id; });
    });
    loading.start(true);
    loading.exclude(deleted);
    EXPECT_TRUE(waitUntil([&] { return !found.empty(); }));
    EXPECT_THAT(found, ElementsAre(kept.id));
}

TEST_F(HistoryTest, ARunningCompressionsRecordIsItsRows) {
    start();
    const URL photo = largePicture("photo.png");
    const Occupation occupation(*queue, photo);
    model->add(std::vector{photo});
    // Let the load of the start be over, which leaves imported files out anyway.
    QTest::qWait(aMoment);
    store.prepare(photo, prepared("winner.png", small), UUID::random());
    desktop.historyDidChange();
    QTest::qWait(aMoment);
    EXPECT_THAT(names(), ElementsAre("photo.png"));
}

TEST_F(HistoryTest, AnUnreadableStoreIsAnEmptyHistory) {
    home.file("Undo", "no folder");
    const Log log(true);
    makeModel();
    EXPECT_TRUE(waitUntil([] { return Log::lines().find("无法清理原图备份：") != std::string::npos; }));
    EXPECT_THAT(Log::lines(), testing::StartsWith("无法读取历史记录："));
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_EQ(desktop.launches, 0);
}

class MaintenanceTest : public HistoryTest {};

TEST_F(MaintenanceTest, RemovesABackupWhenItExpires) {
    replaced("photo.png", 100);
    start();
    EXPECT_TRUE(can(0, Role::CanRestore));
    const QSignalSpy changes(model->tasks(), &QAbstractItemModel::dataChanged);
    desktop.time = desktop.time.adding(*desktop.wait + 1);
    desktop.fireTimer();
    EXPECT_TRUE(waitUntil([&] { return !changes.empty(); }));
    EXPECT_FALSE(can(0, Role::BackupAvailable) || can(0, Role::CanRestore) || can(0, Role::CanCompare));
    EXPECT_EQ(changes.size(), 1);
    EXPECT_FALSE(store.hasBackup(*row(0).record()));
    EXPECT_EQ(desktop.wait, std::nullopt);

    // With nothing left the waiting ended; a wake begins it anew.
    replaced("next.png", 100);
    desktop.time = Date::now();
    desktop.didWake();
    EXPECT_TRUE(waitUntil([this] { return desktop.wait.has_value(); }));
    EXPECT_NEAR(desktop.wait.value_or(0), UndoStore::backupRetention - 100, 30);
}

TEST_F(MaintenanceTest, NeverWaitsLessThanASecond) {
    replaced("photo.png", UndoStore::backupRetention - 0.5);
    desktop.time = Date::now().adding(-60);
    start();
    ASSERT_TRUE(desktop.wait);
    EXPECT_GT(*desktop.wait, 1);
    // The time jumps while a pass is at work.
    desktop.didWake();
    desktop.time = desktop.time.adding(3600);
    EXPECT_TRUE(waitUntil([this] { return desktop.wait.has_value(); }));
    EXPECT_EQ(desktop.wait, 1);
}

} // namespace
} // namespace tarnwick::test
