#include "Engine/Recipes.h"
#include "Engine/ToolArguments.h"
#include "Support/EngineFixture.h"

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
using testing::UnorderedElementsAreArray;
using Words = std::vector<std::string>;

class PNGRecipeTest : public EngineFixture {
protected:
    const std::string small = pictureText("photo-small.png");
    const URL photo = original("photo.png");
};

TEST_F(PNGRecipeTest, QuantizesOptimizesTheSmallestAndTriesLossless) {
    struct Row {
        /// Each output and its size; runs with other outputs fail.
        std::map<std::string, std::size_t> outputs;
        Words candidates;
        std::string winner;
        bool usesLastResort = false;
    };
    const std::vector<Row> rows = {
        {{{"quant-0", 150}, {"quant-1", 140}, {"palette-opt", 130}, {"lossless", 160}},
         {"pngquant q90 floyd1.0 s4 + OxiPNG 130", "OxiPNG 160"},
         "quant-1"},
        // The first of equal size, and what OxiPNG cannot make smaller.
        {{{"quant-0", 150}, {"quant-1", 150}, {"palette-opt", 150}, {"lossless", 150}},
         {"pngquant q90 floyd0.25 s1 150", "OxiPNG 150"},
         "quant-0"},
        {{{"quant-1", 150}, {"palette-opt", 140}, {"lossless", 160}},
         {"pngquant q90 floyd1.0 s4 + OxiPNG 140", "OxiPNG 160"},
         "quant-1"},
        {{{"quant-2", 150}, {"quant-3", 140}, {"palette-opt", 130}, {"lossless", 160}},
         {"pngquant q100 floyd0.0 s1 + OxiPNG 130", "OxiPNG 160"},
         "quant-3",
         true},
        {{{"lossless", 120}}, {"OxiPNG 120"}, "", true},
    };
    for (const Row& row : rows) {
        const FakeTools rowTools;
        rowTools.scores({"80"});
        for (const auto& [output, size] : row.outputs) {
            const URL made = home.file(output, small + std::string(size - small.size(), ' '));
            const bool isQuantized = output.starts_with("quant");
            rowTools.scriptFor(output + ".png", isQuantized ? "pngquant" : "oxipng",
                               {{"output", made.path()}});
        }
        const Workshop workshop(photo, rowTools);
        EXPECT_EQ(workshop.outcome(pngCandidates), row.candidates);
        const auto work = [&](const std::string& name) { return workshop.folder / (name + ".png"); };
        std::vector<Words> quantized = {ToolArguments::pngquant({90, "0.25", 1}, photo, work("quant-0")),
                                        ToolArguments::pngquant({90, "1.0", 4}, photo, work("quant-1")),
                                        ToolArguments::pngquant({100, "1.0", 1}, photo, work("quant-2")),
                                        ToolArguments::pngquant({100, "0.0", 1}, photo, work("quant-3"))};
        quantized.resize(row.usesLastResort ? 4 : 2);
        EXPECT_THAT(rowTools.runs("pngquant"), UnorderedElementsAreArray(quantized));
        std::vector<Words> optimized = {ToolArguments::oxipng(2, photo, work("lossless"))};
        if (!row.winner.empty()) {
            optimized.push_back(ToolArguments::oxipng(4, work(row.winner), work("palette-opt")));
        }
        EXPECT_THAT(rowTools.runs("oxipng"), UnorderedElementsAreArray(optimized));
    }
}

TEST_F(PNGRecipeTest, ASettingThatFailsLosesOnlyItsCandidate) {
    tools.scriptFor("quant-0.png", "pngquant", {{"status", "99"}});
    tools.scriptFor("quant-1.png", "pngquant", {{"output", picture("upright.png").path()}});
    tools.scriptFor("quant-2.png", "pngquant", {{"output-text", "no picture"}});
    tools.scriptFor("quant-3.png", "pngquant", {});
    const Workshop workshop(photo, tools);
    const auto onlyLossless = ElementsAre("OxiPNG " + std::to_string(small.size()));
    EXPECT_THAT(workshop.outcome(pngCandidates), onlyLossless);
    EXPECT_THAT(tools.runs("pngquant"), SizeIs(4));
    for (const char* output : {"quant-0.png", "quant-1.png", "quant-2.png", "quant-3.png"}) {
        tools.scriptFor(output, "pngquant", {{"output", picture("photo-small.png").path()}});
    }
    tools.scores({"no score"});
    EXPECT_THAT(workshop.outcome(pngCandidates), onlyLossless);

    tools.remove("pngquant");
    const URL program = tools.folder().appending("pngquant");
    writeFile(program, Bytes{'?'});
    ::chmod(program.c_str(), 0755);
    EXPECT_THAT(workshop.outcome(pngCandidates), onlyLossless) << "it cannot be launched";
}

