#include "Foundation/FileLock.h"
#include "History/Leftovers.h"
#include "Support/EnvironmentVariable.h"
#include "Support/HistoryFixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>

namespace tarnwick {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class LeftoversTest : public test::HistoryFixture {
protected:
    LeftoversTest() { createDirectories(folder / "data"); }

    test::EnvironmentVariable data{"XDG_DATA_HOME", (folder / "data").path()};
};

TEST_F(LeftoversTest, SettlesAPreparedRecordOnlyWhereThePictureIsKnownToBeWhole) {
    using State = UndoRecord::State;
    const URL photo = folder / "photo.png";
    std::optional<UndoRecord> record;
    const auto replace = [&] { atomicRename(folder / "winner.png", record->replacementURL()); };
    const auto edit = [&] { folder.file("photo.png", "another program's"); };
    const auto remove = [&] { removeFile(photo); };
    const auto takeName = [&] { folder.file("converted.png", "another program's"); };
    const auto damageBackup = [&] { writeFile(store.backupURL(*record), std::vector<std::uint8_t>(10)); };
    const auto removeBackup = [&] { store.removeBackup(*record); };
    const auto link = [&] {
        atomicRename(photo, folder / "moved.png");
        std::filesystem::create_symlink("moved.png", photo.path());
    };
    struct Case {
        const char* what;
        bool isConversion;
        /// What happens before the process dies.
        std::vector<std::function<void()>> steps;
        /// None where the record is deleted; a prepared one stays.
        std::optional<State> state;
    };
    for (const auto& [what, isConversion, steps, state] : std::vector<Case>{
             {"original in place", false, {}, std::nullopt},
             {"replacement in place", false, {replace}, State::committed},
             {"something else in place", false, {edit}, State::prepared},
             {"nothing in place", false, {remove}, State::prepared},
             {"a link in place", false, {link}, State::prepared},
             {"replacement in place, backup damaged", false, {replace, damageBackup}, State::prepared},
             {"replacement in place, backup gone", false, {replace, removeBackup}, State::prepared},
             {"not converted yet", true, {}, std::nullopt},
             {"converted", true, {replace}, State::committed},
             {"converted, original gone", true, {replace, remove}, State::committed},
             {"the new name is another program's", true, {takeName}, std::nullopt},
             {"not converted, original changed", true, {edit}, State::prepared},
         }) {
        SCOPED_TRACE(what);
        const auto converted = isConversion ? std::optional(folder / "converted.png") : std::nullopt;
        record =
            store.prepare(picture("photo.png", 1), picture("winner.png", 200), UUID::random(), converted);
        for (const auto& step : steps) {
            step();
        }
        const std::string before = folder.listing();
        const bool hadBackup = store.hasBackup(*record);

        const LeftoversReport leftovers = removeLeftovers(store);
        EXPECT_EQ(folder.listing(), before) << "a picture was touched";
        EXPECT_EQ(leftovers.settledRecords, state == State::prepared ? 0 : 1);
        EXPECT_THAT(leftovers.problems, SizeIs(state == State::prepared ? 1 : 0));
        const auto records = store.readRecords();
        EXPECT_EQ(records.empty() ? std::nullopt : std::optional(records[0].state), state);
        EXPECT_EQ(store.hasBackup(*record), state && hadBackup);
        if (state == State::committed) {
            store.restore(*record);
            EXPECT_EQ(hash(photo), record->originalHash);
            EXPECT_FALSE(itemExists(folder / "converted.png"));
        }
        store.deleteRecord(*record);
        for (const char* name : {"photo.png", "moved.png", "converted.png", "winner.png"}) {
            removeFile(folder / name);
        }
    }
}

TEST_F(LeftoversTest, LeavesALiveProcessItsRecordsAndItsUnfinishedFiles) {
    createDirectories(folder / "other");
    const UndoRecord mine =
        store.prepare(picture("photo.png", 1), picture("winner.png", 200), UUID::random());
    store.prepare(picture("other/photo.png", 2), picture("winner.png", 200), UUID::random());
    const URL unfinished =
        folder.file("store/" + mine.sessionID.text() + "/.tarnwick-write-" + UUID::random().text(), "{");
    {
        const WorkNote note(folder.url(), WorkItem::directory);
        const LeftoversReport leftovers = removeLeftovers(store);
        EXPECT_TRUE(leftovers.isIncomplete);
        EXPECT_EQ(leftovers.removed, 0);
        EXPECT_EQ(leftovers.settledRecords, 1) << "nobody works beside the other picture";
    }
    ASSERT_THAT(store.readRecords(), SizeIs(1));
    EXPECT_EQ(store.readRecords()[0], mine);
    EXPECT_TRUE(itemExists(unfinished));

    const LeftoversReport leftovers = removeLeftovers(store);
    EXPECT_FALSE(leftovers.isIncomplete);
    EXPECT_EQ(leftovers.removed, 1);
    EXPECT_EQ(leftovers.settledRecords, 1);
    EXPECT_THAT(entries(store.root()), IsEmpty());
}

TEST_F(LeftoversTest, WaitsItsTurnAndTrustsNoNoteThatItCannotRead) {
    store.prepare(picture("photo.png", 1), picture("winner.png", 200), UUID::random());
    const WorkRegister workRegister;
    {
        const auto turn = FileLock::tryAcquire(workRegister.folder().appending("sweep.lock"));
        EXPECT_EQ(removeLeftovers(store).settledRecords, 0);
    }
    const URL unreadable = workRegister.folder().appending(UUID::random().text());
    createDirectories(unreadable);
    const LeftoversReport leftovers = removeLeftovers(store);
    EXPECT_EQ(leftovers.settledRecords, 0);
    EXPECT_THAT(leftovers.problems, SizeIs(1));
    EXPECT_THAT(store.readRecords(), SizeIs(1));
}

} // namespace
} // namespace tarnwick
