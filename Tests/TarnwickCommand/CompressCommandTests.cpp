#include "Foundation/UUID.h"
#include "Support/FakeTools.h"
#include "Support/Pictures.h"
#include "Support/RunCommand.h"
#include "TarnwickCommand/JSONLine.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>

namespace tarnwick::test {
namespace {

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;

class CompressCommandTest : public testing::Test {
protected:
    /// OxiPNG replaces every picture by this one, of the same pixels; pngquant fails.
    CompressCommandTest() { tools.script("oxipng", {{"output", small.path()}}); }

    URL large(std::string_view name) const { return copyPicture("photo.png", pictures / name); }
    Words command(Words words) const {
        words.insert(words.end(), {"--tools", tools.folder().path(), "--store", (home / "store").path()});
        return words;
    }
    CommandResult run(Words words) const { return runCommand(command(std::move(words))); }

    FakeTools tools;
    TemporaryFolder home;
    TemporaryFolder pictures;
    const std::string folder = pictures.url().path();
    const URL small = picture("photo-small.png");
};

TEST_F(CompressCommandTest, PrintsOneJSONLineForEachFile) {
    const URL big = large("big.png");
    const auto bytes = contents(big).size();
    copyPicture("photo-small.png", pictures / "none.png");
    pictures.file("text.png", "no picture");
    pictures.file("\xFF.png", "no picture");

    const auto result = run({"compress", "--json", folder, pictures.file("a.txt", "").path()});
    auto lines = result.json();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "");
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0]["error"], "目前只支持 PNG、JPG、GIF 和 HEIC/HEIF 图片文件。")
        << "rejected before the work";
    std::sort(lines.begin() + 1, lines.end(),
              [](const JSON& a, const JSON& b) { return a["path"] < b["path"]; });
    const JSON replaced = {{"path", big.path()},
                           {"outcome", "replaced"},
                           {"url", big.absoluteString()},
                           {"originalBytes", bytes},
                           {"finalBytes", contents(small).size()},
                           {"encoder", "OxiPNG"},
                           {"undoRecord", lines[1]["undoRecord"]}};
    EXPECT_EQ(lines[1], replaced);
    EXPECT_TRUE(UUID::parse(std::string(lines[1]["undoRecord"])));
    EXPECT_EQ(contents(big), contents(small));
    EXPECT_EQ(lines[2]["outcome"], "skipped");
    EXPECT_FALSE(lines[2].contains("undoRecord") || lines[2].contains("encoder")) << lines[2];
    const JSON unreadable = {
        {"path", folder + "/text.png"}, {"outcome", "failed"}, {"error", "图片无法解码"}};
    EXPECT_EQ(lines[3], unreadable);
    EXPECT_EQ(lines[4]["path"], pictures.url().absoluteString() + "/%FF.png");
}

TEST_F(CompressCommandTest, PrintsRowsWithoutControlCharactersToAPipe) {
    EXPECT_EQ(run({"compress", folder}).output, "没有找到可以压缩的图片。\n");
    large("a.png");
    pictures.file("b\n\x1b[2J.png", "no picture");
    const auto result = run({"compress", folder});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("a.png  2 KB → 114 B · OxiPNG  ↓ 95%\n"));
    EXPECT_THAT(result.output, HasSubstr("b\uFFFD\uFFFD[2J.png  压缩失败：图片无法解码\n"));
    EXPECT_THAT(result.output, EndsWith("\n2/2 个文件：压缩 1，未变 0，失败 1；共节省 2 KB\n"));
    EXPECT_THAT(result.output, testing::Not(ContainsRegex("[\r\x1b]")));
}

TEST_F(CompressCommandTest, ShowsProgressOnATerminal) {
    if (!hasPseudoTerminals()) {
        GTEST_SKIP() << "There is no pseudo-terminal: is /dev/pts mounted?";
    }
    large("a.png");
    const auto result = runOnTerminal(command({"compress", folder, folder + "/none.png"}), "", "");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, ContainsRegex("正在压缩…\r\n\\[=+ +\\] 1/2 · 已节省 0 B\r\x1b\\[1A\x1b\\[J"
                                             ".*OxiPNG  ↓ 95%\r\n"));
    EXPECT_THAT(result.output, EndsWith("失败 1；共节省 2 KB\r\n"));
}

