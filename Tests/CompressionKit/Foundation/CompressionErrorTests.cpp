#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>

namespace tarnwick {
namespace {

TEST(CompressionErrorTest, DescribesEachCase) {
    EXPECT_EQ(CompressionError::toolMissing("cjpegli").errorDescription(), "缺少压缩组件：cjpegli");
    EXPECT_EQ(CompressionError::toolFailed("x 超时").errorDescription(), "压缩组件运行失败：x 超时");
    EXPECT_EQ(CompressionError::fileOperation("").errorDescription(), "");
    EXPECT_EQ(CompressionError::invalidImage().errorDescription(), "图片无法解码");
    EXPECT_EQ(CompressionError::formatMismatch().errorDescription(), "文件格式与扩展名不一致");
    EXPECT_EQ(CompressionError::changedDuringCompression().errorDescription(),
              "原文件在压缩过程中被其他程序修改");
    EXPECT_EQ(CompressionError::validationFailed().errorDescription(), "压缩结果未通过验证");
    EXPECT_EQ(CompressionError::unsafeRestore().errorDescription(), "文件已被修改，无法直接恢复");
}

TEST(CompressionErrorTest, FileSystemErrorsNameThePathOnOneLine) {
    const FileSystemError error("无法打开文件", URL::file("/tmp/a\nb\xFF"), EACCES);
    EXPECT_EQ(errorDescription(error), "无法打开文件“/tmp/a\uFFFDb\uFFFD”：Permission denied");
    EXPECT_FALSE(error.isOutOfSpace());
    EXPECT_TRUE(FileSystemError("", URL::file("/"), EDQUOT).isOutOfSpace());
    EXPECT_EQ(errorDescription(std::bad_alloc()), "内存不足");
}

} // namespace
} // namespace tarnwick
