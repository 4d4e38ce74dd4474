#include "Engine/Recipes.h"
#include "Engine/ToolArguments.h"
#include "Foundation/FileSystemError.h"
#include "Support/EngineFixture.h"
#include "Support/GIFMaker.h"
#include "Support/JPEGMaker.h"
#include "Support/PNGMaker.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <map>

namespace tarnwick::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using Words = std::vector<std::string>;

Words join(const Words& a, const Words& b) {
    Words all = a;
    all.insert(all.end(), b.begin(), b.end());
    return all;
}

std::string text(std::size_t bytes) {
    return std::to_string(bytes);
}

class PNGRecipeTest : public EngineFixture {
protected:
    PNGRecipeTest() { tools.scores({"80"}); }
    /// What the tool makes of the run that writes `output`.
    void put(const std::string& tool, const std::string& output, const Bytes& bytes) const {
        tools.scriptFor(output, tool, {{"output", prepared(tool + output, bytes).path()}});
    }
    /// A picture of the original's pixels and of a size that grows with `padding`.
    static Bytes sized(std::size_t padding) {
        return pngBytes({.chunksAfterData = pngChunk("teSt", Bytes(padding)), .compressionLevel = 9});
    }

    const URL original = picture("a.png", pngBytes({.compressionLevel = 0}));
};

TEST_F(PNGRecipeTest, OptimizesTheSmallestQuantizedOneAndTriesLossless) {
    put("pngquant", "quant-0.png", sized(50));
    put("pngquant", "quant-1.png", sized(40));
    put("oxipng", "palette-opt.png", sized(30));
    put("oxipng", "lossless.png", sized(60));
    const Workshop workshop(original, tools);
    EXPECT_THAT(workshop.outcome(pngCandidates),
                ElementsAre("pngquant q90 floyd1.0 s4 + OxiPNG " + text(sized(30).size()),
                            "OxiPNG " + text(sized(60).size())));
    const auto work = [&](const char* name) { return workshop.folder / name; };
    EXPECT_THAT(tools.runs("pngquant"),
                UnorderedElementsAre(ToolArguments::pngquant({90, "0.25", 1}, original, work("quant-0.png")),
                                     ToolArguments::pngquant({90, "1.0", 4}, original, work("quant-1.png"))));
    EXPECT_THAT(tools.runs("oxipng"),
                UnorderedElementsAre(ToolArguments::oxipng(4, work("quant-1.png"), work("palette-opt.png")),
                                     ToolArguments::oxipng(2, original, work("lossless.png"))));
    EXPECT_THAT(tools.runs("ssimulacra2"), SizeIs(3));
}

TEST_F(PNGRecipeTest, KeepsTheFirstOfOneSizeAndWhatOptimizingCannotBetter) {
    for (const char* output : {"quant-0.png", "quant-1.png"}) {
        put("pngquant", output, sized(50));
    }
    for (const char* output : {"palette-opt.png", "lossless.png"}) {
        put("oxipng", output, sized(50));
    }
    const Workshop workshop(original, tools);
    const auto candidates = pngCandidates(workshop.context);
    ASSERT_THAT(candidates, SizeIs(2));
    EXPECT_EQ(candidates[0].encoder, "pngquant q90 floyd0.25 s1");
    EXPECT_EQ(smallest(candidates), &candidates[0]);
    EXPECT_EQ(smallest({}), nullptr);
}