TEST_F(PNGRecipeTest, FailsForMissingToolsAndForOxiPNG) {
    const Workshop workshop(photo, tools);
    tools.script("oxipng", {{"error", "broken"}, {"status", "2"}});
    EXPECT_THAT(workshop.outcome(pngCandidates), ElementsAre(HasSubstr("oxipng（退出码 2）：broken")));
    tools.script("oxipng", {{"output-text", "no picture"}});
    EXPECT_THAT(workshop.outcome(pngCandidates), ElementsAre("图片无法解码"));
    const std::size_t runs = tools.runs().size();
    for (const char* tool : {"ssimulacra2", "oxipng", "pngquant"}) {
        tools.remove(tool);
        EXPECT_THAT(workshop.outcome(pngCandidates), ElementsAre(std::string("缺少压缩组件：") + tool));
    }
    EXPECT_THAT(tools.runs(), SizeIs(runs)) << "nothing runs when a tool is missing";
}

TEST_F(PNGRecipeTest, KeepsItsLosslessPassWhereTheScorerNeedsTooMuchMemory) {
    const URL large = original("large.png");
    tools.script("oxipng", {{"output", picture("large-small.png").path()}});
    EXPECT_THAT(Workshop(large, tools, 8, 30 << 20).outcome(pngCandidates),
                ElementsAre(HasSubstr("OxiPNG ")));
    EXPECT_THAT(tools.runs(), SizeIs(1)) << "what cannot be judged is not made";
    EXPECT_THAT(Workshop(large, tools, 8, 1 << 20).outcome(pngCandidates),
                ElementsAre(HasSubstr("内存不足")));
    tools.script("cjpegli", {});
    const URL photograph = original("noise.jpg");
    EXPECT_THAT(Workshop(photograph, tools, 8, 1 << 20).outcome(jpegCandidates),
                ElementsAre("内存不足：压缩这张图片约需 0.0 GB，这台电脑最多能提供 0.0 GB"));
    EXPECT_THAT(tools.runs(), SizeIs(1));
}

class JPEGRecipeTest : public EngineFixture {
protected:
    JPEGRecipeTest() { tools.script("cjpegli", {{"output", picture("photo-small.jpg").path()}}); }

    /// The qualities that were tried with the chroma mode 420.
    std::string tried() const {
        std::string all;
        for (const auto& arguments : tools.runs("cjpegli")) {
            EXPECT_EQ(arguments.at(3), "--chroma_subsampling=420");
            all += arguments.at(2).substr(9);
        }
        return all;
    }
};

TEST_F(JPEGRecipeTest, SearchesTheLowestQualityThatIsGoodEnough) {
    struct Walk {
        Words scores;
        std::string tried;
        std::size_t accepted;
    };
    const std::vector<Walk> walks = {
        {{"60"}, "=72", 1},                            // close enough at once
        {{"61"}, "=72", 1},                            // just
        {{"61.1", "60.5"}, "=72=71", 2},               // a step of at least 1
        {{"65", "63", "60.2"}, "=72=66=63", 3},        // 1.2 a point, truncated
        {{"90", "80"}, "=72=60", 2},                   // 12 at most, to the lowest quality
        {{"65", "59", "60"}, "=72=66=69", 2},          // the midpoint
        {{"50", "50", "50", "50"}, "=72=84=90=96", 0}, // the last is the highest
        {{"50", "62", "50", "61.5"}, "=72=84=82=83", 2},
        {{"62", "59.9"}, "=72=70=71", 1},
    };
    const Workshop workshop(original("noise.jpg"), tools);
    for (const Walk& walk : walks) {
        const std::string before = tried();
        tools.scores(walk.scores);
        EXPECT_THAT(workshop.outcome(jpegCandidates), SizeIs(walk.accepted));
        EXPECT_EQ(tried(), before + walk.tried);
    }
}

