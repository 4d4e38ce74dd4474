#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>

namespace tarnwick {
namespace {

TEST(CompressionErrorTest, FileSystemErrorsNameThePathOnOneLine) {
    const FileSystemError error("无法打开文件", URL::file("/tmp/a\nb\xFF"), EACCES);
    EXPECT_EQ(errorDescription(error), "无法打开文件“/tmp/a\uFFFDb\uFFFD”：Permission denied");
    EXPECT_FALSE(error.isOutOfSpace());
    EXPECT_TRUE(FileSystemError("", URL::file("/"), ENOSPC).isOutOfSpace());
    EXPECT_TRUE(FileSystemError("", URL::file("/"), EDQUOT).isOutOfSpace());
    EXPECT_EQ(errorDescription(std::bad_alloc()), "内存不足");
}

} // namespace
} // namespace tarnwick
