#include "Support/HistoryFixture.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace tarnwick {
namespace {

constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

class UndoStoreCleanupTests : public test::HistoryFixture {};

TEST_F(UndoStoreCleanupTests, removesBackupsByAgeAndKeepsTheirRecords) {
    const UndoRecord young = aged(replaced(picture("young.png", 1)), 50);
    const UndoRecord old = aged(replaced(picture("old.png", 2)), 150);
    UndoRecord prepared = replaced(picture("prepared.png", 3));
    prepared.createdAt = Date::now().adding(-1'000);
    prepared.state = UndoRecord::State::prepared;
    const auto file =
        store.root().appending(prepared.sessionID.text()).appending(prepared.id.text() + ".json");
    writeFile(file, prepared.encoded());

    store.cleanup(100, unlimited, Date::now());

    EXPECT_TRUE(store.hasBackup(young));
    EXPECT_FALSE(store.hasBackup(old));
    EXPECT_TRUE(store.hasBackup(prepared)) << "an interrupted job may still need its backup";
    EXPECT_EQ(store.records().size(), 3U);

    const UndoRecord exact = aged(young, 0);
    store.cleanup(100, unlimited, exact.createdAt.adding(100));
    EXPECT_FALSE(store.hasBackup(exact)) << "the limit itself is too old";
}

TEST_F(UndoStoreCleanupTests, givesUpTheNewestBackupsOverTheBudget) {
    std::array<std::optional<UndoRecord>, 3> records;
    std::int64_t total = 0;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const auto shade = static_cast<std::uint8_t>(i);
        records[i] =
            aged(replaced(picture(std::to_string(i) + ".png", shade)), 10.0 * static_cast<double>(i + 1));
        total += fileSize(store.backupURL(*records[i]));
    }
    store.cleanup(1'000, total, Date::now());
    EXPECT_TRUE(store.hasBackup(*records[0])) << "the budget itself is not exceeded";

    store.cleanup(1'000, total - 1, Date::now());
    EXPECT_FALSE(store.hasBackup(*records[0]));
    EXPECT_TRUE(store.hasBackup(*records[1]));
    EXPECT_TRUE(store.hasBackup(*records[2]));
    store.cleanup(1'000, 0, Date::now());
    EXPECT_FALSE(store.hasBackup(*records[2]));
}

TEST_F(UndoStoreCleanupTests, tellsTheNextExpiration) {
    EXPECT_FALSE(store.nextBackupExpiration());
    const UndoRecord young = aged(replaced(picture("young.png", 1)), 10);
    const UndoRecord old = aged(replaced(picture("old.png", 2)), 20);
    EXPECT_EQ(store.nextBackupExpiration(), old.createdAt.adding(14'400));
    store.removeBackup(old);
    EXPECT_EQ(store.nextBackupExpiration(), young.createdAt.adding(14'400));
    store.removeBackup(young);
    EXPECT_FALSE(store.nextBackupExpiration());
}

} // namespace
} // namespace tarnwick
