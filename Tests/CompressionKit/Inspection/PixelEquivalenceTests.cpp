#include "Foundation/CompressionError.h"
#include "ImageIO/ImageDestination.h"
#include "ImageIO/ImageSource.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/PixelBands.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace tarnwick::test {
namespace {

using Rows = std::vector<std::int64_t>;

Rows bandsOf(std::int64_t width, std::int64_t height) {
    Rows rows;
    for (BandWalk walk(width, height); walk.next();) {
        rows.push_back(walk.rows());
    }
    return rows;
}

TEST(PixelBandsTest, WalksInBandsOfAboutAMebipixel) {
    EXPECT_EQ(bandsOf(1, 1), Rows{1});
    EXPECT_EQ(bandsOf(2'000'000, 3), (Rows{1, 1, 1}));
    EXPECT_EQ(bandsOf(1'000, 5'000), (Rows{1'048, 1'048, 1'048, 1'048, 808}));
    EXPECT_TRUE(bandsOf(0, 5).empty());
    EXPECT_TRUE(bandsOf(5, 0).empty());
    EXPECT_TRUE(ImageLimits::areRenderable(25'000'000, 1));
    EXPECT_FALSE(ImageLimits::areRenderable(25'000'001, 1));
}

struct Pixel {
    std::uint8_t red, green, blue, alpha;
};
using Pattern = std::function<Pixel(std::int64_t x, std::int64_t y)>;

Pixel varied(std::int64_t x, std::int64_t y) {
    return {static_cast<std::uint8_t>(3 * x + y), static_cast<std::uint8_t>(4 * y), 7,
            static_cast<std::uint8_t>(16 * y + x)};
}

class PixelEquivalenceTest : public testing::Test {
protected:
    URL drawn(std::string_view name, std::int64_t width, std::int64_t height, const Pattern& pattern) const {
        URL url = folder / name;
        ImageDestination destination(url,
                                     {.width = width, .height = height, .hasAlpha = true, .profile = {}});
        Bytes rows;
        for (std::int64_t at = 0; at < width * height; ++at) {
            const Pixel pixel = pattern(at % width, at / width);
            rows.insert(rows.end(), {pixel.red, pixel.green, pixel.blue, pixel.alpha});
        }
        destination.writeRows(rows);
        destination.commit();
        return url;
    }
    /// Of 400 pixels the first `count` have the alpha `special`, all others `rest`.
    URL alphas(std::string_view name, int count, std::uint8_t special, std::uint8_t rest) const {
        return drawn(name, 400, 1, [=](std::int64_t x, std::int64_t) {
            return Pixel{10, 20, 30, x < count ? special : rest};
        });
    }

    TemporaryFolder folder;
};

TEST_F(PixelEquivalenceTest, StopsAtTheFirstBandThatFails) {
    const URL wide = drawn("wide.png", 600'000, 3, [](std::int64_t, std::int64_t) {
        return Pixel{1, 2, 3, 255};
    });
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
    const URL one = drawn("one.png", 9, 7, varied);
    EXPECT_TRUE(ImageFacts::pixelsEqual(one, one));
    EXPECT_FALSE(ImageFacts::pixelsEqual(one, drawn("last.png", 9, 7, [](std::int64_t x, std::int64_t y) {
                                             Pixel pixel = varied(x, y);
                                             pixel.alpha = static_cast<std::uint8_t>(
                                                 pixel.alpha ^ (x == 8 && y == 6 ? 1U : 0U));
                                             return pixel;
                                         })));
    const auto transparent = [&](std::string_view name, std::uint8_t red) {
        return drawn(name, 2, 2, [red](std::int64_t, std::int64_t) { return Pixel{red, 0, 0, 0}; });
    };
    EXPECT_TRUE(ImageFacts::pixelsEqual(transparent("a.png", 1), transparent("b.png", 9)));
}

TEST_F(PixelEquivalenceTest, TakesEveryFailureForADifference) {
    const URL one = picture("3x5.png");
    const std::string bytes = pictureText("3x5.png");
    for (const URL& other :
         {picture("5x3.png"), drawn("narrow.png", 2, 5, varied), drawn("low.png", 3, 4, varied),
          folder.file("cut.png", bytes.substr(0, bytes.size() - 20)), folder.file("text.png", "text"),
          folder / "missing.png", folder.url()}) {
        SCOPED_TRACE(other.path());
        const auto passes = [](auto, auto) { return true; };
        EXPECT_FALSE(ImageFacts::pixelBandsEqual(one, other, passes));
        EXPECT_FALSE(ImageFacts::pixelBandsEqual(other, one, passes));
        EXPECT_FALSE(ImageFacts::pixelsEqual(one, other));
        EXPECT_FALSE(ImageFacts::alphaDeviationWithin(one, other, 255));
        EXPECT_FALSE(ImageFacts::quantizedAlphaWithin(one, other));
        EXPECT_FALSE(ImageFacts::gifFramesEqual(one, other));
    }
}

