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

/// The pictures' folder after the process that prepared a record has died.
struct Scene {
    const test::TemporaryFolder& folder;
    const UndoStore& store;
    URL photo;
    URL winner;
    UndoRecord record;

    void putInPlace() const { atomicRename(winner, record.replacementURL()); }
};

enum class Fate { committed, gone, kept };

struct Case {
    const char* what;
    bool isConversion;
    std::function<void(const Scene&)> arrange;
    Fate fate;
};

std::vector<Case> cases() {
    const auto nothing = [](const Scene&) {};
    const auto replace = [](const Scene& scene) { scene.putInPlace(); };
    const auto edit = [](const Scene& scene) { scene.folder.file("photo.png", "another program's"); };
    const auto remove = [](const Scene& scene) { removeFile(scene.photo); };
    return {
        {"original in place", false, nothing, Fate::gone},
        {"replacement in place", false, replace, Fate::committed},
        {"something else in place", false, edit, Fate::kept},
        {"nothing in place", false, remove, Fate::kept},
        {"a link in place", false,
         [](const Scene& scene) {
             atomicRename(scene.photo, scene.folder / "moved.png");
             std::filesystem::create_symlink("moved.png", scene.photo.path());
         },
         Fate::kept},
        {"replacement in place, backup damaged", false,
         [](const Scene& scene) {
             scene.putInPlace();
             writeFile(scene.store.backupURL(scene.record), std::vector<std::uint8_t>(10));
         },
         Fate::kept},
        {"replacement in place, backup gone", false,
         [](const Scene& scene) {
             scene.putInPlace();
             scene.store.removeBackup(scene.record);
         },
         Fate::kept},
        {"not converted yet", true, nothing, Fate::gone},
        {"converted", true, replace, Fate::committed},
        {"converted, original gone", true,
         [](const Scene& scene) {
             scene.putInPlace();
             removeFile(scene.photo);
         },
         Fate::committed},
        {"the new name is another program's", true,
         [](const Scene& scene) { scene.folder.file("converted.png", "another program's"); }, Fate::gone},
        {"not converted, original changed", true, edit, Fate::kept},
    };
}

TEST_F(LeftoversTest, SettlesAPreparedRecordOnlyWhereThePictureIsKnownToBeWhole) {
    for (const Case& tried : cases()) {
        SCOPED_TRACE(tried.what);
        const URL photo = picture("photo.png", 1);
        const URL winner = picture("winner.png", 200);
        const auto converted = tried.isConversion ? std::optional(folder / "converted.png") : std::nullopt;
        const UndoRecord record = store.prepare(photo, winner, UUID::random(), converted);
        tried.arrange({folder, store, photo, winner, record});
        const std::string before = folder.listing();
        const bool hadBackup = store.hasBackup(record);

        const LeftoversReport leftovers = removeLeftovers(store);
        EXPECT_EQ(folder.listing(), before) << "a picture was touched";
        EXPECT_EQ(leftovers.settledRecords, tried.fate == Fate::kept ? 0 : 1);
        EXPECT_THAT(leftovers.problems, SizeIs(tried.fate == Fate::kept ? 1 : 0));
        const auto records = store.readRecords();
        if (tried.fate == Fate::gone) {
            EXPECT_THAT(records, IsEmpty());
            EXPECT_FALSE(store.hasBackup(record));
        } else {
            ASSERT_THAT(records, SizeIs(1));
            EXPECT_EQ(records[0].state, tried.fate == Fate::committed ? UndoRecord::State::committed
                                                                      : UndoRecord::State::prepared);
            EXPECT_EQ(store.hasBackup(record), hadBackup);
            if (tried.fate == Fate::committed) {
                store.restore(records[0]);
                EXPECT_EQ(hash(photo), record.originalHash);
            }
        }
        store.deleteRecord(record);
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
