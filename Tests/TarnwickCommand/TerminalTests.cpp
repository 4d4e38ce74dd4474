#include "Support/TemporaryFolder.h"
#include "TarnwickCommand/DateText.h"
#include "TarnwickCommand/TerminalReporter.h"
#include "TarnwickCommand/TerminalText.h"

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::test {
namespace {

using testing::HasSubstr;

TEST(TerminalText, PadsAndElidesByColumns) {
    for (const auto& [text, columns] :
         {std::pair("abc", 3U), {"图片.png", 8U}, {"e\u0301", 1U}, {"𠀀", 2U}}) {
        EXPECT_EQ(TerminalText::columns(text), columns) << text;
    }
    EXPECT_EQ(TerminalText::padded("图", 4), "图  ");
    EXPECT_EQ(TerminalText::padded("图片", 3), "图片");
    EXPECT_EQ(TerminalText::elidedInMiddle("short.png", 9), "short.png");
    EXPECT_EQ(TerminalText::elidedInMiddle("abcdefghij.png", 9), "abcd….png");
    EXPECT_EQ(TerminalText::elidedInMiddle("图图图图图图.png", 9), "图图….png");
    for (std::size_t columns = 0; columns < 20; ++columns) {
        EXPECT_LE(TerminalText::columns(TerminalText::elidedInMiddle("a图图图图图图图.png", columns)),
                  columns);
    }
}

TEST(DateText, DatesAreUTCAndStayInTheCalendar) {
    EXPECT_EQ(DateText::iso8601(Date(0)), "2001-01-01T00:00:00Z");
    EXPECT_EQ(DateText::iso8601(Date(-0.5)), "2000-12-31T23:59:59Z");
    EXPECT_EQ(DateText::iso8601(Date(1e300)).substr(0, 5), "9999-");
    EXPECT_EQ(DateText::iso8601(Date(-1e300)).substr(0, 5), "0001-");
}

class TerminalReporterTest : public testing::Test {
protected:
    /// What was written since the last call.
    std::string written() {
        const std::string all = contents(folder / "screen");
        return all.substr(std::exchange(seen, all.size()));
    }
    void end(const CollectedFile& collected, const std::string& error) {
        progress.count({.error = error});
        reporter.end(collected, {.error = error}, progress);
    }

    TemporaryFolder folder;
    const std::vector<CollectedFile> files = {{std::string(300, 'a') + "\x1b[2J\n.png", {}}, {"b.png", {}}};
    const FileDescriptor file = createNewFile(folder / "screen", 0600);
    const Output output{file.get()};
    TerminalReporter reporter{output, files};
    BatchProgress progress = {.total = 2};
    std::size_t seen = 0;
};

TEST_F(TerminalReporterTest, BarsShowTheProgressAndFitAnyTerminal) {
    EXPECT_EQ(progressBar({.total = 4, .done = 1, .savedBytes = 1'500'000}, 39),
              "[====            ] 1/4 · 已节省 1.5 MB");
    EXPECT_EQ(progressBar({.total = 1, .done = 1}, 20), "1/1 · 已节省 0 B");
    EXPECT_EQ(progressBar({}, 60), "0/0 · 已节省 0 B");
    for (std::size_t columns = 1; columns < 90; ++columns) {
        EXPECT_LT(TerminalText::columns(progressBar({.total = 3, .done = 3}, columns)), columns);
    }
}

TEST_F(TerminalReporterTest, ErasesTheLiveLinesBeforeEachRow) {
    reporter.begin(files[0], progress);
    const std::string live = written();
    const std::string row = live.substr(0, live.find('\n'));
    EXPECT_THAT(row, testing::EndsWith("  正在压缩…"));
    EXPECT_LT(TerminalText::columns(row), 80U);
    EXPECT_EQ(live, row + "\n" + progressBar({.total = 2}, 80));
    EXPECT_THAT(live, testing::Not(HasSubstr("\x1b")));

    const std::string erased = "\r\x1b[1A\x1b[J";
    reporter.begin(files[1], progress);
    EXPECT_EQ(written(), erased + live) << "the oldest file stays live";
    end(files[0], "坏\x1b[31m了\n");
    const std::string second = written();
    EXPECT_TRUE(second.starts_with(erased + "aaa"));
    EXPECT_THAT(second, HasSubstr("  压缩失败：坏\uFFFD[31m了\uFFFD\nb.png "));
    EXPECT_TRUE(second.ends_with("  正在压缩…\n" + progressBar(progress, 80))) << second;

    end(files[1], "坏了");
    const std::string last = written();
    EXPECT_TRUE(last.starts_with(erased + "b.png ") && last.ends_with("压缩失败：坏了\n")) << last;
    reporter.end(files[1], {.error = "没有开始"}, progress);
    reporter.finish(progress);
    EXPECT_TRUE(written().starts_with("b.png ")) << "there are no live lines to erase";
    EXPECT_THAT(contents(folder / "screen"),
                testing::EndsWith("2/2 个文件：压缩 0，未变 0，失败 2；共节省 0 B\n"));
}

} // namespace
} // namespace tarnwick::test
