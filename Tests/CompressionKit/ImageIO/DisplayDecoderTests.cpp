#include "Foundation/CompressionError.h"
#include "ImageIO/DisplayDecoder.h"
#include "ImageIO/RowShrinker.h"
#include "Support/Decoding.h"
#include "Support/GIFMaker.h"
#include "Support/HEIFMaker.h"
#include "Support/JPEGMaker.h"
#include "Support/MemoryFile.h"
#include "Support/PNGMaker.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;

Bitmap display(const Bytes& file, std::optional<std::int64_t> maximum = {}, const ImageLimits& limits = {}) {
    return decodeForDisplay(MemoryFile(file).url(), maximum, limits);
}

Bitmap displayPNG(const PNGOptions& options, std::optional<std::int64_t> maximum = {}) {
    return display(pngBytes(options), maximum);
}

/// The only pixel of a PNG of this colour.
std::vector<int> shownColor(const Pixel& color, const std::optional<CodePoints>& space, bool asICC = false) {
    PNGOptions options = {.width = 1, .height = 1, .color = PNGColor::rgba};
    options.pattern = [&](std::int64_t, std::int64_t) { return color; };
    if (asICC) {
        options.icc = ColorProfile::fromCodePoints(*space).iccForRGB();
    } else {
        options.codePoints = space;
    }
    const Bitmap bitmap = displayPNG(options);
    return {bitmap.pixels.begin(), bitmap.pixels.end()};
}

void expectNear(const Bytes& found, const Bytes& expected, int tolerance) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t at = 0; at < found.size(); ++at) {
        ASSERT_NEAR(found[at], expected[at], tolerance) << "byte " << at;
    }
}

/// The pixels along an axis that a pixel of the result covers, and how much of it each makes up.
std::vector<std::pair<std::int64_t, double>> shares(std::int64_t pixel, std::int64_t from, std::int64_t to) {
    const double scale = static_cast<double>(from) / static_cast<double>(to);
    const double start = static_cast<double>(pixel) * scale;
    std::vector<std::pair<std::int64_t, double>> found;
    for (auto at = static_cast<std::int64_t>(start); at < from; ++at) {
        const auto left = static_cast<double>(at);
        const double share = std::min(left + 1, start + scale) - std::max(left, start);
        if (share <= 0) {
            break;
        }
        found.emplace_back(at, share / scale);
    }
    return found;
}

/// The premultiplied area averages of straight RGBA, by the definition.
Bytes averages(const Bytes& rgba, PixelSize from, PixelSize to) {
    Bytes rows;
    for (std::int64_t pixel = 0; pixel < to.width * to.height; ++pixel) {
        std::array<double, 4> sums{};
        for (const auto& [y, down] : shares(pixel / to.width, from.height, to.height)) {
            for (const auto& [x, across] : shares(pixel % to.width, from.width, to.width)) {
                const std::uint8_t* at = &rgba[static_cast<std::size_t>(y * from.width + x) * 4];
                for (std::size_t i = 0; i < 4; ++i) {
                    sums[i] += at[i] * (i < 3 ? at[3] / 255.0 : 1) * across * down;
                }
            }
        }
        for (const double sum : sums) {
            rows.push_back(static_cast<std::uint8_t>(std::lround(sum)));
        }
    }
    return rows;
}

TEST(DisplayDecoder, turnsPicturesAtEverySize) {
    // A colour for each quarter; orientation 6 turns them clockwise.
    const auto quarters = [](std::int64_t x, std::int64_t y) {
        return Pixel{static_cast<std::uint8_t>(x < 64 ? 200 : 40),
                     static_cast<std::uint8_t>(y < 32 ? 180 : 20), 90};
    };
    const Bytes turned = {200, 20, 90, 255, 200, 180, 90, 255, 40, 20, 90, 255, 40, 180, 90, 255};
    const std::vector<Bytes> files = {
        jpegBytes({.width = 128, .height = 64, .pattern = quarters, .quality = 98, .orientation = 6}),
        pngBytes({.width = 128, .height = 64, .pattern = quarters, .exif = exifBlock(6)}),
        heifBytes(
            {.width = 128, .height = 64, .pattern = quarters, .transformations = transformationsFor(6)})};
    for (const Bytes& file : files) {
        for (const std::int64_t maximum : {128, 32, 4}) {
            const Bitmap shown = display(file, maximum);
            ASSERT_EQ(shown.width, maximum / 2);
            ASSERT_EQ(shown.height, maximum);
            expectNear(averages(shown.pixels, {maximum / 2, maximum}, {2, 2}), turned, 3);
        }
    }
}

