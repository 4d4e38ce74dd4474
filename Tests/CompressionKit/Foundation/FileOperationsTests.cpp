#include "Foundation/FileCopy.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/FileVersion.h"
#include "Foundation/SHA256.h"
#include "Foundation/Text.h"
#include "Support/Failure.h"
#include "Support/TemporaryFolder.h"
#include "Support/Waiting.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <filesystem>

namespace tarnwick::test {
namespace {

TEST(FileOperationsTest, RenamesInOneStep) {
    const TemporaryFolder folder;
    const URL source = folder.file("source\n-x", "new");
    const URL destination = folder.file("\xFF destination", "old");
    atomicRename(source, destination);
    EXPECT_EQ(contents(destination), "new");
    EXPECT_EQ(folder.listing(), "\xFF destination");
    EXPECT_EQ(failureOf([&] { atomicRename(source, destination); }),
              "替换文件失败：No such file or directory");
    EXPECT_EQ(contents(destination), "new");
}

TEST(FileOperationsTest, MovesOnlyToAFreeName) {
    const TemporaryFolder folder;
    const URL source = folder.file("source", "new");
    const URL taken = folder.file("taken", "old");
    std::filesystem::create_symlink("nowhere", (folder / "dangling").path());
    EXPECT_FALSE(atomicRenameIfAbsent(source, taken));
    EXPECT_FALSE(atomicRenameIfAbsent(source, folder / "dangling"));
    EXPECT_EQ(contents(taken), "old");
    EXPECT_TRUE(atomicRenameIfAbsent(source, folder / "free"));
    EXPECT_EQ(contents(folder / "free"), "new");
    EXPECT_EQ(folder.listing(), "dangling free taken");
    EXPECT_EQ(failureOf([&] { atomicRenameIfAbsent(source, folder / "other"); }),
              "保存 PNG 失败：No such file or directory");
}

TEST(FileOperationsTest, HashesWholeFiles) {
    const TemporaryFolder folder;
    EXPECT_EQ(hash(folder.file("empty", "")),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    const std::string text((1U << 20U) + 1, 'x');
    for (const std::string& part : {std::string("abc"), text.substr(1), text}) {
        const URL file = folder.file("file", part);
        EXPECT_EQ(hash(file), SHA256::hexDigest(part));
        EXPECT_EQ(fileSize(file), static_cast<std::int64_t>(part.size()));
    }
    EXPECT_THROW(hash(folder / "missing"), FileSystemError);
    EXPECT_THROW(fileSize(folder / "missing"), FileSystemError);
    EXPECT_THROW(hash(folder.url()), FileSystemError);
}

TEST(FileOperationsTest, ReadsWithinLimits) {
    const TemporaryFolder folder;
    const std::string text(200'000, 'y');
    const URL file = folder.file("file", text);
    EXPECT_EQ(readFilePrefix(file, 70'000).size(), 70'000U);
    EXPECT_EQ(readFilePrefix(file, 1'000'000).size(), text.size());
    EXPECT_EQ(readFile(file, text.size()).size(), text.size());
    EXPECT_THROW(readFile(file, text.size() - 1), FileSystemError);
    EXPECT_EQ(readIfPresent(file), text);
    EXPECT_FALSE(readIfPresent(folder / "missing"));
    std::filesystem::create_symlink("nowhere", (folder / "dangling").path());
    EXPECT_THROW(readIfPresent(folder / "dangling"), FileSystemError);
}

TEST(FileOperationsTest, WritesWithModesThroughLinksAndReportsAFullDisk) {
    const TemporaryFolder folder;
    const URL file = folder.file("file", "old");
    writeFileAtomically(file, bytesOf("new"));
    EXPECT_EQ(modeOfFile(file, 0), 0600U);
    std::filesystem::create_symlink("file", (folder / "link").path());
    const mode_t mask = ::umask(0077);
    writeFileAtomically(resolvingLinks(folder / "link"), bytesOf("newer"), 0755);
    ::umask(mask);
    EXPECT_EQ(contents(file), "newer");
    EXPECT_EQ(modeOfFile(folder / "link", 0), 0755U);
    EXPECT_TRUE(std::filesystem::is_symlink((folder / "link").path()));
    EXPECT_EQ(folder.listing(), "file link");
    EXPECT_EQ(failureOf([] { writeFile(URL::file("/dev/full"), bytesOf("x")); }),
              "无法写入文件“/dev/full”：No space left on device");
}

TEST(FileOperationsTest, CreatesAndRemovesFolders) {
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

// The engine's tests cover the attributes and lists of rights.
/// Empty where the file system has none.
std::string extendedAttribute(const URL& url, const char* name) {
    std::array<char, 256> value{};
    const ssize_t length = ::getxattr(url.c_str(), name, value.data(), value.size());
    return {value.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

TEST(FileCopyTest, CopiesBytesTimesAccessListsAndExtendedAttributes) {
    const TemporaryFolder folder;
    const std::string bytes(3'000'001, 'z');
    const URL source = folder.file("source", bytes);
    const std::array<timespec, 2> times = {timespec{1'000'000'000, 123}, timespec{1'100'000'000, 456'789}};
    const bool hasTag = ::setxattr(source.c_str(), "user.tag", "holiday", 7, 0) == 0;
    acl_t list = ::acl_from_text("user::rw-,user:1234:r--,group::r--,mask::r--,other::---");
    const bool hasList = ::acl_set_file(source.c_str(), ACL_TYPE_ACCESS, list) == 0;
    ::acl_free(list);
    ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times.data(), 0), 0);
    const URL copy = folder / "copy";
    copyFile(source, copy);
    EXPECT_EQ(contents(copy), bytes);
    EXPECT_EQ(extendedAttribute(copy, "user.tag"), hasTag ? "holiday" : "");
    EXPECT_EQ(extendedAttribute(copy, "system.posix_acl_access").empty(), !hasList);
    EXPECT_EQ(extendedAttribute(copy, "system.posix_acl_access"),
              extendedAttribute(source, "system.posix_acl_access"));
    EXPECT_EQ(statusOf(copy).st_mtim.tv_sec, 1'100'000'000);
    EXPECT_EQ(statusOf(copy).st_mtim.tv_nsec, 456'789);
}

TEST(FileCopyTest, KeepsAnotherOwnerWherePermitted) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    const TemporaryFolder folder;
    const URL source = folder.file("source", "x");
    ASSERT_EQ(::chown(source.c_str(), 1234, 2345), 0);
    ASSERT_EQ(::chmod(source.c_str(), 0440), 0);
    copyFile(source, folder / "copy");
    const struct stat status = statusOf(folder / "copy");
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 2345U);
    EXPECT_EQ(status.st_mode & 07777U, 0440U);
}

TEST(FileLockTest, HasOneHolderAtATime) {
    const TemporaryFolder folder;
    const URL file = folder / "inner/lock";
    EXPECT_FALSE(FileLock::isHeld(file));
    std::optional<FileLock> lock = FileLock::tryAcquire(file);
    ASSERT_TRUE(lock);
    EXPECT_TRUE(FileLock::isHeld(file));
    EXPECT_FALSE(FileLock::tryAcquire(file));
    lock.reset();
    EXPECT_FALSE(FileLock::isHeld(file));
    EXPECT_TRUE(FileLock::tryAcquire(file));
    EXPECT_EQ(modeOfFile(file, 0), 0600U);
    EXPECT_EQ(modeOfFile(folder / "inner", 0), 0700U);
}

TEST(FileLockTest, AFolderIsLockedByOneHolderAndTheNextWaits) {
    const TemporaryFolder folder;
    std::optional<FileLock> lock = FileLock::acquireFolder(folder / "inner");
    EXPECT_TRUE(FileLock::isHeld(folder / "inner"));
    auto next = std::async(std::launch::async, [&] { FileLock::acquireFolder(folder / "inner"); });
    EXPECT_EQ(next.wait_for(aMoment), std::future_status::timeout);
    lock.reset();
    next.get();
    EXPECT_EQ(modeOfFile(folder / "inner", 0), 0700U);
    EXPECT_TRUE(entries(folder / "inner").empty());
}

} // namespace
} // namespace tarnwick::test
