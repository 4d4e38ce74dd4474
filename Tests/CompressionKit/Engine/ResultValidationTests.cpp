#include "Engine/ResultValidation.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileVersion.h"
#include "ImageIO/ImageDestination.h"
#include "Support/EngineFixture.h"

#include <gmock/gmock.h>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using Options = ResultValidation::Options;

constexpr Options lossy = {.isLossy = true};

class ResultValidationTest : public EngineFixture {
protected:
    /// "no", "yes" and the score, or the error for the fixture as an output.
    static std::string verdict(const Workshop& workshop, const std::string& fixture, const Options& options) {
        return verdictOn(workshop, copyPicture(fixture, workshop.folder / fixture), options);
    }
    static std::string verdictOn(const Workshop& workshop, const URL& url, const Options& options) {
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

    const std::string incompatible = "压缩结果的尺寸、方向、帧信息或色彩配置与原图不一致";
};

TEST_F(ResultValidationTest, RejectsLargerOutputsByDefault) {
    const Workshop workshop(original("photo-small.png"), tools);
    EXPECT_EQ(verdictOn(workshop, workshop.folder.file("empty.png", ""), {.acceptLarger = true}), "no");
    EXPECT_EQ(verdict(workshop, "photo-small.png", {}), "no");
    EXPECT_EQ(verdict(workshop, "photo.png", {}), "no");
    EXPECT_EQ(verdict(workshop, "photo.png", {.acceptLarger = true}), "yes");
    EXPECT_EQ(verdict(Workshop(original("photo.png"), tools), "photo-small.png", {}), "yes");
    EXPECT_EQ(scorerRuns(), 0U);
}

TEST_F(ResultValidationTest, FailsForAnotherStructure) {
    const Workshop png(pictures.file("a.png", pictureText("photo.png") + std::string(9'000, ' ')), tools);
    for (const char* fixture : {"upright.png", "gamma-1.png", "animated.png"}) {
        EXPECT_EQ(verdict(png, fixture, lossy), incompatible) << fixture;
    }
    const std::string small = pictureText("photo-small.png");
    const URL cut = png.folder.file("cut.png", small.substr(0, small.size() - 20));
    EXPECT_EQ(verdictOn(png, cut, lossy), "图片无法解码");
    EXPECT_EQ(verdict(png, "jpeg.png", lossy), "文件格式与扩展名不一致");
    EXPECT_EQ(verdict(Workshop(original("noise-turned.jpg"), tools), "noise-small.jpg", lossy), incompatible);
    EXPECT_EQ(scorerRuns(), 0U);
}

TEST_F(ResultValidationTest, AllowsOnlyAQuantizedDisplayP3PictureToBecomeSRGB) {
    tools.scores({"90"});
    const Workshop wide(original("cicp-p3.png"), tools);
    EXPECT_EQ(verdict(wide, "photo-small.png", {.isLossy = true, .allowsSRGBConversion = true}),
              "yes 90.000000");
    EXPECT_EQ(verdict(wide, "photo-small.png", lossy), incompatible);
}

TEST_F(ResultValidationTest, AcceptsOnlyAFiniteNumberAsAScore) {
    const Workshop workshop(original("photo.png"), tools);
    for (const char* text : {"", "\n", "nan", "-inf", "inf", "1e999", "score", "70.0 x", "70,5", "0x50"}) {
        tools.script("ssimulacra2", {{"print", text}});
        EXPECT_EQ(verdict(workshop, "photo-small.png", lossy),
                  "压缩组件运行失败：ssimulacra2 未返回有效画质评分")
            << text;
    }
    for (const auto& [text, expected] : {std::pair(" 70.0\n", "yes 70.000000"),
                                         {"69.9999999", "no"},
                                         {"-12.5", "no"},
                                         {"1e2", "yes 100.000000"}}) {
        tools.script("ssimulacra2", {{"print", text}});
        EXPECT_EQ(verdict(workshop, "photo-small.png", lossy), expected) << text;
    }
    EXPECT_THAT(tools.runs("ssimulacra2").back(),
                ElementsAre(workshop.original.url.path(), (workshop.folder / "photo-small.png").path()));
}

TEST_F(ResultValidationTest, UsesTheThresholdOfTheKindOrTheGivenOne) {
    const Workshop jpeg(original("noise.jpg"), tools);
    const auto withScore = [&](const char* score, const Options& options) {
        tools.script("ssimulacra2", {{"print", score}});
        return verdict(jpeg, "noise-small.jpg", options).substr(0, 3);
    };
    EXPECT_EQ(withScore("60", lossy), "yes");
    EXPECT_EQ(withScore("59.99", lossy), "no");
    EXPECT_EQ(withScore("85.99", {.isLossy = true, .minimumScore = 86}), "no");
    EXPECT_EQ(withScore("86", {.isLossy = true, .minimumScore = 86}), "yes");
}

TEST_F(ResultValidationTest, KeepsTransparencyWhateverTheScore) {
    tools.scores({"100"});
    const Workshop workshop(original("translucent.png"), tools);
    const URL other = workshop.folder / "other.png";
    ImageDestination destination(other, {.width = 32, .height = 24, .hasAlpha = true, .profile = {}});
    destination.writeRows(std::vector<std::uint8_t>(std::size_t{32} * 24 * 4, 128));
    destination.commit();
    EXPECT_EQ(verdictOn(workshop, other, lossy), "no");
    EXPECT_EQ(verdictOn(workshop, other, {}), "no");
    EXPECT_EQ(verdict(workshop, "photo-small.png", lossy), "no") << "the transparency is lost";
    EXPECT_EQ(scorerRuns(), 0U);
    EXPECT_EQ(verdict(workshop, "translucent-small.png", {}), "yes");
    EXPECT_EQ(verdict(workshop, "translucent-small.png", lossy), "yes 100.000000");
    const Workshop opaque(original("photo.png"), tools);
    EXPECT_EQ(verdict(opaque, "translucent-small.png", lossy), "no") << "the transparency is new";
}

TEST_F(ResultValidationTest, DemandsEqualFramesOfALosslessAnimation) {
    const Workshop workshop(original("animation-3.gif"), tools);
    EXPECT_EQ(verdict(workshop, "animation-3-small.gif", {}), "yes");
    EXPECT_EQ(verdict(workshop, "animation-3-changed.gif", {}), "no");
    EXPECT_EQ(verdict(workshop, "animation-3-slower.gif", {}), incompatible);
    EXPECT_EQ(verdict(workshop, "animation-2-small.gif", {}), incompatible);
}

TEST_F(ResultValidationTest, ScoresAnAnimationByItsWorstFrame) {
    const Workshop workshop(original("animation-5.gif"), tools);
    const auto verdictFor = [&](const std::vector<std::string>& scores) {
        tools.scores(scores);
        return verdict(workshop, "animation-5-changed.gif", lossy);
    };
    EXPECT_EQ(verdictFor({"69.9", "80"}), "no");
    EXPECT_EQ(scorerRuns(), 1U) << "equal frames and those after the first bad one are not scored";
    const auto reference = FileVersion::of(workshop.folder / "gif-reference/frame-0.png");
    EXPECT_EQ(verdictFor({"90", "69.9"}), "no");
    EXPECT_EQ(verdictFor({"90", "70"}), "yes 70.000000");
    EXPECT_EQ(verdictFor({"70.5", "90"}), "yes 70.500000");
    EXPECT_EQ(verdictFor({"101.5"}), "yes 100.000000");
    tools.scores({"0"});
    EXPECT_EQ(verdict(workshop, "animation-5-small.gif", lossy), "yes 100.000000") << "the same frames";
    EXPECT_EQ(FileVersion::of(workshop.folder / "gif-reference/frame-0.png"), reference) << "written once";
    EXPECT_EQ(workshop.folder.listing(), "animation-5-changed.gif animation-5-small.gif gif-reference")
        << "the candidates' frames are removed";
}

TEST_F(ResultValidationTest, RejectsNewTransparencyWithoutScoring) {
    tools.scores({"100"});
    const Workshop workshop(original("animation-2.gif"), tools);
    const std::string holes = pictureText("animation-2-holes-small.gif");
    ASSERT_LT(holes.size(), workshop.original.bytes);
    EXPECT_EQ(verdict(workshop, "animation-2-holes-small.gif", lossy), "no");
    EXPECT_EQ(scorerRuns(), 0U);
    const Workshop holed(original("animation-2-holes.gif"), tools);
    EXPECT_EQ(verdict(holed, "animation-2-holes-small.gif", lossy), "yes 100.000000");
}

} // namespace
} // namespace tarnwick::test
