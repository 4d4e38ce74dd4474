#include "Foundation/FileLock.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/UUID.h"
#include "Foundation/WorkRegister.h"
#include "Support/EnvironmentVariable.h"
#include "Support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <thread>

namespace tarnwick::test {
namespace {

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
    static void age(const URL& note, std::time_t days) {
        const timespec past = {.tv_sec = std::time(nullptr) - days * 86'400, .tv_nsec = 0};
        const timespec times[] = {past, past};
        ASSERT_EQ(::utimensat(AT_FDCWD, note.c_str(), times, 0), 0);
    }

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
        ASSERT_EQ(::symlink(pictures.c_str(), item.appending("inner/link").c_str()), 0);
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
    const std::string name = ".tarnwick-" + id.text();
    const URL other = pictures.appending(".tarnwick-" + UUID::random().text());
    const URL longer = pictures.appending(name + "0");
    const URL target = pictures.appending("target");
    for (const URL& item : {other, longer, target}) {
        createDirectories(item);
    }
    const URL link = pictures.appending(name);
    ASSERT_EQ(::symlink(target.c_str(), link.c_str()), 0);
    const std::string before = folder.listing();
    const auto listed = entries(pictures);

    for (const std::string& text :
         {other.path() + "\n", longer.path() + "\n", link.path() + "\n", link.path(), std::string("\n"),
          "pictures/" + name + "\n", pictures.path() + "/photo.png\n"}) {
        deadNote(id, text);
        EXPECT_EQ(workRegister.sweep().removed, 0) << text;
        EXPECT_EQ(entries(pictures), listed) << text;
    }
    // A file with the name of a folder, and a folder with the name of a file.
    removeFile(link);
    deadNoteOf(id, folder.file("pictures/" + name, "a file"));
    const UUID fileID = UUID::random();
    createDirectories(pictures.appending("rollback." + fileID.text()));
    deadNoteOf(fileID, pictures.appending("rollback." + fileID.text()));
    EXPECT_EQ(workRegister.sweep().removed, 0);
    EXPECT_EQ(contents(pictures.appending(name)), "a file");
    EXPECT_TRUE(isDirectory(pictures.appending("rollback." + fileID.text())));
}

TEST_F(WorkRegisterTest, KeepsTheNoteOfAnItemThatMayBeOnAnotherDisk) {
    const UUID id = UUID::random();
    const URL note = deadNoteOf(id, folder / ("unmounted/.tarnwick-" + id.text()));
    age(note, 29);
    EXPECT_THAT(workRegister.sweep().problems, IsEmpty());
    EXPECT_TRUE(itemExists(note));
    age(note, 31);
    EXPECT_EQ(workRegister.sweep().removed, 0);
    EXPECT_FALSE(itemExists(note));
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

TEST_F(WorkRegisterTest, ASweepKeepsNotesThatAreBeingMade) {
    std::atomic<bool> isOver = false;
    std::thread sweeper([&] {
        while (!isOver) {
            workRegister.sweep();
        }
    });
    for (int i = 0; i < 500; ++i) {
        const WorkNote note(pictures, WorkItem::directory);
        createDirectories(note.item());
        EXPECT_TRUE(
            FileLock::isHeld(workRegister.folder().appending(note.item().lastPathComponent().substr(10))));
        EXPECT_TRUE(isDirectory(note.item()));
        EXPECT_EQ(::rmdir(note.item().c_str()), 0) << "the sweep took it";
    }
    isOver = true;
    sweeper.join();
    EXPECT_THAT(entries(workRegister.folder()), IsEmpty());
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
