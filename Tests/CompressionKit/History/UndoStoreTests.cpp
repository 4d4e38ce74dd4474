#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "Support/HistoryFixture.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

namespace tarnwick {
namespace {

namespace fs = std::filesystem;
using test::contents;

class UndoStoreTests : public test::HistoryFixture {};

TEST_F(UndoStoreTests, preparesACompleteBackupAndRecord) {
    const URL original = picture("Photo.PNG", 1);
    const URL winner = picture("winner.png", 2);
    const UUID session = UUID::random();
    const UndoRecord record = store.prepare(original, winner, session);

    const URL directory = store.root().appending(session.text());
    EXPECT_EQ(store.backupURL(record), directory.appending(record.id.text() + ".png"));
    EXPECT_EQ(contents(store.backupURL(record)), contents(original));
    EXPECT_EQ(record.state, UndoRecord::State::prepared);
    EXPECT_EQ(record.originalHash, hash(original));
    EXPECT_EQ(record.replacementHash, hash(winner));
    EXPECT_EQ(record.replacementBytes, fileSize(winner));
    EXPECT_EQ(store.records(), std::vector{record});
    EXPECT_EQ(store.commit(record).state, UndoRecord::State::committed);
    EXPECT_EQ(store.records().front().state, UndoRecord::State::committed);
    EXPECT_EQ(fs::directory_iterator(directory.path())->path().parent_path(), directory.path());

    struct stat status {};
    ASSERT_EQ(::stat(store.root().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(UndoStoreTests, leavesNothingOfAFailedPreparation) {
    const URL original = picture("photo.png", 1);
    EXPECT_THROW(store.prepare(original, folder / "missing.png", UUID::random()), FileSystemError);
    EXPECT_THROW(store.prepare(folder / "missing.png", original, UUID::random()), FileSystemError);
    EXPECT_TRUE(fs::is_empty(store.root().path()));

    const UndoStore blocked(original);
    EXPECT_THROW(blocked.prepare(original, original, UUID::random()), FileSystemError);
}

TEST_F(UndoStoreTests, listsTheNewestFirstAndPassesOverWhatItCannotRead) {
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
    EXPECT_EQ(store.records().size(), 2U) << "nothing is removed when not everything can be read";
}

TEST_F(UndoStoreTests, deletesRecordsAndEmptyFolders) {
    const UUID session = UUID::random();
    const UndoRecord first = replaced(picture("a.png", 1), session);
    const UndoRecord second = replaced(picture("b.png", 2), session);
    store.deleteRecord(first);
    store.deleteRecord(first);
    EXPECT_EQ(store.records(), std::vector{second});
    EXPECT_FALSE(store.hasBackup(first));
    EXPECT_EQ(store.removeAll(), std::vector{second});
    EXPECT_TRUE(fs::is_empty(store.root().path()));
    EXPECT_TRUE(isRegularFile(folder / "a.png")) << "the user's file stays";
}

TEST_F(UndoStoreTests, saysWhoseBackupCouldNotBeDeleted) {
    const UndoRecord record = replaced(picture("photo.png", 1));
    const URL backup = store.backupURL(record);
    removeFile(backup);
    createDirectories(backup.appending("in the way"));
    try {
        store.deleteRecord(record);
        FAIL() << "a backup that is a folder was deleted";
    } catch (const CompressionError& error) {
        EXPECT_EQ(error.errorDescription(), "无法删除 photo.png 的记录或备份：Is a directory");
    }
    EXPECT_EQ(store.records().size(), 1U);
}

TEST_F(UndoStoreTests, standsInTheUsersApplicationData) {
    ASSERT_EQ(::setenv("XDG_DATA_HOME", folder.url().c_str(), 1), 0);
    EXPECT_EQ(UndoStore().root(), folder / "Tarnwick/Undo");
    ASSERT_EQ(::setenv("XDG_DATA_HOME", "relative", 1), 0);
    ASSERT_EQ(::setenv("HOME", "/home/somebody", 1), 0);
    EXPECT_EQ(UndoStore().root().path(), "/home/somebody/.local/share/Tarnwick/Undo");
}

} // namespace
} // namespace tarnwick
