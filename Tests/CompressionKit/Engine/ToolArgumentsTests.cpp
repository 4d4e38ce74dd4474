#include "Engine/ToolArguments.h"

#include <gmock/gmock.h>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;

const URL input = URL::file("/pictures/-in put.png");
const URL output = URL::file("/pictures/.work/out.png");
constexpr auto in = "/pictures/-in put.png";
constexpr auto out = "/pictures/.work/out.png";

TEST(ToolArgumentsTest, QuantizesOnePictureOrASheet) {
    const QuantizeSetting setting = {.maximumQuality = 90, .dither = "0.25", .speed = 1};
    EXPECT_EQ(setting.label(), "pngquant q90 floyd0.25 s1");
    EXPECT_THAT(ToolArguments::pngquant(setting, input, output),
                ElementsAre("--quality=0-90", "--speed", "1", "--floyd=0.25", "--output", out, "--", in));
    EXPECT_THAT(
        ToolArguments::pngquantPalette(192, input, output),
        ElementsAre("192", "--quality=0-100", "--speed", "1", "--floyd=0", "--output", out, "--", in));
}

TEST(ToolArgumentsTest, EncodesScoresAndOptimizes) {
    EXPECT_THAT(ToolArguments::oxipng(4, input, output), ElementsAre("-o", "4", "--out", out, in));
    EXPECT_THAT(ToolArguments::cjpegli(72, "420", input, output),
                ElementsAre(in, out, "--quality=72", "--chroma_subsampling=420", "--quiet"));
    EXPECT_THAT(ToolArguments::ssimulacra2(input, output), ElementsAre(in, out));
}

TEST(ToolArgumentsTest, OptimizesAnimations) {
    EXPECT_THAT(ToolArguments::gifsicleLossless(input, output),
                ElementsAre("-O3", "-Okeep-empty", "--no-ignore-errors", in, "-o", out));
    EXPECT_THAT(
        ToolArguments::gifsicleLossy(12, input, output),
        ElementsAre("-O3", "-Okeep-empty", "--no-ignore-errors", "--gamma=1", "--lossy=12", in, "-o", out));
    EXPECT_THAT(ToolArguments::gifsicleColors(128, 4, input, output),
                ElementsAre("-O3", "-Okeep-empty", "--no-ignore-errors", "--gamma=1", "--lossy=4",
                            "--colors=128", "--color-method=blend-diversity", in, "-o", out));
    EXPECT_THAT(ToolArguments::gifsicleColorMap(URL::file("/map.gif"), 0, input, output),
                ElementsAre("-O3", "-Okeep-empty", "--no-ignore-errors", "--gamma=1", "--dither=none",
                            "--use-colormap", "/map.gif", "--lossy=0", in, "-o", out));
}

} // namespace
} // namespace tarnwick::test