TEST(DisplayDecoder, convertsToSRGB) {
    const auto near = [](int red, int green, int blue, int alpha = 255) {
        const auto component = [](int value) {
            return testing::AllOf(testing::Ge(value - 1), testing::Le(value + 1));
        };
        return ElementsAre(component(red), component(green), component(blue), alpha);
    };
    const CodePoints displayP3 = {12, 13, 0, true};
    for (const bool asICC : {false, true}) {
        EXPECT_THAT(shownColor({200, 100, 50}, displayP3, asICC), near(215, 93, 31));
        EXPECT_THAT(shownColor({120, 180, 90}, displayP3, asICC), near(100, 182, 76));
        // Only then multiplied with alpha.
        EXPECT_THAT(shownColor({200, 100, 50, 102}, displayP3, asICC), near(86, 37, 12, 102));
    }
    EXPECT_THAT(shownColor({200, 100, 50}, std::nullopt), ElementsAre(200, 100, 50, 255));
    EXPECT_THAT(shownColor({200, 100, 50, 0}, std::nullopt), ElementsAre(0, 0, 0, 0));
    // A transfer function that no profile can describe.
    EXPECT_THAT(shownColor({200, 100, 50}, CodePoints{9, 17, 0, true}), ElementsAre(200, 100, 50, 255));
}

TEST(DisplayDecoder, bringsHighDynamicRangeToTheScreen) {
    const CodePoints quantizer = {9, 16, 0, true};
    const CodePoints hybrid = {9, 18, 0, true};
    const auto grey = [](std::uint8_t value, const CodePoints& space) {
        return shownColor({value, value, value}, space).front();
    };
    // What both standards give for a white sheet of paper.
    EXPECT_NEAR(grey(148, quantizer), 225, 3);
    EXPECT_NEAR(grey(191, hybrid), 225, 3);
    for (const CodePoints& space : {quantizer, hybrid}) {
        EXPECT_EQ(grey(0, space), 0);
        EXPECT_EQ(grey(255, space), 255);
        EXPECT_LT(grey(100, space), grey(140, space));
    }
}

TEST(DisplayDecoder, averagesEveryKindOfPixels) {
    const auto darkening = [](std::int64_t x, std::int64_t y) { return noise(x / 3, y / 2); };
    PNGOptions palette = {.width = 40, .height = 30, .color = PNGColor::palette};
    palette.pattern = [](std::int64_t x, std::int64_t y) {
        return Pixel{static_cast<std::uint8_t>((x * y) % 3)};
    };
    palette.palette = {{255, 0, 0}, {0, 200, 10}, {9, 9, 250}};
    palette.transparency = {255, 100, 0};
    PNGOptions interlaced = {
        .width = 40, .height = 30, .color = PNGColor::rgba, .pattern = translucentGradient};
    interlaced.interlaced = true;
    const std::vector<Bytes> files = {
        pngBytes({.width = 40, .height = 30, .color = PNGColor::rgba, .pattern = translucentGradient}),
        pngBytes({.width = 40, .height = 30, .color = PNGColor::rgba, .depth = 16, .pattern = noise}),
        pngBytes({.width = 40, .height = 30, .color = PNGColor::grey, .depth = 4, .pattern = darkening}),
        pngBytes({.width = 40, .height = 30, .color = PNGColor::greyAlpha, .pattern = translucentGradient}),
        pngBytes(palette),
        pngBytes(interlaced),
        gifBytes({.width = 40, .height = 30, .frames = {GIFFrame{.transparentIndex = 3}, GIFFrame{}}}),
    };
    for (const Bytes& file : files) {
        const Bytes whole = decoded(MemoryFile(file).url());
        for (const auto& to : {PixelSize{7, 5}, PixelSize{20, 15}, PixelSize{39, 29}, PixelSize{40, 30}}) {
            const Bitmap shown = display(file, to.width);
            ASSERT_EQ(PixelSize({shown.width, shown.height}), to);
            expectNear(shown.pixels, averages(whole, {40, 30}, to), 1);
        }
    }
}

