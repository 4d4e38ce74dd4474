#include "Foundation/CompressionError.h"
#include "ImageIO/ImageSource.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/PixelBands.h"
#include "Support/GIFMaker.h"
#include "Support/PNGMaker.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <vector>

namespace tarnwick {
namespace {

using test::Pattern;
using test::Pixel;

class PixelEquivalenceTests : public testing::Test {
protected:
    URL picture(std::string_view name, std::int64_t width, std::int64_t height,
                const Pattern& pattern) const {
        test::PNGOptions options;
        options.width = width;
        options.height = height;
        options.color = test::PNGColor::rgba;
        options.pattern = pattern;
        test::writePNG(folder / name, options);
        return folder / name;
    }
    /// A picture whose pixel at (0, 0) has the alpha `special` and all others `rest`.
    URL alphas(std::string_view name, std::uint8_t special, std::uint8_t rest, std::int64_t side = 20) const {
        return picture(name, side, side, [=](std::int64_t x, std::int64_t y) {
            return Pixel{10, 20, 30, x == 0 && y == 0 ? special : rest};
        });
    }
    bool quantizedWithin(std::uint8_t reference, std::uint8_t candidate, std::uint8_t rest,
                         std::int64_t side = 20) {
        return ImageFacts::quantizedAlphaWithin(alphas("r.png", reference, rest, side),
                                                alphas("c.png", candidate, rest, side));
    }

    test::TemporaryFolder folder;
};

std::vector<std::int64_t> bandsOf(std::int64_t width, std::int64_t height) {
    std::vector<std::int64_t> rows;
    for (BandWalk walk(width, height); walk.next();) {
        rows.push_back(walk.rows());
    }
    return rows;
}

TEST_F(PixelEquivalenceTests, walksInBandsOfAboutAMebipixel) {
    EXPECT_EQ(bandsOf(1, 1), (std::vector<std::int64_t>{1}));
    EXPECT_EQ(bandsOf(2'000'000, 3), (std::vector<std::int64_t>{1, 1, 1}));
    EXPECT_EQ(bandsOf(1'000, 5'000), (std::vector<std::int64_t>{1'048, 1'048, 1'048, 1'048, 808}));
    EXPECT_TRUE(bandsOf(0, 5).empty());
    EXPECT_TRUE(bandsOf(5, 0).empty());
    EXPECT_TRUE(ImageLimits::areRenderable(25'000'000, 1));
    EXPECT_FALSE(ImageLimits::areRenderable(25'000'001, 1));

    const Pattern flat = [](std::int64_t, std::int64_t) { return Pixel{1, 2, 3, 255}; };
    const URL wide = picture("wide.png", 600'000, 3, flat);
    int bands = 0;
    EXPECT_TRUE(ImageFacts::pixelBandsEqual(wide, wide, [&](auto a, auto b) {
        ++bands;
        return a.size() == b.size() && a.size() == 2'400'000U;
    }));
    EXPECT_EQ(bands, 3);
    bands = 0;
    EXPECT_FALSE(ImageFacts::pixelBandsEqual(wide, wide, [&](auto, auto) { return ++bands < 2; }));
    EXPECT_EQ(bands, 2) << "no band after the one that failed";
}

TEST_F(PixelEquivalenceTests, comparesPremultipliedPixels) {
    const URL one = picture("one.png", 9, 7, test::translucentGradient);
    EXPECT_TRUE(ImageFacts::pixelsEqual(one, one));
    const URL last = picture("last.png", 9, 7, [](std::int64_t x, std::int64_t y) {
        Pixel pixel = test::translucentGradient(x, y);
        pixel.alpha = static_cast<std::uint8_t>(x == 8 && y == 6 ? pixel.alpha ^ 1 : pixel.alpha);
        return pixel;
    });
    EXPECT_FALSE(ImageFacts::pixelsEqual(one, last));

    const auto invisible = [](std::uint8_t red) {
        return [red](std::int64_t, std::int64_t) { return Pixel{red, 0, 0, 0}; };
    };
    EXPECT_TRUE(
        ImageFacts::pixelsEqual(picture("a.png", 2, 2, invisible(1)), picture("b.png", 2, 2, invisible(9))))
        << "what cannot be seen does not count";
}

TEST_F(PixelEquivalenceTests, takesEveryFailureForADifference) {
    const URL one = picture("one.png", 9, 7, test::gradient);
    const URL narrower = picture("narrower.png", 8, 7, test::gradient);
    const std::string whole = test::contents(one);
    const URL cut = folder.file("cut.png", whole.substr(0, whole.size() - 20));
    for (const URL& other :
         {narrower, cut, folder.file("text.png", "text"), folder / "missing.png", folder.url()}) {
        EXPECT_FALSE(ImageFacts::pixelsEqual(one, other)) << other.path();
        EXPECT_FALSE(ImageFacts::pixelsEqual(other, one)) << other.path();
        EXPECT_FALSE(ImageFacts::alphaDeviationWithin(one, other, 255)) << other.path();
        EXPECT_FALSE(ImageFacts::quantizedAlphaWithin(one, other)) << other.path();
        EXPECT_FALSE(ImageFacts::gifFramesEqual(one, other)) << other.path();
    }
}

TEST_F(PixelEquivalenceTests, boundsTheDeviationOfAlpha) {
    const URL reference = alphas("r.png", 100, 50);
    const URL recoloured = picture("colour.png", 20, 20, [](std::int64_t x, std::int64_t y) {
        return Pixel{99, 99, 99, static_cast<std::uint8_t>(x == 0 && y == 0 ? 100 : 50)};
    });
    EXPECT_TRUE(ImageFacts::alphaDeviationWithin(reference, recoloured, 0));
    EXPECT_FALSE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 99, 50), 0));
    EXPECT_TRUE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 99, 50), 1));
    EXPECT_TRUE(ImageFacts::alphaDeviationWithin(reference, alphas("c.png", 101, 50), 1));
}