TEST_F(PNGRecipeTest, TakesTheLastResortOnlyWhenNothingPassedAndASettingThatFailsLosesNoMore) {
    tools.script("pngquant", {{"error", "cannot"}, {"status", "99"}});
    tools.script("oxipng", {{"output", prepared("lossless", sized(9)).path()}});
    // An output of another size, one that is cut, and a score that is none lose only their candidates too.
    put("pngquant", "quant-1.png", pngBytes({.width = 3, .height = 3}));
    put("pngquant", "quant-2.png", Bytes(original.path().begin(), original.path().end()));
    const Workshop workshop(original, tools);
    EXPECT_THAT(workshop.outcome(pngCandidates), ElementsAre("OxiPNG " + text(sized(9).size())));
    const auto runs = tools.runs("pngquant");
    ASSERT_THAT(runs, SizeIs(4));
    EXPECT_THAT((std::vector{runs[2], runs[3]}),
                UnorderedElementsAre(
                    ToolArguments::pngquant({100, "1.0", 1}, original, workshop.folder / "quant-2.png"),
                    ToolArguments::pngquant({100, "0.0", 1}, original, workshop.folder / "quant-3.png")));
    EXPECT_THAT(tools.runs("oxipng"), SizeIs(1));
}

TEST_F(PNGRecipeTest, OptimizesTheWinnerOfTheLastResort) {
    for (const char* output : {"quant-0.png", "quant-1.png"}) {
        tools.scriptFor(output, "pngquant", {{"status", "99"}});
    }
    put("pngquant", "quant-2.png", sized(50));
    put("pngquant", "quant-3.png", sized(40));
    put("oxipng", "palette-opt.png", sized(30));
    put("oxipng", "lossless.png", sized(60));
    const Workshop workshop(original, tools);
    EXPECT_THAT(workshop.outcome(pngCandidates),
                ElementsAre("pngquant q100 floyd0.0 s1 + OxiPNG " + text(sized(30).size()),
                            "OxiPNG " + text(sized(60).size())));
}

TEST_F(PNGRecipeTest, FailsForMissingToolsAndForOxiPNG) {
    const Workshop workshop(original, tools);
    tools.script("pngquant", {{"status", "99"}});
    tools.script("oxipng", {{"error", "broken"}, {"status", "2"}});
    EXPECT_THAT(workshop.outcome(pngCandidates), ElementsAre("压缩组件运行失败：oxipng（退出码 2）：broken"));
    tools.script("oxipng", {{"output-text", "no picture"}});
    EXPECT_THAT(workshop.outcome(pngCandidates), ElementsAre("图片无法解码"));
    const std::size_t runs = tools.runs().size();
    for (const char* tool : {"ssimulacra2", "oxipng", "pngquant"}) {
        tools.remove(tool);
        EXPECT_THAT(workshop.outcome(pngCandidates), ElementsAre(std::string("缺少压缩组件：") + tool));
    }
    EXPECT_THAT(tools.runs(), SizeIs(runs)) << "nothing runs when a tool is missing";
}

TEST_F(PNGRecipeTest, FailsWhenTheQuantizerCannotBeLaunched) {
    tools.remove("pngquant");
    const URL program = tools.folder().appending("pngquant");
    writeFile(program, Bytes{'?'});
    ::chmod(program.c_str(), 0755);
    const Workshop workshop(original, tools);
    EXPECT_THROW(pngCandidates(workshop.context), FileSystemError);
}

class JPEGRecipeTest : public EngineFixture {
protected:
    JPEGRecipeTest() {
        tools.script("cjpegli", {{"output", prepared("out", jpegBytes({.quality = 10})).path()}});
    }

    static Bytes fine() {
        std::array<unsigned, 64> ones{};
        ones.fill(1);
        return jpegBytes({.pattern = noise, .quality = 50, .quantization = ones});
    }
    /// The quality and the chroma mode of each run.
    Words tried() const {
        Words all;
        for (const auto& arguments : tools.runs("cjpegli")) {
            all.push_back(arguments.at(2).substr(10) + "/" + arguments.at(3).substr(21));
        }
        return all;
    }
};

