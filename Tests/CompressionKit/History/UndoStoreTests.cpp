#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "History/BackupCleanup.h"
#include "Support/EnvironmentVariable.h"
#include "Support/HistoryFixture.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <limits>

namespace tarnwick::test {
namespace {

constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

class UndoStoreTest : public HistoryFixture {};

TEST_F(UndoStoreTest, PreparesACompleteBackupAndRecord) {
    const URL original = picture("Photo.PNG", 1);
    const URL winner = picture("winner.png", 2);
    const UUID session = UUID::random();
    const UndoRecord record = store.prepare(original, winner, session);

    EXPECT_EQ(store.backupURL(record),
              store.root().appending(session.text()).appending(record.id.text() + ".png"));
    EXPECT_EQ(contents(store.backupURL(record)), contents(original));
    EXPECT_EQ(record.originalHash, hash(original));
    EXPECT_EQ(record.originalBytes, fileSize(original));
    EXPECT_EQ(record.replacementHash, hash(winner));
    EXPECT_EQ(record.replacementBytes, fileSize(winner));
    EXPECT_EQ(store.records(), std::vector{record});
    EXPECT_EQ(store.commit(record).state, UndoRecord::State::committed);
    EXPECT_EQ(store.records().front().state, UndoRecord::State::committed);
    for (const URL& directory : {store.root(), store.root().appending(session.text())}) {
        EXPECT_EQ(modeOfFile(directory, 0), 0700U);
    }
}

TEST_F(UndoStoreTest, ListsTheNewestFirstAndSkipsOrReportsUnreadableRecords) {
    EXPECT_TRUE(store.records().empty());
    const UUID session = UUID::random();
    const UndoRecord old = aged(replaced(picture("old.png", 1), session), 100);
    const UndoRecord recent = replaced(picture("recent.png", 2), session);
    EXPECT_EQ(store.records(), (std::vector{recent, old}));
    EXPECT_EQ(store.readRecords(), (std::vector{recent, old}));

    folder.file("store/" + session.text() + "/bad.json", R"({"id": 1})");
    folder.file("store/stray.json", "not in a session");
    EXPECT_EQ(store.records(), (std::vector{recent, old}));
    EXPECT_THROW(store.readRecords(), CompressionError);
    EXPECT_THROW(store.removeAll(), CompressionError);
    EXPECT_EQ(store.records().size(), 2U) << "nothing is removed unless everything can be read";
}

TEST_F(UndoStoreTest, DeletesRecordsAndEmptyFolders) {
    const UUID session = UUID::random();
    const UndoRecord first = replaced(picture("a.png", 1), session);
    const UndoRecord second = replaced(picture("b.png", 2), session);
    store.deleteRecord(first);
    store.deleteRecord(first);
    EXPECT_EQ(store.records(), std::vector{second});
    EXPECT_FALSE(store.hasBackup(first));
    EXPECT_EQ(store.removeAll(), std::vector{second});
    EXPECT_TRUE(entries(store.root()).empty());
    EXPECT_TRUE(isRegularFile(folder / "a.png")) << "the user's file stays";
}

TEST_F(UndoStoreTest, LiesInTheUsersApplicationData) {
    const EnvironmentVariable data("XDG_DATA_HOME", folder.url().path());
    EXPECT_EQ(UndoStore().root(), folder / "Tarnwick/Undo");
    const EnvironmentVariable relative("XDG_DATA_HOME", "relative");
    const EnvironmentVariable home("HOME", "/home/somebody");
    EXPECT_EQ(UndoStore().root().path(), "/home/somebody/.local/share/Tarnwick/Undo");
}

TEST_F(UndoStoreTest, CleanupRemovesBackupsByAgeAndKeepsTheirRecords) {
    EXPECT_FALSE(store.nextBackupExpiration());
    const UndoRecord young = aged(replaced(picture("young.png", 1)), 50);
    const UndoRecord old = aged(replaced(picture("old.png", 2)), 150);
    UndoRecord prepared = store.prepare(picture("prepared.png", 3), picture("winner.png", 4), UUID::random());
    prepared.createdAt = Date::now().adding(-1'000);
    writeFile(store.root().appending(prepared.sessionID.text()).appending(prepared.id.text() + ".json"),
              prepared.encoded());

    EXPECT_EQ(store.nextBackupExpiration(), old.createdAt.adding(14'400));
    EXPECT_EQ(store.cleanup(100, unlimited, Date::now()), 1U);
    EXPECT_EQ(store.nextBackupExpiration(), young.createdAt.adding(14'400));
    EXPECT_TRUE(store.hasBackup(young));
    EXPECT_FALSE(store.hasBackup(old));
    EXPECT_TRUE(store.hasBackup(prepared)) << "an interrupted job may still need its backup";
    EXPECT_EQ(store.records().size(), 3U);

    store.cleanup(100, unlimited, young.createdAt.adding(100));
    EXPECT_FALSE(store.hasBackup(young)) << "the limit itself is too old";
    EXPECT_FALSE(store.nextBackupExpiration());
}

TEST_F(UndoStoreTest, CleanupRemovesTheNewestBackupsOverTheBudget) {
    std::vector<UndoRecord> records;
    for (const double age : {10, 20, 30}) {
        records.push_back(aged(replaced(picture(std::to_string(age) + ".png", 1)), age));
    }
    const std::int64_t total = 3 * records[0].originalBytes;
    EXPECT_EQ(store.backupBytes(Date::now()), total);
    EXPECT_EQ(store.backupBytes(Date::now().adding(UndoStore::backupRetention - 15)), total / 3);
    EXPECT_EQ(bytesOverBudget(total, {7}, total + 7), 0);
    EXPECT_EQ(bytesOverBudget(total, {7, unlimited, unlimited}, 1), unlimited - 1);
    EXPECT_EQ(bytesOverBudget(total, {3, 4}, total), 7);
    const auto backups = [&](std::int64_t budget) {
        store.cleanup(1'000, budget, Date::now());
        std::string kept;
        for (const UndoRecord& record : records) {
            kept += store.hasBackup(record) ? '+' : '-';
        }
        return kept;
    };
    EXPECT_EQ(backups(total), "+++");
    EXPECT_EQ(backups(total - 1), "-++");
    EXPECT_EQ(backups(0), "---");
}

} // namespace
} // namespace tarnwick::test
