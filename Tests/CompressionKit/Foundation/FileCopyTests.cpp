#include "Foundation/FileCopy.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

namespace tarnwick {
namespace {

using test::TemporaryFolder;

std::string accessList(const URL& url) {
    acl_t list = ::acl_get_file(url.c_str(), ACL_TYPE_ACCESS);
    char* text = ::acl_to_text(list, nullptr);
    std::string copy = text;
    ::acl_free(text);
    ::acl_free(list);
    return copy;
}

bool setAccessList(const URL& url, const char* text) {
    acl_t list = ::acl_from_text(text);
    const bool isSet = ::acl_set_file(url.c_str(), ACL_TYPE_ACCESS, list) == 0;
    ::acl_free(list);
    return isSet;
}

TEST(FileCopyTest, CopiesBytesAndAttributes) {
    const TemporaryFolder folder;
    const std::string bytes(3'000'001, 'z');
    const URL source = folder.file("source", bytes);
    const bool hasAttributes = ::setxattr(source.c_str(), "user.tag", "holiday", 7, 0) == 0;
    const bool hasList = setAccessList(source, "user::rw-,user:1234:r--,group::r--,mask::r--,other::---");
    const std::array<timespec, 2> times = {timespec{1'000'000'000, 123}, timespec{1'100'000'000, 456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times.data(), 0), 0);

    const URL copy = folder / "copy";
    copyFile(source, copy);

    EXPECT_EQ(test::contents(copy), bytes);
    const struct stat status = statusOf(copy);
    EXPECT_EQ(status.st_mode, statusOf(source).st_mode);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'100'000'000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 456'789);
    if (hasAttributes) {
        std::array<char, 16> value{};
        EXPECT_EQ(::getxattr(copy.c_str(), "user.tag", value.data(), value.size()), 7);
        EXPECT_STREQ(value.data(), "holiday");
    }
    if (hasList) {
        EXPECT_EQ(accessList(copy), accessList(source));
    }
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
    EXPECT_EQ(statusOf(folder / "copy").st_uid, 1234U);
    EXPECT_EQ(statusOf(folder / "copy").st_gid, 2345U);
    EXPECT_EQ(statusOf(folder / "copy").st_mode & 07777U, 0440U);
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
