#include "Foundation/UUID.h"
#include "Support/HEIFMaker.h"
#include "Support/PNGMaker.h"
#include "TarnwickCommand/RunCommand.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace tarnwick {
namespace {

using test::contents;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class CompressCommand : public testing::Test {
protected:
    void SetUp() override {
        createDirectories(tools);
        createDirectories(pictures);
    }

    /// Tools that turn any picture into the one at `folder`/small, without loss.
    void installTools() const {
        test::writePNG(folder / "small", {.compressionLevel = 9});
        test::writeTool(tools, "pngquant", "exit 99");
        test::writeTool(tools, "ssimulacra2", "exit 99");
        test::writeTool(tools, "oxipng", "cp '" + (folder / "small").path() + "' \"$4\"");
    }

    std::vector<std::string> command(std::vector<std::string> words) const {
        words.insert(words.end(), {"--tools", tools.path(), "--store", (folder / "store").path()});
        return words;
    }

    test::CommandEnd run(std::vector<std::string> words) const {
        return test::runCommand(command(std::move(words)));
    }

    test::TemporaryFolder folder;
    URL tools = folder / "tools";
    URL pictures = folder / "pictures";
};

TEST_F(CompressCommand, OneJSONLineAFileAndNothingElse) {
    installTools();
    const URL big = pictures.appending("big.png");
    test::writePNG(big, {.compressionLevel = 0});
    test::writePNG(pictures.appending("none.png"), {.compressionLevel = 9});
    folder.file("pictures/text.png", "no picture");
    folder.file("pictures/\xFF.png", "no picture");
    const auto bytes = static_cast<std::int64_t>(contents(big).size());

    const auto end = run({"compress", "--json", pictures.path(), (folder / "small").path()});
    auto lines = end.json();
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.errors, "");
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0]["error"], "目前只支持 PNG、JPG、GIF 和 HEIC/HEIF 图片文件。") << "told at once";
    // The others come as they end.
    std::rotate(lines.begin(), lines.begin() + 1, lines.end());
    std::sort(lines.begin(), lines.end() - 1,
              [](const JSON& a, const JSON& b) { return a["path"] < b["path"]; });
    EXPECT_EQ(lines[0]["path"], big.path());
    EXPECT_EQ(lines[0]["outcome"], "replaced");
    EXPECT_EQ(lines[0]["url"], big.absoluteString());
    EXPECT_EQ(lines[0]["originalBytes"], bytes);
    EXPECT_EQ(lines[0]["finalBytes"], contents(folder / "small").size());
    EXPECT_EQ(lines[0]["encoder"], "OxiPNG");
    EXPECT_FALSE(lines[0].contains("qualityScore") || lines[0].contains("error")) << lines[0];
    EXPECT_TRUE(UUID::parse(lines[0]["undoRecord"]));
    EXPECT_EQ(contents(big), contents(folder / "small"));

    EXPECT_EQ(lines[1]["outcome"], "skipped");
    EXPECT_FALSE(lines[1].contains("undoRecord") || lines[1].contains("encoder")) << lines[1];
    const JSON unreadable = {
        {"path", pictures.appending("text.png").path()}, {"outcome", "failed"}, {"error", "图片无法解码"}};
    EXPECT_EQ(lines[2], unreadable);
    EXPECT_EQ(lines[3]["path"], pictures.absoluteString() + "/%FF.png");
}

TEST_F(CompressCommand, RowsOfAPipeCarryNoControlCharacters) {
    installTools();
    test::writePNG(pictures.appending("a.png"), {.compressionLevel = 0});
    folder.file("pictures/b\n\x1b[2J.png", "no picture");
    const auto end = run({"compress", pictures.path()});
    EXPECT_EQ(end.status, 1);
    EXPECT_THAT(end.output, testing::ContainsRegex("a\\.png  [0-9]+ KB → [0-9]+ KB · OxiPNG  ↓ [0-9]+%\n"));
    EXPECT_THAT(end.output, HasSubstr("b\uFFFD\uFFFD[2J.png  压缩失败：图片无法解码\n"));
    EXPECT_THAT(end.output, HasSubstr("\n2/2 个文件：压缩 1，"));
    EXPECT_THAT(end.output, Not(testing::ContainsRegex("[\r\x1b]")));
}

