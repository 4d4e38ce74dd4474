#include "Engine/ResultValidation.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileVersion.h"
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
};

TEST_F(ResultValidationTest, JudgesEachKindByStructureSizePixelsAndScore) {
    const std::string incompatible = "压缩结果的尺寸、方向、帧信息或色彩配置与原图不一致";
    constexpr Options larger = {.acceptLarger = true};
    constexpr Options lossyOfAnySize = {.isLossy = true, .acceptLarger = true};
    constexpr Options demanding = {.isLossy = true, .minimumScore = 86};
    constexpr Options quantized = {.isLossy = true, .allowsSRGBConversion = true};
    struct Row {
        const char* original;
        const char* output;
        Options options;
        std::string verdict;
        /// Without a score, asking the scorer gives an error.
        const char* score = "not to be asked";
    };
    const std::vector<Row> rows = {
        {"photo-small.png", "photo-small.png", {}, "no"},
        {"photo-small.png", "photo.png", {}, "no"},
        {"photo-small.png", "photo.png", larger, "yes"},
        {"photo.png", "photo-small.png", {}, "yes"},
        {"photo.png", "upright.png", lossyOfAnySize, incompatible},
        {"photo.png", "gamma-1.png", lossyOfAnySize, incompatible},
        {"photo.png", "animated.png", lossyOfAnySize, incompatible},
        {"photo.png", "jpeg.png", lossyOfAnySize, "文件格式与扩展名不一致"},
        {"noise-turned.jpg", "noise-small.jpg", lossy, incompatible},
        {"cicp-p3.png", "photo-small.png", quantized, "yes 90.000000", "90"},
        {"cicp-p3.png", "photo-small.png", lossy, incompatible},
        {"noise.jpg", "noise-small.jpg", lossy, "yes 60.000000", "60"},
        {"noise.jpg", "noise-small.jpg", lossy, "no", "59.99"},
        {"noise.jpg", "noise-small.jpg", demanding, "yes 86.000000", "86"},
        {"noise.jpg", "noise-small.jpg", demanding, "no", "85.99"},
        {"photo.png", "photo-small.png", lossy, "yes 70.000000", " 70.0\n"},
        {"photo.png", "photo-small.png", lossy, "yes 100.000000", "1e2"},
        {"photo.png", "photo-small.png", lossy, "no", "69.9999999"},
        {"photo.png", "photo-small.png", lossy, "no", "-12.5"},
        // Transparency that is lost, and that is new.
        {"translucent.png", "photo-small.png", {}, "no"},
        {"translucent.png", "photo-small.png", lossy, "no"},
        {"photo.png", "translucent-small.png", lossy, "no"},
        {"translucent.png", "translucent-small.png", {}, "yes"},
        {"translucent.png", "translucent-small.png", lossy, "yes 100.000000", "100"},
        {"animation-3.gif", "animation-3-small.gif", {}, "yes"},
        {"animation-3.gif", "animation-3-changed.gif", {}, "no"},
        {"animation-3.gif", "animation-3-slower.gif", {}, incompatible},
        {"animation-3.gif", "animation-2-small.gif", {}, incompatible},
        {"animation-2.gif", "animation-2-holes-small.gif", lossy, "no"},
        {"animation-2-holes.gif", "animation-2-holes-small.gif", lossy, "yes 100.000000"},
    };
    for (const auto& [fixture, output, options, expected, score] : rows) {
        tools.script("ssimulacra2", {{"print", score}});
        const Workshop workshop(original(fixture), tools);
        EXPECT_EQ(verdict(workshop, output, options), expected) << fixture << " " << output << " " << score;
    }
    const Workshop png(original("photo.png"), tools);
    EXPECT_EQ(verdictOn(png, png.folder.file("empty.png", ""), larger), "no");
    const std::string cut = pictureText("photo-small.png").substr(0, 94);
    EXPECT_EQ(verdictOn(png, png.folder.file("cut.png", cut), lossy), "图片无法解码");
}

TEST_F(ResultValidationTest, AcceptsOnlyAFiniteNumberAsAScore) {
    const Workshop workshop(original("photo.png"), tools);
    for (const char* text : {"", "\n", "nan", "-inf", "inf", "1e999", "score", "70.0 x", "70,5", "0x50"}) {
        tools.script("ssimulacra2", {{"print", text}});
        EXPECT_EQ(verdict(workshop, "photo-small.png", lossy),
                  "压缩组件运行失败：ssimulacra2 未返回有效画质评分")
            << text;
    }
    EXPECT_THAT(tools.runs("ssimulacra2").back(),
                ElementsAre(workshop.original.url.path(), (workshop.folder / "photo-small.png").path()));
}

TEST_F(ResultValidationTest, ScoresAnAnimationByItsWorstFrame) {
    const Workshop workshop(original("animation-5.gif"), tools);
    const auto verdictFor = [&](const std::vector<std::string>& scores) {
        tools.scores(scores);
        return verdict(workshop, "animation-5-changed.gif", lossy);
    };
    EXPECT_EQ(verdictFor({"69.9", "80"}), "no");
    EXPECT_THAT(tools.runs(), testing::SizeIs(1))
        << "equal frames and those after the first bad one are not scored";
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

} // namespace
} // namespace tarnwick::test