TEST_F(CompressCommandTest, DoesNotCompressThePNGThatItMadeFromHEIC) {
    const URL heic = copyPicture("photo.heic", pictures / "a.heic");
    const auto result = run({"compress", "--json", folder, heic.path()});
    EXPECT_EQ(result.status, 0) << result.output;
    ASSERT_EQ(result.json().size(), 1U);
    EXPECT_EQ(result.json()[0]["outcome"], "converted");
    EXPECT_EQ(result.json()[0]["url"], (pictures / "a.png").absoluteString());
}

TEST_F(CompressCommandTest, LeavesItsOwnResultsAloneUnlessToldOtherwise) {
    large("a.png");
    ASSERT_EQ(run({"compress", folder}).status, 0);
    copyPicture("photo-small.png", pictures / "copy.png");
    pictures.file("as large.png", std::string(contents(small).size(), 'x'));
    const auto runs = tools.runs().size();
    const CommandResult second = run({"compress", "--json", folder});
    std::map<std::string, std::string> reasons;
    for (const JSON& line : second.json()) {
        reasons[line["path"]] = std::string(line["outcome"]) + " " + line.value("reason", "");
    }
    EXPECT_THAT(reasons, testing::ElementsAre(testing::Pair(folder + "/a.png", "skipped ownResult"),
                                              testing::Pair(folder + "/as large.png", "failed "),
                                              testing::Pair(folder + "/copy.png", "skipped ownResult")));
    EXPECT_THAT(run({"compress", folder}).output, HasSubstr("copy.png  已是压缩过的结果，未再次压缩"));
    EXPECT_EQ(tools.runs().size(), runs);
    EXPECT_THAT(run({"compress", "--again", "--json", folder}).output, testing::Not(HasSubstr("ownResult")));
    EXPECT_GT(tools.runs().size(), runs);
}

TEST_F(CompressCommandTest, TellsBeforehandWhatExceedsTheBackups) {
    large("a.png");
    ASSERT_EQ(run({"compress", folder}).status, 0);
    std::filesystem::resize_file(pictures.file("huge.png", "").path(), std::uintmax_t{6} << 30U);
    const auto lines = run({"compress", "--json", folder}).json();
    ASSERT_EQ(lines.size(), 3U);
    const auto excess = (std::size_t{1} << 30U) + pictureText("photo.png").size();
    EXPECT_EQ(lines[0], (JSON{{"warning", "backupBudget"}, {"bytesOverBudget", excess}}));
    EXPECT_THAT(run({"compress", folder}).errors, HasSubstr("会超出 1.07 GB；"));
}

TEST_F(CompressCommandTest, StopsWhenStandardOutputFails) {
    tools.scriptFor("b.png", "oxipng", {{"hang"}});
    const URL first = large("a.png");
    const URL second = large("b.png");
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ::close(ends[0]);
    const FileDescriptor closedPipe(ends[1]);
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    for (const FileDescriptor* output : {&full, &closedPipe}) {
        const auto result = RunningCommand(command({"compress", folder}), *output).wait();
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, HasSubstr("无法写入标准输出："));
    }
    EXPECT_EQ(contents(first), contents(small));
    EXPECT_EQ(contents(second), pictureText("photo.png"));
}

TEST_F(CompressCommandTest, InspectPrintsFactsOrTheError) {
    const URL file = copyPicture("alpha-8.heic", pictures / "a.heic");
    const auto result = run({"inspect", "--json", file.path(), folder, folder + "/none.png", "/dev/null"});
    const auto lines = result.json();
    EXPECT_EQ(result.status, 1);
    ASSERT_EQ(lines.size(), 4U);
    const JSON facts = {{"path", file.path()},
                        {"kind", "heic"},
                        {"width", 64},
                        {"height", 64},
                        {"frameCount", 1},
                        {"hasAlpha", true},
                        {"profileName", "sRGB IEC61966-2.1"},
                        {"orientation", 1},
                        {"hasJPEGMultiPictureData", false}};
    EXPECT_EQ(lines[0], facts);
    EXPECT_EQ(lines[1]["error"], "请选择普通图片文件");
    EXPECT_THAT(std::string(lines[2]["error"]), HasSubstr("无法读取文件信息"));
    EXPECT_EQ(lines[3]["error"], "请选择普通图片文件");
    EXPECT_THAT(run({"inspect", file.path()}).output, HasSubstr("尺寸：64 × 64\n"));
}

} // namespace
} // namespace tarnwick::test
