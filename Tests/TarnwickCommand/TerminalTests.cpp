#include "Support/TemporaryFolder.h"
#include "TarnwickCommand/TerminalReporter.h"
#include "TarnwickCommand/TerminalText.h"

#include <gmock/gmock.h>

#include <sstream>
#include <string>

namespace tarnwick {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(TerminalText, CountsColumnsNotBytesOrCharacters) {
    EXPECT_EQ(TerminalText::columns("abc"), 3U);
    EXPECT_EQ(TerminalText::columns("图片.png"), 8U);
    EXPECT_EQ(TerminalText::columns("e\u0301"), 1U);
    EXPECT_EQ(TerminalText::columns("𠀀"), 2U);
    EXPECT_EQ(TerminalText::padded("图", 4), "图  ");
    EXPECT_EQ(TerminalText::padded("图片", 3), "图片");
}

TEST(TerminalText, ElidesInTheMiddleAndNeverExceedsTheRoom) {
    EXPECT_EQ(TerminalText::elidedInMiddle("short.png", 9), "short.png");
    EXPECT_EQ(TerminalText::elidedInMiddle("abcdefghij.png", 9), "abcd….png");
    EXPECT_EQ(TerminalText::elidedInMiddle("图图图图图图.png", 9), "图图….png");
    for (std::size_t columns = 0; columns < 20; ++columns) {
        EXPECT_LE(TerminalText::columns(TerminalText::elidedInMiddle("a图图图图图图图.png", columns)),
                  columns);
    }
}

TEST(TerminalReporter, BarsFillWithTheBatchAndFitAnyTerminal) {
    EXPECT_EQ(progressBar({.total = 4, .done = 1, .savedBytes = 1'500'000}, 39),
              "[====            ] 1/4 · 已节省 1.5 MB");
    EXPECT_EQ(progressBar({.total = 1, .done = 1}, 20), "1/1 · 已节省 0 B");
    EXPECT_EQ(progressBar({}, 60), "0/0 · 已节省 0 B");
    for (std::size_t columns = 1; columns < 90; ++columns) {
        EXPECT_LT(TerminalText::columns(progressBar({.total = 3, .done = 3}, columns)), columns);
    }
}

TEST(TerminalReporter, DrawsLiveLinesThatFitAndTakesThemAwayBeforeTheFinalRow) {
    const test::TemporaryFolder folder;
    const std::vector<CollectedFile> files = {{std::string(300, 'a') + "\x1b[2J\n.png", {}}, {"b.png", {}}};
    const FileDescriptor file = createNewFile(folder / "screen", 0600);
    const Output output(file.get());
    BatchProgress progress = {.total = 2};
    TerminalReporter reporter(output, files);
    reporter.begin(files[0], progress);
    std::istringstream live(test::contents(folder / "screen"));
    std::string row;
    std::string bar;
    ASSERT_TRUE(std::getline(live, row) && std::getline(live, bar));
    EXPECT_THAT(row, HasSubstr("正在压缩…"));
    EXPECT_LT(TerminalText::columns(row), 80U);
    EXPECT_THAT(bar, HasSubstr("0/2"));
    EXPECT_THAT(row + bar, Not(HasSubstr("\x1b")));

    const FileEnding ending = {.error = "坏\x1b[31m了\n"};
    progress.count(ending);
    reporter.end(files[0], ending, progress);
    const std::string drawn = test::contents(folder / "screen");
    EXPECT_THAT(drawn, HasSubstr(bar + "\r\x1b[1A\x1b[Jaaa"));
    EXPECT_THAT(drawn, HasSubstr("压缩失败：坏\uFFFD[31m了\uFFFD\n"));

    reporter.end(files[1], {.error = "没有开始"}, progress);
    reporter.finish(progress);
    const std::string rest = test::contents(folder / "screen").substr(drawn.size());
    EXPECT_THAT(rest, testing::StartsWith("b.png ")) << "no live lines, nothing to take away";
    EXPECT_THAT(rest, testing::EndsWith("1/2 个文件：压缩 0，未变 0，失败 1；共节省 0 B\n"));
}

TEST(TerminalReporter, KeepsTheOldestOfSeveralFilesLive) {
    const test::TemporaryFolder folder;
    const std::vector<CollectedFile> files = {{"a.png", {}}, {"b.png", {}}};
    const FileDescriptor file = createNewFile(folder / "screen", 0600);
    const Output output(file.get());
    BatchProgress progress = {.total = 2};
    TerminalReporter reporter(output, files);
    reporter.begin(files[0], progress);
    reporter.begin(files[1], progress);
    progress.count({.error = "坏了"});
    reporter.end(files[0], {.error = "坏了"}, progress);
    const std::string erased = "\r\x1b[1A\x1b[J";
    const std::string bar = progressBar({.total = 2}, 80);
    EXPECT_EQ(test::contents(folder / "screen"),
              "a.png  正在压缩…\n" + bar + erased + "a.png  正在压缩…\n" + bar + erased +
                  "a.png  压缩失败：坏了\nb.png  正在压缩…\n" + progressBar(progress, 80));
}

} // namespace
} // namespace tarnwick