TEST_F(PixelEquivalenceTests, judgesQuantizedAlphaPixelByPixel) {
    EXPECT_TRUE(quantizedWithin(255, 255, 255));
    EXPECT_FALSE(quantizedWithin(255, 191, 255));
    EXPECT_TRUE(quantizedWithin(255, 192, 255));
    EXPECT_TRUE(quantizedWithin(0, 2, 255));
    EXPECT_FALSE(quantizedWithin(0, 3, 255));
    EXPECT_TRUE(quantizedWithin(0, 0, 0)) << "nothing to count";
    EXPECT_FALSE(quantizedWithin(0, 2, 0)) << "visible where everything was transparent";
}

TEST_F(PixelEquivalenceTests, judgesQuantizedAlphaAsAWhole) {
    // Of 400 counted pixels one or two deviate: each bound has a pair of cases around it.
    const auto within = [&](std::uint8_t from, std::uint8_t to, int pixels) {
        const auto make = [&](std::string_view name, std::uint8_t alpha) {
            return picture(name, 20, 20, [=](std::int64_t x, std::int64_t y) {
                return Pixel{1, 1, 1, y == 0 && x < pixels ? alpha : std::uint8_t{200}};
            });
        };
        return ImageFacts::quantizedAlphaWithin(make("r.png", from), make("c.png", to));
    };
    EXPECT_TRUE(within(200, 233, 2)) << "two of 400 are 0.5 % large deviations";
    EXPECT_FALSE(within(200, 233, 3));
    EXPECT_TRUE(within(200, 232, 3)) << "32 is not large yet";
    EXPECT_TRUE(within(60, 180, 1)) << "a mean square of 36";
    EXPECT_FALSE(within(60, 181, 1));

    const auto shifted = [&](std::uint8_t from, std::uint8_t to) {
        return ImageFacts::quantizedAlphaWithin(alphas("r.png", from, from), alphas("c.png", to, to));
    };
    EXPECT_TRUE(shifted(200, 202)) << "a shift of 2 is 1 % of 200";
    EXPECT_FALSE(shifted(199, 201)) << "a shift of 2 is more than 1 % of 199";
    EXPECT_FALSE(shifted(250, 247)) << "a mean deviation of 3";
}

class GIFEquivalenceTests : public PixelEquivalenceTests {
protected:
    URL animation(std::string_view name, int frames, std::int64_t oddFrame = -1) const {
        test::GIFOptions options;
        options.width = 12;
        options.height = 10;
        options.frames.clear();
        for (int i = 0; i < frames; ++i) {
            test::GIFFrame frame;
            frame.pattern = [=](std::int64_t x, std::int64_t y) {
                const bool isOdd = i == oddFrame && x == 11 && y == 9;
                return static_cast<std::uint8_t>((x + y + i + (isOdd ? 1 : 0)) % 4);
            };
            options.frames.push_back(frame);
        }
        test::writeGIF(folder / name, options);
        return folder / name;
    }
};

TEST_F(GIFEquivalenceTests, comparesEveryFrame) {
    const URL reference = animation("r.gif", 3);
    EXPECT_TRUE(ImageFacts::gifFramesEqual(reference, animation("same.gif", 3)));
    EXPECT_FALSE(ImageFacts::gifFramesEqual(reference, animation("fewer.gif", 2)));
    for (const std::int64_t odd : {0, 1, 2}) {
        EXPECT_FALSE(ImageFacts::gifFramesEqual(reference, animation("odd.gif", 3, odd))) << odd;
    }
}

TEST_F(GIFEquivalenceTests, exportsFramesInOrder) {
    const URL source = animation("r.gif", 3);
    const URL directory = folder / "deep/frames";
    const std::vector<URL> frames = ImageFacts::exportGIFFrames(source, directory);
    EXPECT_EQ(frames, (std::vector{directory.appending("frame-0.png"), directory.appending("frame-1.png"),
                                   directory.appending("frame-2.png")}));
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(ImageFacts::pixelsEqual(frames[0], frames[i]), i == 0);
        EXPECT_FALSE(ImageSource::open(frames[i])->info().hasAlpha);
    }
    EXPECT_EQ(ImageFacts::exportGIFFrames(source, directory), frames) << "again, over what stands there";
}

TEST_F(GIFEquivalenceTests, saysWhyFramesCannotBeExported) {
    const URL source = animation("r.gif", 2);
    createDirectories(folder / "frames/frame-1.png");
    try {
        ImageFacts::exportGIFFrames(source, folder / "frames");
        FAIL() << "a frame was written over a folder";
    } catch (const CompressionError& error) {
        EXPECT_EQ(error.errorDescription(), "无法创建动图验证帧");
    }
    EXPECT_TRUE(isRegularFile(folder / "frames/frame-0.png"));
    EXPECT_THROW(ImageFacts::exportGIFFrames(folder.file("x.gif", "GIF89a"), folder / "x"), CompressionError);
}

} // namespace
} // namespace tarnwick
