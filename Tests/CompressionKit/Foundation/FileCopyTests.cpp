#include "Foundation/FileCopy.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>

namespace tarnwick {
namespace {

using test::TemporaryFolder;

// The engine's tests cover the attributes and lists of rights.
TEST(FileCopyTest, CopiesBytesAndTimes) {
    const TemporaryFolder folder;
    const std::string bytes(3'000'001, 'z');
    const URL source = folder.file("source", bytes);
    const std::array<timespec, 2> times = {timespec{1'000'000'000, 123}, timespec{1'100'000'000, 456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times.data(), 0), 0);
    const URL copy = folder / "copy";
    copyFile(source, copy);
    EXPECT_EQ(test::contents(copy), bytes);
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

TEST(FileCopyTest, NeverWritesOverAFile) {
    const TemporaryFolder folder;
    const URL source = folder.file("source", "new");
    const URL taken = folder.file("taken", "old");
    EXPECT_THROW(copyFile(source, taken), FileSystemError);
    EXPECT_EQ(test::contents(taken), "old");
    EXPECT_THROW(copyFile(folder / "missing", folder / "copy"), FileSystemError);
    EXPECT_EQ(folder.listing(), "source taken");
}

} // namespace
} // namespace tarnwick