TEST_F(CompressCommand, ATerminalShowsWhatIsBeingDone) {
    installTools();
    test::writePNG(pictures.appending("a.png"), {.compressionLevel = 0});
    const auto end =
        test::runOnTerminal(command({"compress", pictures.path(), (folder / "none.png").path()}), "", "");
    EXPECT_EQ(end.status, 1);
    EXPECT_THAT(
        end.output,
        testing::ContainsRegex("正在压缩…\r\n\\[=+ +\\] 1/2 · 已节省 0 B\r\x1b\\[1A\x1b\\[J.*↓ [0-9]+%\r\n"));
    EXPECT_THAT(end.output, EndsWith("失败 1；共节省 234 B\r\n"));
}

TEST_F(CompressCommand, ToolsThatAreMissingFailTheFileAndLeaveItAlone) {
    test::writePNG(pictures.appending("a.png"), {.compressionLevel = 0});
    const std::string before = contents(pictures.appending("a.png"));
    const auto end = run({"compress", "--json", pictures.path()});
    EXPECT_EQ(end.status, 1);
    ASSERT_EQ(end.json().size(), 1U);
    EXPECT_EQ(end.json()[0]["error"], "缺少压缩组件：pngquant");
    EXPECT_EQ(contents(pictures.appending("a.png")), before);
    EXPECT_EQ(run({"compress", (folder / "tools").path()}).output, "没有找到可以压缩的图片。\n");
}

TEST_F(CompressCommand, APictureMadeFromHEICIsNotTakenUpAgain) {
    installTools();
    test::writeHEIF(pictures.appending("a.heic"));
    const auto end = run({"compress", "--json", pictures.path(), pictures.appending("a.heic").path()});
    EXPECT_EQ(end.status, 0) << end.output;
    ASSERT_EQ(end.json().size(), 1U);
    EXPECT_EQ(end.json()[0]["outcome"], "converted");
    EXPECT_EQ(end.json()[0]["url"], pictures.appending("a.png").absoluteString());
}

TEST_F(CompressCommand, StopsEverythingOnceNothingCanBeTold) {
    installTools();
    test::writeTool(tools, "oxipng",
                    "case \"$5\" in *a.png) ;; *) sleep 60 ;; esac; cp '" + (folder / "small").path() +
                        "' \"$4\"");
    for (const char* name : {"a.png", "b.png"}) {
        test::writePNG(pictures.appending(name), {.compressionLevel = 0});
    }
    const std::string untouched = contents(pictures.appending("b.png"));
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    FileDescriptor reader(ends[0]);
    const FileDescriptor writer(ends[1]);
    reader.reset();
    for (const auto* output : {"/dev/full", "closed pipe"}) {
        const bool isPipe = output == std::string("closed pipe");
        const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
        const auto end =
            test::RunningCommand(command({"compress", pictures.path()}), isPipe ? writer : full).wait();
        EXPECT_EQ(end.status, 1) << output;
        EXPECT_THAT(end.errors, HasSubstr("无法写入标准输出：")) << output;
    }
    EXPECT_EQ(contents(pictures.appending("a.png")), contents(folder / "small"));
    EXPECT_EQ(contents(pictures.appending("b.png")), untouched);
}

TEST_F(CompressCommand, InspectTellsTheFactsOrWhyThereAreNone) {
    test::writePNG(pictures.appending("a.png"), {.width = 5, .height = 7, .color = test::PNGColor::rgba});
    const auto end = run({"inspect", "--json", pictures.appending("a.png").path(), pictures.path(),
                          (folder / "none.png").path(), "/dev/null"});
    const auto lines = end.json();
    EXPECT_EQ(end.status, 1);
    ASSERT_EQ(lines.size(), 4U);
    const JSON facts = {{"path", pictures.appending("a.png").path()},
                        {"kind", "png"},
                        {"width", 5},
                        {"height", 7},
                        {"frameCount", 1},
                        {"hasAlpha", true},
                        {"profileName", "sRGB IEC61966-2.1"},
                        {"orientation", 1},
                        {"hasJPEGMultiPictureData", false}};
    EXPECT_EQ(lines[0], facts);
    EXPECT_EQ(lines[1]["error"], "请选择普通图片文件");
    EXPECT_THAT(lines[2]["error"].get<std::string>(), HasSubstr("无法读取文件信息"));
    EXPECT_EQ(lines[3]["error"], "请选择普通图片文件");
    EXPECT_THAT(run({"inspect", pictures.appending("a.png").path()}).output, HasSubstr("尺寸：5 × 7\n"));
}

} // namespace
} // namespace tarnwick