TEST_F(PixelEquivalenceTest, BoundsTheDeviationOfAlpha) {
    const URL reference = alphas("r.png", 1, 100, 50);
    const URL recoloured = drawn("c.png", 400, 1, [](std::int64_t x, std::int64_t) {
        return Pixel{99, 99, 99, static_cast<std::uint8_t>(x == 0 ? 100 : 50)};
    });
    EXPECT_TRUE(ImageFacts::alphaDeviationWithin(reference, recoloured, 0));
    EXPECT_FALSE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 1, 99, 50), 0));
    EXPECT_TRUE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 1, 99, 50), 1));
    EXPECT_TRUE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 1, 101, 50), 1));
}

TEST_F(PixelEquivalenceTest, JudgesQuantizedAlpha) {
    struct Row {
        const char* what;
        bool isWithin;
        int count;
        std::uint8_t from, to, rest;
    };
    for (const Row& row : {Row{"opaque stays opaque", true, 1, 255, 255, 255},
                           Row{"opaque becomes clearly translucent", false, 1, 255, 191, 255},
                           Row{"opaque becomes slightly translucent", true, 1, 255, 192, 255},
                           Row{"transparent becomes hardly visible", true, 1, 0, 2, 255},
                           Row{"transparent becomes visible", false, 1, 0, 3, 255},
                           Row{"all stay transparent", true, 1, 0, 0, 0},
                           Row{"one of all transparent becomes visible", false, 1, 0, 2, 0},
                           Row{"0.5 % large deviations", true, 2, 200, 233, 200},
                           Row{"more than 0.5 % large deviations", false, 3, 200, 233, 200},
                           Row{"32 is no large deviation", true, 3, 200, 232, 200},
                           Row{"a mean square of 36", true, 1, 60, 180, 200},
                           Row{"a mean square above 36", false, 1, 60, 181, 200},
                           Row{"two of 400 become transparent", false, 2, 100, 0, 200},
                           Row{"a mean deviation of 2, 1 % of 200", true, 400, 200, 202, 0},
                           Row{"a shift of more than 1 %", false, 400, 199, 201, 0},
                           Row{"a mean deviation of 3", false, 400, 250, 247, 0}}) {
        EXPECT_EQ(ImageFacts::quantizedAlphaWithin(alphas("r.png", row.count, row.from, row.rest),
                                                   alphas("c.png", row.count, row.to, row.rest)),
                  row.isWithin)
            << row.what;
    }
}

TEST_F(PixelEquivalenceTest, ComparesEveryFrameOfAnAnimation) {
    EXPECT_TRUE(ImageFacts::gifFramesEqual(picture("animation-3.gif"), picture("animation-3-small.gif")));
    EXPECT_FALSE(ImageFacts::gifFramesEqual(picture("animation-3.gif"), picture("animation-2.gif")));
    EXPECT_FALSE(ImageFacts::gifFramesEqual(picture("animation-2.gif"), picture("animation-3.gif")));
    EXPECT_FALSE(ImageFacts::gifFramesEqual(picture("animation-3.gif"), picture("animation-3-changed.gif")));
    EXPECT_FALSE(ImageFacts::gifFramesEqual(picture("disposal-none.gif"), picture("disposal-background.gif")))
        << "only the last frame differs";
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
    try {
        ImageFacts::exportGIFFrames(picture("animation-3.gif"), folder / "frames");
        FAIL() << "a frame was written over a folder";
    } catch (const CompressionError& error) {
        EXPECT_EQ(error.errorDescription(), "无法创建动图验证帧");
    }
    EXPECT_TRUE(isRegularFile(folder / "frames/frame-0.png"));
    EXPECT_THROW(ImageFacts::exportGIFFrames(folder.file("x.gif", "GIF89a"), folder / "x"), CompressionError);
    EXPECT_THROW(ImageFacts::exportGIFFrames(folder / "missing.gif", folder / "x"), CompressionError);
}

} // namespace
} // namespace tarnwick::test