TEST_F(JPEGRecipeTest, SearchesTheLowestQualityThatIsGoodEnough) {
    struct Walk {
        Words scores;
        Words tried;
        std::size_t accepted;
    };
    const std::vector<Walk> walks = {
        {{"60"}, {"72/420"}, 1},                                   // close enough at once
        {{"61"}, {"72/420"}, 1},                                   // just
        {{"61.1", "60.5"}, {"72/420", "71/420"}, 2},               // a step of 1 at least
        {{"65", "63", "60.2"}, {"72/420", "66/420", "63/420"}, 3}, // steps of 1.2 a point, cut off
        {{"90", "80"}, {"72/420", "60/420"}, 2},                   // 12 at most, to the lowest quality
        {{"65", "59", "60"}, {"72/420", "66/420", "69/420"}, 2},   // half-way up
        {{"50", "50", "50", "50"}, {"72/420", "84/420", "90/420", "96/420"}, 0}, // the last is the highest
        {{"50", "62", "50", "61.5"}, {"72/420", "84/420", "82/420", "83/420"}, 2},
        {{"62", "59.9"}, {"72/420", "70/420", "71/420"}, 1},
    };
    const Workshop workshop(picture("a.jpg", jpegBytes({.pattern = noise, .quality = 95})), tools);
    std::size_t before = 0;
    for (const Walk& walk : walks) {
        tools.scores(walk.scores);
        EXPECT_THAT(workshop.outcome(jpegCandidates), SizeIs(walk.accepted));
        const Words all = tried();
        EXPECT_THAT(Words(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
                    ElementsAreArray(walk.tried));
        before = all.size();
    }
}

TEST_F(JPEGRecipeTest, AsksMoreOfAFineOriginalAndTriesBothChromaModes) {
    for (const auto& [output, score] : std::map<std::string, std::string>{
             {"420/jpegli-72", "85.9"}, {"420/jpegli-84", "86.2"}, {"444/jpegli-72", "86.5"}}) {
        tools.scriptFor(output, "ssimulacra2", {{"print", score}});
    }
    const URL original = picture("a.jpg", fine());
    const Workshop workshop(original, tools);
    const std::string bytes = text(jpegBytes({.quality = 10}).size());
    EXPECT_THAT(workshop.outcome(jpegCandidates),
                ElementsAre("Jpegli q84 420 " + bytes, "Jpegli q72 444 " + bytes));
    EXPECT_THAT(tried(), UnorderedElementsAre("72/420", "84/420", "72/444"));
    Words outputs;
    for (const auto& arguments : tools.runs("cjpegli")) {
        outputs.push_back(arguments.at(1));
    }
    EXPECT_THAT(outputs, UnorderedElementsAre((workshop.folder / "420/jpegli-72.jpg").path(),
                                              (workshop.folder / "420/jpegli-84.jpg").path(),
                                              (workshop.folder / "444/jpegli-72.jpg").path()));
}

TEST_F(JPEGRecipeTest, AsksLessOfAFineOriginalThatHoldsFurtherPictures) {
    // A Multi-Picture index that announces two pictures.
    const std::string index("\xFF\xE2\0\x20MPF\0MM\0*\0\0\0\x08\0\1\xB0\1\0\4\0\0\0\1\0\0\0\2\0\0\0\0", 34);
    Bytes bytes = fine();
    bytes.insert(bytes.begin() + 2, index.begin(), index.end());
    tools.scores({"69.9", "70"});
    const Workshop workshop(picture("a.jpg", bytes), tools);
    ASSERT_TRUE(workshop.original.facts.hasJPEGMultiPictureData);
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre(HasSubstr("Jpegli q84 420 ")));
    EXPECT_THAT(tried(), ElementsAre("72/420", "84/420"));
}

TEST_F(JPEGRecipeTest, KeepsTheOrientationThatTheEncoderDrops) {
    tools.scores({"60"});
    const Workshop workshop(picture("a.jpg", jpegBytes({.pattern = noise, .quality = 95, .orientation = 8})),
                            tools);
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre(HasSubstr("Jpegli q72 420 ")));
    EXPECT_EQ(ImageFacts::inspect(workshop.folder / "420/jpegli-72.jpg").orientation, 8);
}

