#include "Engine/ResultValidation.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileVersion.h"
#include "Support/EngineFixture.h"
#include "Support/GIFMaker.h"
#include "Support/JPEGMaker.h"
#include "Support/PNGMaker.h"

#include <gmock/gmock.h>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using Options = ResultValidation::Options;

constexpr Options lossy = {.isLossy = true};

class ResultValidationTest : public EngineFixture {
protected:
    /// "no", or "yes" and the score, or the failure.
    static std::string verdict(const Workshop& workshop, const std::string& name, const Bytes& output,
                               const Options& options) {
        const URL url =
            workshop.folder.file(name, {reinterpret_cast<const char*>(output.data()), output.size()});
        try {
            const auto candidate = workshop.validation.validated(url, "label", options);
            if (!candidate) {
                return "no";
            }
            EXPECT_EQ(candidate->encoder, "label");
            EXPECT_EQ(candidate->bytes, fileSize(url));
            return candidate->score ? "yes " + std::to_string(*candidate->score) : "yes";
        } catch (const CompressionError& error) {
            return error.errorDescription();
        }
    }
    std::size_t scorerRuns() const { return tools.runs("ssimulacra2").size(); }

    const Bytes small = pngBytes({.compressionLevel = 9});
    const std::string incompatible = "压缩结果的尺寸、方向、帧信息或色彩配置与原图不一致";
};

TEST_F(ResultValidationTest, RefusesWhatIsNotSmallerUnlessAsked) {
    const Workshop workshop(picture("a.png", small), tools);
    const Bytes larger = pngBytes({.compressionLevel = 0});
    EXPECT_EQ(verdict(workshop, "empty.png", {}, {.acceptLarger = true}), "no");
    EXPECT_EQ(verdict(workshop, "equal.png", small, {}), "no");
    EXPECT_EQ(verdict(workshop, "larger.png", larger, {}), "no");
    EXPECT_EQ(verdict(workshop, "larger.png", larger, {.acceptLarger = true}), "yes");
    const Workshop roomy(picture("b.png", larger), tools);
    EXPECT_EQ(verdict(roomy, "smaller.png", small, {}), "yes");
    EXPECT_EQ(scorerRuns(), 0U);
}

