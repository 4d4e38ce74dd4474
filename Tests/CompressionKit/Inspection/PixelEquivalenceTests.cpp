#include "Foundation/CompressionError.h"
#include "ImageIO/ImageDestination.h"
#include "ImageIO/ImageSource.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/PixelBands.h"
#include "Support/Failure.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <numeric>
#include <tuple>
#include <vector>

namespace tarnwick::test {
namespace {

TEST(PixelBandsTest, WalksInBandsOfAboutAMebipixel) {
    using Rows = std::vector<std::int64_t>;
    for (const auto& [width, height, expected] :
         std::initializer_list<std::tuple<std::int64_t, std::int64_t, Rows>>{
             {1, 1, {1}},
             {2'000'000, 3, {1, 1, 1}},
             {1'000, 5'000, {1'048, 1'048, 1'048, 1'048, 808}},
             {0, 5, {}},
             {5, 0, {}}}) {
        Rows rows;
        for (BandWalk walk(width, height); walk.next();) {
            rows.push_back(walk.rows());
        }
        EXPECT_EQ(rows, expected);
    }
    EXPECT_TRUE(ImageLimits::areRenderable(25'000'000, 1));
    EXPECT_FALSE(ImageLimits::areRenderable(25'000'001, 1));
}

class PixelEquivalenceTest : public testing::Test {
protected:
    URL drawn(std::string_view name, std::int64_t width, const Bytes& rgba) const {
        URL url = folder / name;
        const auto height = static_cast<std::int64_t>(rgba.size()) / 4 / width;
        ImageDestination destination(url,
                                     {.width = width, .height = height, .hasAlpha = true, .profile = {}});
        destination.writeRows(rgba);
        destination.commit();
        return url;
    }
    /// Of 400 pixels the first `count` have the alpha `special`, all others `rest`.
    URL alphas(std::string_view name, int count, std::uint8_t special, std::uint8_t rest,
               std::uint8_t red = 10) const {
        Bytes rgba;
        for (int x = 0; x < 400; ++x) {
            rgba.insert(rgba.end(), {red, 20, 30, x < count ? special : rest});
        }
        return drawn(name, 400, rgba);
    }

    TemporaryFolder folder;
};

TEST_F(PixelEquivalenceTest, StopsAtTheFirstBandThatFails) {
    const URL wide = drawn("wide.png", 600'000, Bytes(7'200'000, 255));
    int bands = 0;
    EXPECT_TRUE(ImageFacts::pixelBandsEqual(wide, wide, [&](auto a, auto b) {
        ++bands;
        return a.size() == 2'400'000U && b.size() == a.size();
    }));
    EXPECT_EQ(bands, 3);
    bands = 0;
    EXPECT_FALSE(ImageFacts::pixelBandsEqual(wide, wide, [&](auto, auto) { return ++bands < 2; }));
    EXPECT_EQ(bands, 2);
}

TEST_F(PixelEquivalenceTest, ComparesPremultipliedPixels) {
    Bytes rgba(std::size_t{9} * 7 * 4);
    std::iota(rgba.begin(), rgba.end(), std::uint8_t{0});
    const URL one = drawn("one.png", 9, rgba);
    rgba.back() ^= 1U;
    EXPECT_FALSE(ImageFacts::pixelsEqual(one, drawn("last.png", 9, rgba)));
    EXPECT_TRUE(ImageFacts::pixelsEqual(drawn("a.png", 1, {1, 0, 0, 0}), drawn("b.png", 1, {9, 0, 0, 0})));
}

TEST_F(PixelEquivalenceTest, TakesEveryFailureForADifference) {
    const URL one = picture("3x5.png");
    const std::string bytes = pictureText("3x5.png");
    for (const URL& other :
         {picture("5x3.png"), drawn("narrow.png", 2, Bytes(40)), drawn("low.png", 3, Bytes(48)),
          folder.file("cut.png", bytes.substr(0, bytes.size() - 20)), folder.file("text.png", "text"),
          folder / "missing.png", folder.url()}) {
        SCOPED_TRACE(other.path());
        const auto passes = [](auto, auto) { return true; };
        EXPECT_FALSE(ImageFacts::pixelBandsEqual(one, other, passes));
        EXPECT_FALSE(ImageFacts::pixelBandsEqual(other, one, passes));
        EXPECT_FALSE(ImageFacts::quantizedAlphaWithin(one, other));
        EXPECT_FALSE(ImageFacts::gifFramesEqual(one, other));
    }
}

TEST_F(PixelEquivalenceTest, BoundsTheDeviationOfAlpha) {
    const URL reference = alphas("r.png", 1, 100, 50);
    EXPECT_TRUE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 1, 100, 50, 99), 0));
    EXPECT_FALSE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 1, 99, 50), 0));
    EXPECT_TRUE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 1, 99, 50), 1));
    EXPECT_TRUE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 1, 101, 50), 1));
}

