#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>

namespace tarnwick {
namespace {

TEST(TextTest, RecognisesIllFormedUTF8) {
    for (const char* wellFormed : {"", "abc", "塔维克", "\xF0\x9F\x8C\x8A", "\xED\x9F\xBF", "\xEF\xBF\xBF"}) {
        EXPECT_TRUE(isUTF8(wellFormed)) << wellFormed;
    }
    // A lone continuation, overlong forms, a surrogate, beyond the last plane, a character cut short.
    for (const char* illFormed :
         {"\x80", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "a\xE5\xA1", "\xFF"}) {
        EXPECT_FALSE(isUTF8(illFormed)) << illFormed;
    }
}

TEST(TextTest, ReplacesWhatIsIllFormedAndKeepsTheRest) {
    EXPECT_EQ(decodeUTF8("a\xFF"
                         "b\xE5\xA1"
                         "c\n"),
              "a\uFFFDb\uFFFDc\n");
    EXPECT_EQ(decodeUTF8("\xE5\xA1"), "\uFFFD");
    EXPECT_EQ(displayText("a\nb\x1B[31m\x7F\xC2\x9B 塔\u202Egnp\u202C\u2066\u2069\u2028"),
              "a\uFFFDb\uFFFD[31m\uFFFD\uFFFD 塔\uFFFDgnp\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(displayableJSON("\"\x7F\xC2\x9B塔\u202E\u202C\""), R"("\u007f\u009b塔\u202e\u202c")");
}

TEST(TextTest, CountsCharactersNotBytes) {
    EXPECT_EQ(firstCharacters("塔维克abc", 4), "塔维克a");
    EXPECT_EQ(firstCharacters("塔", 5), "塔");
    EXPECT_EQ(trimmed(" \t\r\n85.5 \n"), "85.5");
    EXPECT_EQ(trimmed(" \n"), "");
    EXPECT_EQ(lowercasedASCII("JPÉG"), "jpÉg");
}

TEST(FileSystemErrorTest, NamesThePathOnOneLine) {
    const FileSystemError error("无法打开文件", URL::file("/tmp/a\nb\xFF"), EACCES);
    EXPECT_EQ(errorDescription(error), "无法打开文件“/tmp/a\uFFFDb\uFFFD”：Permission denied");
    EXPECT_FALSE(error.isOutOfSpace());
    EXPECT_TRUE(FileSystemError("", URL::file("/"), ENOSPC).isOutOfSpace());
    EXPECT_TRUE(FileSystemError("", URL::file("/"), EDQUOT).isOutOfSpace());
    EXPECT_EQ(errorDescription(std::bad_alloc()), "内存不足");
}

} // namespace
} // namespace tarnwick