TEST_F(JPEGRecipeTest, FailsWithItsTools) {
    const Workshop workshop(picture("a.jpg", jpegBytes({.pattern = noise, .quality = 95})), tools);
    tools.scores({"none"});
    EXPECT_THAT(workshop.outcome(jpegCandidates),
                ElementsAre("压缩组件运行失败：ssimulacra2 未返回有效画质评分"));
    tools.script("cjpegli", {{"status", "1"}});
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre("压缩组件运行失败：cjpegli（退出码 1）："));
    tools.script("cjpegli", {{"output-text", "\xFF\xD8\xFFno picture"}});
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre("图片无法解码"));
    tools.remove("ssimulacra2");
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre("缺少压缩组件：ssimulacra2"));
    tools.remove("cjpegli");
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre("缺少压缩组件：cjpegli"));
}

class GIFRecipeTest : public EngineFixture {
protected:
    GIFRecipeTest() {
        tools.scores({"80"});
        tools.script("pngquant", {{"output", prepared("palette.png", paletted()).path()}});
    }
    static GIFOptions tiny() {
        GIFOptions options;
        options.width = 8;
        options.height = 8;
        return options;
    }
    /// That animation, made this many bytes larger by a comment.
    static Bytes sized(std::size_t size) {
        GIFOptions options = tiny();
        const std::size_t empty = gifBytes(options).size();
        // A comment of up to 255 bytes needs a label, a length and an end around it.
        options.comment = std::string(size - empty - 4, 'c');
        EXPECT_EQ(gifBytes(options).size(), size);
        return gifBytes(options);
    }
    static Bytes paletted() {
        return pngBytes(
            {.color = PNGColor::palette, .palette = std::vector<Pixel>(256, Pixel{9, 9, 9, 255})});
    }
    void gifsicleMakes(const Bytes& gif) const {
        tools.script("gifsicle", {{"output", prepared("out.gif", gif).path()}});
    }

    const std::size_t bytes = (gifBytes(tiny()).size() + 120) / 100 * 100 + 100;
    const URL original = picture("a.gif", sized(bytes));
    const Words ownPasses = {"Gifsicle -O3", "Gifsicle lossy12", "Gifsicle lossy8", "Gifsicle lossy4",
                             "Gifsicle 128 colors"};
    const Words sharedPasses = {"pngquant GIF 128 colors", "pngquant GIF 128 colors + Gifsicle lossy4",
                                "pngquant GIF 192 colors", "pngquant GIF 192 colors + Gifsicle lossy4",
                                "pngquant GIF 255 colors", "pngquant GIF 255 colors + Gifsicle lossy4"};
    static Words withSize(Words labels, std::size_t size) {
        for (std::string& label : labels) {
            label += " " + text(size);
        }
        return labels;
    }
};

TEST_F(GIFRecipeTest, StopsBeforeSharedPalettesOnceBelowNineTenths) {
    gifsicleMakes(sized(bytes * 9 / 10 - 1));
    const Workshop workshop(original, tools);
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAreArray(withSize(ownPasses, bytes * 9 / 10 - 1)));
    const auto work = [&](const char* name) { return workshop.folder / name; };
    EXPECT_THAT(tools.runs("gifsicle"),
                UnorderedElementsAre(ToolArguments::gifsicleLossless(original, work("optimized.gif")),
                                     ToolArguments::gifsicleLossy(12, original, work("lossy-12.gif")),
                                     ToolArguments::gifsicleLossy(8, original, work("lossy-8.gif")),
                                     ToolArguments::gifsicleLossy(4, original, work("lossy-4.gif")),
                                     ToolArguments::gifsicleColors(128, 4, original, work("palette.gif"))));
}