TEST_F(PixelEquivalenceTest, JudgesQuantizedAlpha) {
    using Alpha = std::uint8_t;
    for (const auto& [what, isWithin, count, from, to, rest] :
         std::initializer_list<std::tuple<const char*, bool, int, Alpha, Alpha, Alpha>>{
             {"opaque becomes clearly translucent", false, 1, 255, 191, 255},
             {"opaque becomes slightly translucent", true, 1, 255, 192, 255},
             {"transparent becomes hardly visible", true, 1, 0, 2, 255},
             {"transparent becomes visible", false, 1, 0, 3, 255},
             {"all stay transparent", true, 1, 0, 0, 0},
             {"one of all transparent becomes visible", false, 1, 0, 2, 0},
             {"0.5 % large deviations", true, 2, 200, 233, 200},
             {"more than 0.5 % large deviations", false, 3, 200, 233, 200},
             {"32 is no large deviation", true, 3, 200, 232, 200},
             {"a mean square of 36", true, 1, 60, 180, 200},
             {"a mean square above 36", false, 1, 60, 181, 200},
             {"two of 400 become transparent", false, 2, 100, 0, 200},
             {"a mean deviation of 2, 1 % of 200", true, 400, 200, 202, 0},
             {"a shift of more than 1 %", false, 400, 199, 201, 0}}) {
        const URL candidate = alphas("c.png", count, to, rest);
        EXPECT_EQ(ImageFacts::quantizedAlphaWithin(alphas("r.png", count, from, rest), candidate), isWithin)
            << what;
    }
    const URL reference = alphas("r.png", 200, 200, 200);
    EXPECT_FALSE(ImageFacts::quantizedAlphaWithin(reference, alphas("c.png", 200, 203, 197)))
        << "a mean deviation of 3 without a shift";
}

TEST_F(PixelEquivalenceTest, ComparesEveryFrameOfAnAnimation) {
    EXPECT_TRUE(ImageFacts::gifFramesEqual(picture("animation-3.gif"), picture("animation-3-small.gif")));
    // Only the last frame of the two disposals differs.
    for (const auto& [one, other] : {std::pair("animation-3.gif", "animation-2.gif"),
                                     {"animation-2.gif", "animation-3.gif"},
                                     {"animation-3.gif", "animation-3-changed.gif"},
                                     {"disposal-none.gif", "disposal-background.gif"}}) {
        EXPECT_FALSE(ImageFacts::gifFramesEqual(picture(one), picture(other))) << one << " " << other;
    }
    std::string recoloured = pictureText("local-palettes.gif");
    recoloured.at(13) ^= '\x40';
    EXPECT_FALSE(
        ImageFacts::gifFramesEqual(picture("local-palettes.gif"), folder.file("first.gif", recoloured)))
        << "only the first frame differs";
}

TEST_F(PixelEquivalenceTest, ExportsOpaqueFramesWithoutAlpha) {
    for (const auto& [name, hasAlpha] : {std::pair("animation-3.gif", false), std::pair("holes.gif", true)}) {
        const auto frames = ImageFacts::exportGIFFrames(picture(name), folder / "deep/frames");
        EXPECT_EQ(ImageSource::open(frames.at(0))->info().hasAlpha, hasAlpha) << name;
    }
}

TEST_F(PixelEquivalenceTest, SaysWhyFramesCannotBeExported) {
    createDirectories(folder / "frames/frame-1.png");
    EXPECT_EQ(failureOf([&] { ImageFacts::exportGIFFrames(picture("animation-3.gif"), folder / "frames"); }),
              "无法创建动图验证帧");
    EXPECT_TRUE(isRegularFile(folder / "frames/frame-0.png"));
    EXPECT_THROW(ImageFacts::exportGIFFrames(folder.file("x.gif", "GIF89a"), folder / "x"), CompressionError);
    EXPECT_THROW(ImageFacts::exportGIFFrames(folder / "missing.gif", folder / "x"), CompressionError);
}

} // namespace
} // namespace tarnwick::test