TEST(DisplayDecoder, reducesJPEGsWhileDecoding) {
    for (const JPEGColor color : {JPEGColor::grey, JPEGColor::ycc, JPEGColor::cmyk, JPEGColor::ycck}) {
        for (const bool progressive : {false, true}) {
            const JPEGOptions options = {.width = 100,
                                         .height = 60,
                                         .color = color,
                                         .quality = 98,
                                         .horizontalSampling = 2,
                                         .verticalSampling = 2,
                                         .progressive = progressive};
            const Bytes file = jpegBytes(options);
            const Bytes whole = decoded(MemoryFile(file).url());
            for (const auto& to : {PixelSize{5, 3}, PixelSize{45, 27}, PixelSize{85, 51}}) {
                expectNear(display(file, to.width).pixels, averages(whole, {100, 60}, to), 8);
            }
        }
    }
    const MemoryFile file(jpegBytes({.width = 100, .height = 60}));
    const auto source = ImageSource::open(file.url());
    const auto reducedTo = [&](std::int64_t width, std::int64_t height) {
        return std::pair(source->reducedFrames(width, height).width,
                         source->reducedFrames(width, height).height);
    };
    using Size = std::pair<std::int64_t, std::int64_t>;
    EXPECT_EQ(reducedTo(12, 7), Size(13, 8));
    EXPECT_EQ(reducedTo(13, 7), Size(25, 15));
    EXPECT_EQ(reducedTo(100, 60), Size(100, 60));
}

TEST(DisplayDecoder, keepsTheAspectAndNeverEnlarges) {
    const auto sizeOf = [](std::int64_t width, std::int64_t height, std::int64_t maximum) {
        const Bitmap shown = displayPNG({.width = width, .height = height}, maximum);
        EXPECT_EQ(shown.pixels.size(), static_cast<std::size_t>(shown.width * shown.height * 4));
        return std::pair(shown.width, shown.height);
    };
    using Size = std::pair<std::int64_t, std::int64_t>;
    EXPECT_EQ(sizeOf(32, 24, 16), Size(16, 12));
    EXPECT_EQ(sizeOf(24, 31, 10), Size(8, 10));
    EXPECT_EQ(sizeOf(300, 1, 10), Size(10, 1));
    EXPECT_EQ(sizeOf(32, 24, 1), Size(1, 1));
    EXPECT_EQ(sizeOf(32, 24, 33), Size(32, 24));
    EXPECT_EQ(sizeOf(32, 24, std::int64_t{1} << 62), Size(32, 24));
}

TEST(DisplayDecoder, refusesWhatIsNoWholePicture) {
    const auto refuses = [](const Bytes& file, std::optional<std::int64_t> maximum,
                            const ImageLimits& limits) {
        try {
            display(file, maximum, limits);
            return false;
        } catch (const CompressionError& error) {
            return error.errorCase() == CompressionError::Case::invalidImage;
        }
    };
    const Bytes png = pngBytes({.pattern = noise});
    EXPECT_TRUE(refuses(png, 0, {}));
    EXPECT_TRUE(refuses(png, -1, {}));
    for (const Bytes& file : {png, jpegBytes({.pattern = noise}), gifBytes({}), heifBytes({})}) {
        for (const auto maximum : {std::optional<std::int64_t>(), std::optional<std::int64_t>(4)}) {
            const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(file.size() * 3 / 4));
            EXPECT_FALSE(refuses(file, maximum, {}));
            EXPECT_TRUE(refuses(cut, maximum, {}));
        }
    }
    // A picture that may not be held may still be shown small.
    ImageLimits limits;
    limits.maximumBufferedPixels = 32 * 24 - 1;
    EXPECT_TRUE(refuses(png, std::nullopt, limits));
    EXPECT_FALSE(refuses(png, 16, limits));
}

} // namespace
} // namespace tarnwick::test
