#include "Tarnwick/Model/HistoryLoading.h"
#include "Tarnwick/ModelFixture.h"

#include <QSignalSpy>

namespace tarnwick::test {
namespace {

using namespace testing;

class HistoryTest : public ModelFixture {
protected:
    /// A load that finds a backup starts the helper when it is over.
    void waitForLoads(int count) {
        ASSERT_TRUE(runUntil([&] { return desktop.launches >= count; }));
        EXPECT_EQ(desktop.launches, count);
    }
};

TEST_F(HistoryTest, ShowsTheNewestRecordFirst) {
    replaced("older.png", 120);
    replaced("expired.png", UndoStore::backupRetention + 1);
    UndoRecord converted = replaced("photo.heic", 60);
    converted.convertedPath = (pictures / "photo.png").path();
    store.commit(converted);
    start();
    EXPECT_EQ(names(), "photo.png older.png expired.png ");
    EXPECT_THAT(rows(), ElementsAre(HasSubstr(" · HEIC → PNG · 历史记录"), _, HasSubstr(" · 历史记录")));
    EXPECT_EQ(row(0).result->outcome, CompressionOutcome::converted);
    EXPECT_EQ(row(1).result->outcome, CompressionOutcome::replaced);
    EXPECT_EQ(desktop.launches, 1);
    EXPECT_NEAR(desktop.wait.value_or(0), UndoStore::backupRetention - 120, 30);
    EXPECT_EQ(text(2, Role::RestoreRefusal), "原图备份已过期或已不存在");
    EXPECT_FALSE(store.hasBackup(*row(2).record()));
}

TEST_F(HistoryTest, SettlesWhatAKilledProcessLeft) {
    const URL photo = largePicture("photo.png");
    store.prepare(photo, home.file("winner.png", small), UUID::random());
    pictures.file("photo.png", small);
    start();
    EXPECT_TRUE(can(0, Role::CanRestore)) << rows().front();
    EXPECT_THAT(desktop.posted, ElementsAre("undoDidChange"));
}

TEST_F(HistoryTest, InsertsNewRecordsOnceAtTheTop) {
    replaced("old.png");
    start();
    replaced("new.png", 10);
    replaced("newer.png", 5);
    const QSignalSpy insertions(model->tasks(), &QAbstractItemModel::rowsInserted);
    for (int i = 0; i < 20; ++i) {
        desktop.historyDidChange();
    }
    waitForLoads(2);
    EXPECT_EQ(names(), "newer.png new.png old.png ");
    EXPECT_EQ(insertions.size(), 1);
}

TEST_F(HistoryTest, LeavesOutAFileThatWasImportedDuringTheLoad) {
    replaced("old.png");
    start();
    replaced("photo.png");
    desktop.historyDidChange();
    model->add(std::vector{URL::file(pictures.url().path() + "/./photo.png")});
    waitForLoads(2);
    settle();
    EXPECT_EQ(names(), "old.png photo.png ");
    desktop.historyDidChange();
    waitForLoads(3);
    EXPECT_EQ(names(), "photo.png old.png photo.png ");
}

TEST_F(HistoryTest, LeavesOutARecordThatWasDeletedDuringTheLoad) {
    const UndoRecord deleted = replaced("deleted.png");
    const UndoRecord kept = replaced("kept.png");
    const MainThreadContext mainThread;
    BackgroundWorker worker(mainThread.executor());
    std::vector<HistoryEntry> found;
    HistoryLoading loading(worker, store, [&](const HistoryLoading::Result& loaded) {
        EXPECT_TRUE(loaded.isStartup);
        found = loaded.entries;
    });
    loading.start(true);
    loading.exclude(deleted);
    ASSERT_TRUE(runUntil([&] { return !found.empty(); }));
    EXPECT_THAT(found, ElementsAre(Field(&HistoryEntry::record, kept)));
}

TEST_F(HistoryTest, ShowsNoSecondRowForARunningCompression) {
    replaced("old.png");
    start();
    const URL photo = largePicture("photo.png");
    const HeldJob held = hold(photo);
    model->add(std::vector{photo});
    store.prepare(photo, home.file("winner.png", small), UUID::random());
    desktop.historyDidChange();
    waitForLoads(2);
    EXPECT_EQ(names(), "old.png photo.png ");
}

class BackupMaintenanceTest : public ModelFixture {};

TEST_F(BackupMaintenanceTest, RemovesABackupWhenItExpires) {
    replaced("photo.png", 100);
    start();
    EXPECT_TRUE(can(0, Role::CanRestore));
    const QSignalSpy changes(model->tasks(), &QAbstractItemModel::dataChanged);
    desktop.time = desktop.time.adding(*desktop.wait + 1);
    desktop.fireTimer();
    EXPECT_TRUE(runUntil([&] { return !changes.empty(); }));
    EXPECT_FALSE(can(0, Role::BackupAvailable) || can(0, Role::CanRestore) || can(0, Role::CanCompare));
    EXPECT_EQ(changes.size(), 1);
    EXPECT_FALSE(store.hasBackup(*row(0).record()));
    EXPECT_EQ(desktop.wait, std::nullopt) << "nothing is left to wait for";

    replaced("next.png", 100);
    desktop.time = Date::now();
    desktop.didWake();
    EXPECT_TRUE(runUntil([this] { return desktop.wait.has_value(); }));
}

TEST_F(BackupMaintenanceTest, WaitsAtLeastASecond) {
    replaced("photo.png", UndoStore::backupRetention - 0.5);
    desktop.time = Date::now().adding(-60);
    start();
    EXPECT_GT(desktop.wait.value_or(0), 1);
    // The time jumps during a pass.
    desktop.didWake();
    desktop.time = desktop.time.adding(3600);
    EXPECT_TRUE(runUntil([this] { return desktop.wait == 1; }));
}

TEST_F(BackupMaintenanceTest, TriesAgainLessAndLessOftenWhileABackupCannotBeRemoved) {
    replaced("stuck.png", UndoStore::backupRetention + 1);
    const Fault fault([](const SystemCall& call) { return call.name == "unlink" ? EACCES : 0; });
    start();
    for (const int pause : {1, 2, 4, 8, 16, 32, 60, 60}) {
        ASSERT_TRUE(runUntil([this] { return desktop.wait.has_value(); }));
        EXPECT_EQ(desktop.wait, pause);
        desktop.fireTimer();
    }
}

} // namespace
} // namespace tarnwick::test
