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

TEST_F(LeftoversTest, SettlesAPreparedRecordUnlessItsBackupIsDamaged) {
    using State = UndoRecord::State;
    const URL photo = folder / "photo.png";
    std::optional<UndoRecord> record;
    const auto replace = [&] { atomicRename(folder / "winner.png", record->replacementURL()); };
    const auto edit = [&] { folder.file("photo.png", "another program's"); };
    const auto remove = [&] { removeFile(photo); };
    const auto takeName = [&] { folder.file("converted.png", "another program's"); };
    const auto cutBackup = [&] { writeFile(store.backupURL(*record), std::vector<std::uint8_t>(10)); };
    const auto alterBackup = [&] {
        folder.file("store/" + record->sessionID.text() + "/" + record->backupName,
                    std::string(record->originalBytes, 'x'));
    };
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
        bool isRestorable = true;
    };
    for (const auto& [what, isConversion, steps, state, isRestorable] : std::vector<Case>{
             {"original in place", false, {}, std::nullopt},
             {"replacement in place", false, {replace}, State::committed},
             {"something else in place", false, {edit}, State::committed, false},
             {"nothing in place", false, {remove}, State::committed},
             {"a link to the original in place", false, {link}, State::committed, false},
             {"nothing in place, backup damaged", false, {remove, alterBackup}, State::prepared},
             {"something else in place, backup unfinished", false, {edit, cutBackup}, std::nullopt},
             {"replacement in place, backup damaged", false, {replace, alterBackup}, State::prepared},
             {"replacement of another record, backup not begun",
              false,
              {replace, removeBackup},
              std::nullopt},
             {"not converted yet", true, {}, std::nullopt},
             {"converted", true, {replace}, State::committed},
             {"converted, original gone", true, {replace, remove}, State::committed},
             {"the new name is another program's", true, {takeName}, std::nullopt},
             {"not converted, original changed", true, {edit}, State::committed, false},
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
            EXPECT_EQ(test::failureOf([&] { store.restore(*record); }) == "no failure", isRestorable);
            EXPECT_EQ(hash(photo) == record->originalHash, isRestorable || itemExists(folder / "moved.png"));
            EXPECT_FALSE(itemExists(folder / "converted.png"));
        }
        store.deleteRecord(*record);
        for (const char* name : {"photo.png", "moved.png", "converted.png", "winner.png"}) {
            removeFile(folder / name);
        }
    }
}

TEST_F(LeftoversTest, ReturnsWhatAReplacementOrARemovalDisplaced) {
    const std::string original = test::contents(picture("photo.png", 1));
    const std::string winner = test::contents(picture("winner.png", 200));
    struct Case {
        const char* what;
        bool isBackupSound;
        std::string displaced;
        std::string inPlace;
        /// What is in place afterwards.
        std::string expected;
        bool isDisplacedKept = false;
    };
    for (const Case& row : std::vector<Case>{
             {"killed before the exchange", true, winner, original, original},
             {"killed after it", true, original, winner, winner},
             {"killed after it, backup damaged", false, original, winner, original},
             {"another program had written", true, "edited", winner, "edited"},
             {"another program had written before a restore", true, "edited", original, "edited"},
             {"killed in a removal", true, "edited", "", "edited"},
             {"another program has written since", true, "edited", "edited again", "edited again", true},
         }) {
        SCOPED_TRACE(row.what);
        const URL photo = folder.file("photo.png", original);
        const UndoRecord record = store.prepare(photo, folder.file("winner.png", winner), UUID::random());
        if (!row.isBackupSound) {
            store.removeBackup(record);
        }
        folder.file(record.exchangeURL().lastPathComponent(), row.displaced);
        removeFile(photo);
        if (!row.inPlace.empty()) {
            folder.file("photo.png", row.inPlace);
        }
        EXPECT_THAT(store.removeAll(), IsEmpty()) << "the displaced file may be all that is left";

        EXPECT_THAT(removeLeftovers(store).problems, SizeIs(row.isDisplacedKept ? 1 : 0));
        EXPECT_EQ(test::contents(photo), row.expected);
        EXPECT_EQ(itemExists(record.exchangeURL()), row.isDisplacedKept);
        removeFile(record.exchangeURL());
        store.deleteRecord(record);
    }
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