TEST_F(JPEGRecipeTest, DemandsMoreForAFineOriginalAndTriesBothChromaModes) {
    for (const auto& [output, score] : std::map<std::string, std::string>{
             {"420/jpegli-72", "85.9"}, {"420/jpegli-84", "86.2"}, {"444/jpegli-72", "86.5"}}) {
        tools.scriptFor(output, "ssimulacra2", {{"print", score}});
    }
    const Workshop workshop(original("noise-fine.jpg"), tools);
    EXPECT_THAT(workshop.outcome(jpegCandidates),
                ElementsAre(HasSubstr("Jpegli q84 420 "), HasSubstr("Jpegli q72 444 ")));
    const auto run = [&](int quality, const std::string& mode) {
        const std::string output = mode + "/jpegli-" + std::to_string(quality) + ".jpg";
        return ToolArguments::cjpegli(quality, mode, workshop.original.url, workshop.folder / output);
    };
    EXPECT_THAT(tools.runs("cjpegli"), UnorderedElementsAre(run(72, "420"), run(84, "420"), run(72, "444")));
}

TEST_F(JPEGRecipeTest, DemandsLessForAFineOriginalWithSeveralPictures) {
    // The index in a fixture of two pictures, taken over to one with fine quantization.
    const std::string two = pictureText("two-pictures.jpg");
    const std::string fine = pictureText("noise-fine.jpg");
    const std::size_t start = two.find("MPF") - 4;
    const std::string index = two.substr(start, two.find("\xFF\xE0") - start);
    tools.scores({"69.9", "70"});
    const Workshop workshop(pictures.file("a.jpg", fine.substr(0, 2) + index + fine.substr(2)), tools);
    ASSERT_TRUE(workshop.original.facts.hasJPEGMultiPictureData);
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre(HasSubstr("Jpegli q84 420 ")));
    EXPECT_EQ(tried(), "=72=84");
}

TEST_F(JPEGRecipeTest, KeepsTheOrientationThatTheEncoderDrops) {
    tools.scores({"60"});
    const Workshop workshop(original("noise-turned.jpg"), tools);
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre(HasSubstr("Jpegli q72 420 ")));
    EXPECT_EQ(ImageFacts::inspect(workshop.folder / "420/jpegli-72.jpg").orientation, 6);
}

TEST_F(JPEGRecipeTest, FailsWithItsTools) {
    const Workshop workshop(original("noise.jpg"), tools);
    tools.scores({"none"});
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre(HasSubstr("ssimulacra2")));
    tools.script("cjpegli", {{"status", "1"}});
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre(HasSubstr("cjpegli（退出码 1）")));
    tools.script("cjpegli", {{"output-text", "\xFF\xD8\xFFno picture"}});
    EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre("图片无法解码"));
    for (const char* tool : {"ssimulacra2", "cjpegli"}) {
        tools.remove(tool);
        EXPECT_THAT(workshop.outcome(jpegCandidates), ElementsAre(std::string("缺少压缩组件：") + tool));
    }
}

class GIFRecipeTest : public EngineFixture {
protected:
    GIFRecipeTest() {
        tools.scores({"80"});
        tools.script("pngquant", {{"output", picture("palette-8.png").path()}});
    }
    /// The animation with padding up to this size.
    static std::string sized(std::size_t size) {
        const std::string small = pictureText("animation-2-small.gif");
        return small + std::string(size - small.size(), ' ');
    }
    std::string output(std::size_t size) const { return home.file("out.gif", sized(size)).path(); }
    void gifsicleMakes(std::size_t size) const { tools.script("gifsicle", {{"output", output(size)}}); }
    /// The candidates of the first passes, each of this size.
    static Words candidates(std::size_t count, std::size_t size) {
        Words all = {"Gifsicle -O3", "Gifsicle lossy12", "Gifsicle lossy8", "Gifsicle lossy4",
                     "Gifsicle 128 colors"};
        for (const std::string colors : {"128", "192", "255"}) {
            const std::string shared = "pngquant GIF " + colors + " colors";
            all.insert(all.end(), {shared, shared + " + Gifsicle lossy4"});
        }
        all.resize(count);
        for (std::string& label : all) {
            label += " " + std::to_string(size);
        }
        return all;
    }