TEST_F(ResultValidationTest, FailsForAnotherStructure) {
    const Workshop png(picture("a.png", pngBytes({.compressionLevel = 0})), tools);
    EXPECT_EQ(verdict(png, "size.png", pngBytes({.width = 24, .height = 32}), lossy), incompatible);
    EXPECT_EQ(verdict(png, "profile.png", pngBytes({.gamma = 100'000}), lossy), incompatible);
    EXPECT_EQ(verdict(png, "frames.png", pngBytes({.width = 8, .height = 8, .animationFrames = 2}), lossy),
              incompatible);
    EXPECT_EQ(verdict(png, "cut.png", Bytes(small.begin(), small.end() - 20), lossy), "图片无法解码");
    EXPECT_EQ(verdict(png, "other.png", jpegBytes({.quality = 10}), lossy), "文件格式与扩展名不一致");
    const Workshop jpeg(picture("a.jpg", jpegBytes({.pattern = noise, .quality = 95, .orientation = 6})),
                        tools);
    EXPECT_EQ(verdict(jpeg, "upright.jpg", jpegBytes({.quality = 50}), lossy), incompatible);
    EXPECT_EQ(scorerRuns(), 0U);
}

TEST_F(ResultValidationTest, LetsOnlyAQuantizedDisplayP3PictureBecomeSRGB) {
    tools.scores({"90"});
    const CodePoints displayP3 = {.primaries = 12, .transfer = 13, .matrix = 0};
    const Workshop wide(picture("a.png", pngBytes({.codePoints = displayP3, .compressionLevel = 0})), tools);
    EXPECT_EQ(verdict(wide, "b.png", small, {.isLossy = true, .allowsSRGBConversion = true}),
              "yes 90.000000");
    EXPECT_EQ(verdict(wide, "b.png", small, lossy), incompatible);
}

TEST_F(ResultValidationTest, TakesOnlyANumberForAScore) {
    const Workshop workshop(picture("a.png", pngBytes({.compressionLevel = 0})), tools);
    for (const char* text : {"", "\n", "nan", "-inf", "inf", "1e999", "score", "70.0 x", "70,5", "0x50"}) {
        tools.script("ssimulacra2", {{"print", text}});
        EXPECT_EQ(verdict(workshop, "b.png", small, lossy),
                  "压缩组件运行失败：ssimulacra2 未返回有效画质评分")
            << text;
    }
    for (const auto& [text, expected] : {std::pair(" 70.0\n", "yes 70.000000"),
                                         {"69.9999999", "no"},
                                         {"-12.5", "no"},
                                         {"1e2", "yes 100.000000"}}) {
        tools.script("ssimulacra2", {{"print", text}});
        EXPECT_EQ(verdict(workshop, "b.png", small, lossy), expected) << text;
    }
    EXPECT_THAT(tools.runs("ssimulacra2").back(),
                ElementsAre(workshop.original.url.path(), (workshop.folder / "b.png").path()));
}

TEST_F(ResultValidationTest, HoldsEachKindToItsThresholdOrTheGivenOne) {
    const Workshop jpeg(picture("a.jpg", jpegBytes({.pattern = noise, .quality = 95})), tools);
    const Bytes output = jpegBytes({.quality = 50});
    const auto withScore = [&](const char* score, const Options& options) {
        tools.script("ssimulacra2", {{"print", score}});
        return verdict(jpeg, "b.jpg", output, options).substr(0, 3);
    };
    EXPECT_EQ(withScore("60", lossy), "yes");
    EXPECT_EQ(withScore("59.99", lossy), "no");
    EXPECT_EQ(withScore("85.99", {.isLossy = true, .minimumScore = 86}), "no");
    EXPECT_EQ(withScore("86", {.isLossy = true, .minimumScore = 86}), "yes");
}

TEST_F(ResultValidationTest, KeepsTransparencyWhateverTheScore) {
    tools.scores({"100"});
    const auto shifted = [](std::int64_t x, std::int64_t y) {
        Pixel pixel = translucentGradient(x, y);
        pixel.alpha = static_cast<std::uint8_t>(pixel.alpha / 2);
        return pixel;
    };
    const auto png = [](const Pattern& pattern, int level) {
        return pngBytes({.color = PNGColor::rgba, .pattern = pattern, .compressionLevel = level});
    };
    const Workshop workshop(picture("a.png", png(translucentGradient, 0)), tools);
    EXPECT_EQ(verdict(workshop, "b.png", png(shifted, 9), lossy), "no");
    EXPECT_EQ(verdict(workshop, "b.png", png(shifted, 9), {}), "no");
    EXPECT_EQ(verdict(workshop, "b.png", small, lossy), "no") << "the transparency is gone";
    EXPECT_EQ(scorerRuns(), 0U);
    EXPECT_EQ(verdict(workshop, "b.png", png(translucentGradient, 9), {}), "yes");
    EXPECT_EQ(verdict(workshop, "b.png", png(translucentGradient, 9), lossy), "yes 100.000000");
    const Workshop opaque(picture("c.png", pngBytes({.compressionLevel = 0})), tools);
    const auto veiled = [](std::int64_t, std::int64_t) { return Pixel{1, 2, 3, 128}; };
    EXPECT_EQ(verdict(opaque, "d.png", png(veiled, 9), lossy), "no") << "transparency is new";
}

GIFOptions animation(int frames, std::size_t comment = 0) {
    GIFOptions options = gifAnimation(frames, 16, 12);
    options.comment = std::string(comment, 'c');
    return options;
}

TEST_F(ResultValidationTest, WantsTheVeryFramesOfALosslessAnimation) {
    const Workshop workshop(picture("a.gif", gifBytes(animation(3, 200))), tools);
    EXPECT_EQ(verdict(workshop, "b.gif", gifBytes(animation(3)), {}), "yes");
    GIFOptions changed = animation(3);
    changed.frames.back().pattern = indexedTexture(16, 9);
    EXPECT_EQ(verdict(workshop, "b.gif", gifBytes(changed), {}), "no");
    GIFOptions slower = animation(3);
    slower.frames[1].delay = 11;
    EXPECT_EQ(verdict(workshop, "b.gif", gifBytes(slower), {}), incompatible);
    EXPECT_EQ(verdict(workshop, "b.gif", gifBytes(animation(2)), {}), incompatible);
}

TEST_F(ResultValidationTest, ScoresAnAnimationByItsWorstFrame) {
    const Workshop workshop(picture("a.gif", gifBytes(animation(5, 200))), tools);
    GIFOptions changed = animation(5);
    for (std::size_t i = 1; i < changed.frames.size(); ++i) {
        changed.frames[i].pattern = indexedTexture(16, static_cast<std::int64_t>(20 + i));
    }
    const Bytes output = gifBytes(changed);
    tools.scores({"90", "95", "69.9", "80"});
    EXPECT_EQ(verdict(workshop, "b.gif", output, lossy), "no");
    EXPECT_EQ(scorerRuns(), 3U) << "neither the first frame, which is the original's, nor the last";
    const auto reference = FileVersion::of(workshop.folder / "gif-reference/frame-0.png");
    tools.scores({"90", "95", "70", "80"});
    EXPECT_EQ(verdict(workshop, "b.gif", output, lossy), "yes 70.000000");
    tools.scores({"101.5"});
    EXPECT_EQ(verdict(workshop, "b.gif", output, lossy), "yes 100.000000");
    tools.scores({"0"});
    EXPECT_EQ(verdict(workshop, "b.gif", gifBytes(animation(5)), lossy), "yes 100.000000")
        << "the same frames";
    EXPECT_EQ(FileVersion::of(workshop.folder / "gif-reference/frame-0.png"), reference) << "made once";
    EXPECT_EQ(workshop.folder.listing(), "b.gif gif-reference") << "frames of candidates are gone";
}

TEST_F(ResultValidationTest, RefusesNewHolesWithoutScoring) {
    tools.scores({"100"});
    const Workshop workshop(picture("a.gif", gifBytes(animation(2, 200))), tools);
    GIFOptions holes = animation(2);
    for (GIFFrame& frame : holes.frames) {
        frame.transparentIndex = 3;
        frame.disposal = 2;
    }
    EXPECT_EQ(verdict(workshop, "b.gif", gifBytes(holes), lossy), "no");
    EXPECT_EQ(scorerRuns(), 0U);
    GIFOptions both = holes;
    both.comment = std::string(200, 'c');
    const Workshop holed(picture("c.gif", gifBytes(both)), tools);
    EXPECT_EQ(verdict(holed, "d.gif", gifBytes(holes), lossy), "yes 100.000000");
}

} // namespace
} // namespace tarnwick::test