TEST_F(GIFRecipeTest, TriesSharedPalettesFromNineTenthsOn) {
    gifsicleMakes(sized(bytes * 9 / 10));
    const Workshop workshop(original, tools);
    EXPECT_THAT(workshop.outcome(gifCandidates),
                ElementsAreArray(withSize(join(ownPasses, sharedPasses), bytes * 9 / 10)));
    const auto work = [&](const char* name) { return workshop.folder / name; };
    EXPECT_THAT(tools.runs("pngquant"), Contains(ToolArguments::pngquantPalette(192, work("gif-contact.png"),
                                                                                work("gif-map-192.png"))));
    EXPECT_THAT(tools.runs("gifsicle"),
                Contains(ToolArguments::gifsicleColorMap(work("gif-map-192.gif"), 0, original,
                                                         work("lossy0/shared-192.gif"))));
    EXPECT_THAT(tools.runs("gifsicle"),
                Contains(ToolArguments::gifsicleColorMap(work("gif-map-192.gif"), 4, original,
                                                         work("lossy4/shared-192.gif"))));
}

TEST_F(GIFRecipeTest, RunsItsPassesAtOnceAndOneByOneWithTheSameEnd) {
    gifsicleMakes(sized(bytes * 9 / 10));
    const Words expected = withSize(join(ownPasses, sharedPasses), bytes * 9 / 10);
    EXPECT_THAT(Workshop(original, tools, 1).outcome(gifCandidates), ElementsAreArray(expected));

    // Each of two passes waits until the other one runs.
    const auto meet = [&](const char* output, const char* own, const char* other) {
        tools.scriptFor(output, "gifsicle",
                        {{"append", (home / own).path(), "x"},
                         {"wait-for", (home / other).path()},
                         {"output", prepared("out.gif", sized(bytes * 9 / 10)).path()}});
    };
    meet("optimized.gif", "a", "b");
    meet("palette.gif", "b", "a");
    meet("lossy4/shared-128.gif", "c", "d");
    meet("lossy0/shared-255.gif", "d", "c");
    EXPECT_THAT(Workshop(original, tools).outcome(gifCandidates), ElementsAreArray(expected));
}

TEST_F(GIFRecipeTest, TellsTheFirstFailureInTheOrderOfThePassesAndEndsTheRest) {
    gifsicleMakes(sized(bytes));
    tools.scriptFor("lossy-12.gif", "gifsicle",
                    {{"wait-for", (home / "failed").path()}, {"error", "first"}, {"status", "1"}});
    tools.scriptFor("lossy-8.gif", "gifsicle", {{"hang"}});
    tools.scriptFor("lossy-4.gif", "gifsicle",
                    {{"append", (home / "failed").path(), "x"}, {"error", "second"}, {"status", "1"}});
    tools.scriptFor("palette.gif", "gifsicle", {{"hang"}});
    const Workshop workshop(original, tools);
    EXPECT_THAT(workshop.outcome(gifCandidates),
                ElementsAre("压缩组件运行失败：gifsicle（退出码 1）：first"));
}

TEST_F(GIFRecipeTest, DoesWithoutPngquantButNotWithoutTheOthers) {
    gifsicleMakes(sized(bytes));
    tools.remove("pngquant");
    const Workshop workshop(original, tools);
    EXPECT_THAT(workshop.outcome(gifCandidates), SizeIs(0));
    EXPECT_THAT(tools.runs("gifsicle"), SizeIs(5));
    tools.script("gifsicle", {{"status", "1"}});
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre("压缩组件运行失败：gifsicle（退出码 1）："));
    tools.remove("ssimulacra2");
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre("缺少压缩组件：ssimulacra2"));
    tools.remove("gifsicle");
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre("缺少压缩组件：gifsicle"));
}

TEST_F(GIFRecipeTest, FailsWhenAPaletteCannotBeMade) {
    gifsicleMakes(sized(bytes));
    const Workshop workshop(original, tools);
    tools.script("pngquant", {{"status", "98"}});
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre("压缩组件运行失败：pngquant（退出码 98）："));
    tools.script("pngquant", {{"output", prepared("grey.png", pngBytes({})).path()}});
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre("图片无法解码"));
}

} // namespace
} // namespace tarnwick::test
