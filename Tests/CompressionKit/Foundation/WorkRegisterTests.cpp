#include "Foundation/FileLock.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/UUID.h"
#include "Foundation/WorkRegister.h"
#include "Support/EnvironmentVariable.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

namespace tarnwick::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class WorkRegisterTest : public testing::Test {
protected:
    WorkRegisterTest() { createDirectories(pictures); }

    /// The note of a killed process.
    URL deadNote(const UUID& id, const std::string& text) const {
        createDirectories(workRegister.folder());
        return folder.file("data/Tarnwick/Work/" + id.text(), text);
    }
    URL deadNoteOf(const UUID& id, const URL& item) const { return deadNote(id, item.path() + "\n"); }

    TemporaryFolder folder;
    EnvironmentVariable data{"XDG_DATA_HOME", (folder / "data").path()};
    WorkRegister workRegister;
    URL pictures = folder / "pictures";
};

TEST_F(WorkRegisterTest, RemovesItemsOfDeadProcesses) {
    for (const char* name : {".tarnwick-", "tarnwick-links-"}) {
        const UUID id = UUID::random();
        const URL item = pictures.appending(name + id.text());
        createDirectories(item.appending("inner"));
        fs::create_symlink(pictures.path(), item.appending("inner/link").path());
        deadNoteOf(id, item);
    }
    for (const char* name : {".tarnwick-restore-", "rollback."}) {
        const UUID id = UUID::random();
        deadNoteOf(id, folder.file("pictures/" + (name + id.text()), "half a picture"));
    }
    folder.file("pictures/photo.png", "a picture");

    const auto sweep = workRegister.sweep();
    EXPECT_EQ(sweep.removed, 4);
    EXPECT_THAT(sweep.problems, IsEmpty());
    EXPECT_THAT(entries(pictures), ElementsAre(pictures.appending("photo.png")));
    EXPECT_THAT(entries(workRegister.folder()), IsEmpty());
}

TEST_F(WorkRegisterTest, TouchesOnlyTheItemOfTheNote) {
    const UUID id = UUID::random();
    const UUID fileID = UUID::random();
    const URL link = pictures.appending(".tarnwick-" + id.text());
    const URL longer = pictures.appending(".tarnwick-" + id.text() + "0");
    const URL other = pictures.appending(".tarnwick-" + fileID.text());
    const URL directory = pictures.appending("rollback." + fileID.text());
    for (const URL& item : {other, longer, directory}) {
        createDirectories(item);
    }
    const URL file = folder.file("pictures/tarnwick-links-" + id.text(), "a file");
    const URL unfinished = folder.file("pictures/rollback." + id.text(), "a file");
    fs::create_directory_symlink(other.path(), link.path());
    const auto listed = entries(pictures);

    deadNoteOf(fileID, directory);
    for (const std::string& text :
         {other.path() + "\n", longer.path() + "\n", link.path() + "\n", file.path() + "\n",
          unfinished.path(), std::string("\n"), "pictures/.tarnwick-" + id.text() + "\n",
          pictures.path() + "/photo.png\n"}) {
        deadNote(id, text);
        EXPECT_EQ(workRegister.sweep().removed, 0) << text;
        EXPECT_EQ(entries(pictures), listed) << text;
    }
}

TEST_F(WorkRegisterTest, KeepsTheNoteOfAnItemThatMayBeOnAnotherDisk) {
    const UUID id = UUID::random();
    const URL note = deadNoteOf(id, folder / ("unmounted/.tarnwick-" + id.text()));
    const auto now = fs::last_write_time(note.path());
    for (const int days : {29, 31}) {
        fs::last_write_time(note.path(), now - std::chrono::days(days));
        const auto sweep = workRegister.sweep();
        EXPECT_EQ(sweep.removed, 0);
        EXPECT_THAT(sweep.problems, IsEmpty());
        EXPECT_EQ(itemExists(note), days < 30) << days;
    }
}

TEST_F(WorkRegisterTest, AnItemIsHeldWhileTheNoteOrACopyOfItsLockIsOpen) {
    FileDescriptor copy;
    URL item;
    {
        const WorkNote note(pictures, WorkItem::directory);
        item = note.item();
        createDirectories(item);
        EXPECT_THAT(workRegister.sweep().held, ElementsAre(item));
        copy = FileDescriptor(::dup(note.lock().get()));
    }
    EXPECT_THAT(workRegister.sweep().held, ElementsAre(item));
    EXPECT_TRUE(isDirectory(item));
    copy.reset();
    EXPECT_EQ(workRegister.sweep().removed, 1);
    EXPECT_FALSE(itemExists(item));
    { const WorkNote note(pictures, WorkItem::directory); }
    EXPECT_THAT(entries(workRegister.folder()), IsEmpty()) << "a note without an item is of no use";
}

TEST_F(WorkRegisterTest, WithoutARegisterOnlyRestoringContinues) {
    folder.file("data", "no folder");
    EXPECT_THROW(WorkNote(pictures, WorkItem::directory), FileSystemError);
    URL copy;
    {
        const NotedFile file(pictures, WorkItem::restoredFile);
        copy = folder.file("pictures/" + file.url().lastPathComponent(), "bytes");
        EXPECT_EQ(copy, file.url());
    }
    EXPECT_FALSE(itemExists(copy));
}

} // namespace
} // namespace tarnwick::test
