#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileDescriptor.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/FileVersion.h"
#include "Foundation/SHA256.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>

namespace tarnwick {
namespace {

using test::TemporaryFolder;

template <typename Operation>
std::string failureOf(Operation operation) {
    try {
        operation();
    } catch (const CompressionError& error) {
        return error.errorDescription();
    }
    return "no failure";
}

TEST(FileOperationsTests, renamesInOneStep) {
    const TemporaryFolder folder;
    const URL source = folder.file("source\n-x", "new");
    const URL destination = folder.file("\xFF destination", "old");
    atomicRename(source, destination);
    EXPECT_EQ(test::contents(destination), "new");
    EXPECT_EQ(folder.listing(), "\xFF destination");
    EXPECT_EQ(failureOf([&] { atomicRename(source, destination); }),
              "替换文件失败：No such file or directory");
    EXPECT_EQ(test::contents(destination), "new");
}

TEST(FileOperationsTests, nudgesWatchersWithoutAChange) {
    const TemporaryFolder folder;
    const URL file = folder.file("photo", "bytes");
    const FileDescriptor watcher(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(watcher.get(), folder.url().c_str(), IN_ATTRIB), 0);
    struct stat before {};
    ASSERT_EQ(::stat(file.c_str(), &before), 0);
    nudgeWatchers(file);
    alignas(inotify_event) std::array<char, 4096> event{};
    ASSERT_GT(::read(watcher.get(), event.data(), event.size()), 0);
    EXPECT_STREQ(reinterpret_cast<const inotify_event*>(event.data())->name, "photo");
    struct stat after {};
    ASSERT_EQ(::stat(file.c_str(), &after), 0);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(after.st_atim.tv_nsec, before.st_atim.tv_nsec);
    nudgeWatchers(folder / "absent");
}

TEST(FileOperationsTests, movesOnlyWhereNothingStands) {
    const TemporaryFolder folder;
    const URL source = folder.file("source", "new");
    const URL taken = folder.file("taken", "old");
    const URL dangling = folder / "dangling";
    std::filesystem::create_symlink("nowhere", dangling.path());
    EXPECT_FALSE(atomicRenameIfAbsent(source, taken));
    EXPECT_FALSE(atomicRenameIfAbsent(source, dangling));
    EXPECT_EQ(test::contents(taken), "old");
    EXPECT_TRUE(atomicRenameIfAbsent(source, folder / "free"));
    EXPECT_EQ(test::contents(folder / "free"), "new");
    EXPECT_EQ(folder.listing(), "dangling free taken");
    EXPECT_EQ(failureOf([&] { atomicRenameIfAbsent(source, folder / "other"); }),
              "保存 PNG 失败：No such file or directory");
}

TEST(FileOperationsTests, hashesWholeFiles) {
    const TemporaryFolder folder;
    EXPECT_EQ(hash(folder.file("empty", "")),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(hash(folder.file("abc", "abc")),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    for (const std::size_t bytes : {std::size_t{1} << 20U, (std::size_t{1} << 20U) + 1}) {
        const std::string text(bytes, 'x');
        const URL file = folder.file("large", text);
        EXPECT_EQ(hash(file), SHA256::hexDigest(text));
        EXPECT_EQ(fileSize(file), static_cast<std::int64_t>(bytes));
    }
    EXPECT_THROW(hash(folder / "missing"), FileSystemError);
    EXPECT_THROW(fileSize(folder / "missing"), FileSystemError);
    EXPECT_THROW(hash(folder.url()), FileSystemError);
}

TEST(FileOperationsTests, readsAndWritesWithinLimits) {
    const TemporaryFolder folder;
    const std::string text(200'000, 'y');
    const URL file = folder.file("file", text);
    EXPECT_EQ(readFilePrefix(file, 70'000).size(), 70'000U);
    EXPECT_EQ(readFilePrefix(file, 1'000'000).size(), text.size());
    EXPECT_EQ(readFile(file, text.size()).size(), text.size());
    EXPECT_THROW(readFile(file, text.size() - 1), FileSystemError);

    const Bytes bytes = {'n', 'e', 'w'};
    writeFileAtomically(file, bytes);
    EXPECT_EQ(test::contents(file), "new");
    EXPECT_EQ(folder.listing(), "file");
    try {
        writeFile(URL::file("/dev/full"), bytes);
        FAIL() << "a full disk went unnoticed";
    } catch (const FileSystemError& error) {
        EXPECT_TRUE(error.isOutOfSpace());
    }
}

TEST(FileOperationsTests, noticesEveryChangeOfAFile) {
    const TemporaryFolder folder;
    const URL file = folder.file("file", "old");
    const FileVersion before = FileVersion::of(file);
    EXPECT_EQ(FileVersion::of(file), before);
    const auto modified = std::filesystem::last_write_time(file.path());
    ::usleep(20'000);
    folder.file("file", "new");
    std::filesystem::last_write_time(file.path(), modified);
    EXPECT_NE(FileVersion::of(file), before);
}

TEST(FileOperationsTests, createsAndRemovesFolders) {
    const TemporaryFolder folder;
    const URL nested = folder / "a/b/c";
    createDirectories(nested);
    createDirectories(nested);
    EXPECT_TRUE(isDirectory(nested));
    const URL file = folder.file("file", "");
    for (const URL& blocked : {file, file.appending("below")}) {
        EXPECT_THROW(createDirectories(blocked), FileSystemError) << blocked.path();
    }
    {
        const ScopedDirectory scoped(folder / "scoped");
        createDirectories(scoped.url().appending("inner"));
        const ScopedFile removed(folder.file("removed", ""));
        ScopedFile kept(folder.file("kept", ""));
        kept.commit();
    }
    EXPECT_EQ(folder.listing(), "a file kept");
    removeFile(folder / "kept");
    removeFile(folder / "kept");
    EXPECT_THROW(removeFile(folder / "a"), FileSystemError);
    EXPECT_FALSE(itemExists(file.appending("below")));
}

} // namespace
} // namespace tarnwick