    static constexpr std::size_t bytes = 1'000;
    const URL animation = pictures.file("a.gif", sized(bytes));
};

TEST_F(GIFRecipeTest, DoesNotTrySharedPalettesBelowNineTenths) {
    gifsicleMakes(bytes * 9 / 10 - 1);
    const Workshop workshop(animation, tools);
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAreArray(candidates(5, bytes * 9 / 10 - 1)));
    const auto work = [&](const char* name) { return workshop.folder / name; };
    EXPECT_THAT(tools.runs("gifsicle"),
                UnorderedElementsAre(ToolArguments::gifsicleLossless(animation, work("optimized.gif")),
                                     ToolArguments::gifsicleLossy(12, animation, work("lossy-12.gif")),
                                     ToolArguments::gifsicleLossy(8, animation, work("lossy-8.gif")),
                                     ToolArguments::gifsicleLossy(4, animation, work("lossy-4.gif")),
                                     ToolArguments::gifsicleColors(128, 4, animation, work("palette.gif"))));
}

TEST_F(GIFRecipeTest, TriesSharedPalettesFromNineTenthsOnInParallelOrNot) {
    gifsicleMakes(bytes * 9 / 10);
    const Words expected = candidates(11, bytes * 9 / 10);
    EXPECT_THAT(Workshop(animation, tools, 1).outcome(gifCandidates), ElementsAreArray(expected));

    // In each of two pairs, both runs wait until the other one has started.
    const auto meet = [&](const char* name, const char* own, const char* other) {
        tools.scriptFor(name, "gifsicle",
                        {{"append", (home / own).path(), "x"},
                         {"wait-for", (home / other).path()},
                         {"output", output(bytes * 9 / 10)}});
    };
    meet("optimized.gif", "a", "b");
    meet("palette.gif", "b", "a");
    meet("lossy4/shared-128.gif", "c", "d");
    meet("lossy0/shared-255.gif", "d", "c");
    const Workshop workshop(animation, tools);
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAreArray(expected));
    const auto work = [&](const char* name) { return workshop.folder / name; };
    EXPECT_THAT(tools.runs("pngquant"), Contains(ToolArguments::pngquantPalette(192, work("gif-contact.png"),
                                                                                work("gif-map-192.png"))));
    for (const int level : {0, 4}) {
        const std::string name = "lossy" + std::to_string(level) + "/shared-192.gif";
        EXPECT_THAT(tools.runs("gifsicle"),
                    Contains(ToolArguments::gifsicleColorMap(work("gif-map-192.gif"), level, animation,
                                                             work(name.c_str()))));
    }
}

TEST_F(GIFRecipeTest, ReportsTheFirstFailureInTheOrderOfThePassesAndStopsTheRest) {
    gifsicleMakes(bytes);
    tools.scriptFor("lossy-12.gif", "gifsicle",
                    {{"wait-for", (home / "failed").path()}, {"error", "first"}, {"status", "1"}});
    tools.scriptFor("lossy-8.gif", "gifsicle", {{"hang"}});
    tools.scriptFor("lossy-4.gif", "gifsicle",
                    {{"append", (home / "failed").path(), "x"}, {"error", "second"}, {"status", "1"}});
    tools.scriptFor("palette.gif", "gifsicle", {{"hang"}});
    const Workshop workshop(animation, tools);
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre(HasSubstr("gifsicle（退出码 1）：first")));
}

TEST_F(GIFRecipeTest, NeedsAllToolsButPngquantAndFailsWithThem) {
    gifsicleMakes(bytes);
    const Workshop workshop(animation, tools);
    tools.script("pngquant", {{"status", "98"}});
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre(HasSubstr("pngquant（退出码 98）")));
    tools.script("pngquant", {{"output", picture("grey-8.png").path()}});
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre("图片无法解码")) << "there is no palette";
    tools.remove("pngquant");
    EXPECT_THAT(workshop.outcome(gifCandidates), SizeIs(0));
    tools.script("gifsicle", {{"status", "1"}});
    EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre(HasSubstr("gifsicle（退出码 1）")));
    for (const char* tool : {"ssimulacra2", "gifsicle"}) {
        tools.remove(tool);
        EXPECT_THAT(workshop.outcome(gifCandidates), ElementsAre(std::string("缺少压缩组件：") + tool));
    }
}

} // namespace
} // namespace tarnwick::test
