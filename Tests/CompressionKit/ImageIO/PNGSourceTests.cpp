#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/ExifOrientation.h"
#include "ImageIO/PNGSource.h"
#include "Support/Decoding.h"
#include "Support/PNGMaker.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <tuple>

namespace tarnwick::test {
namespace {

const TemporaryFolder& folder() {
    static const TemporaryFolder instance;
    return instance;
}

URL made(const PNGOptions& options) {
    URL url = folder() / "picture.png";
    writePNG(url, options);
    return url;
}

Pixel grey(std::uint8_t value) {
    return {value, value, value};
}

/// What a sample of fewer bits than eight means.
std::uint8_t spread(std::uint8_t value, int depth) {
    return static_cast<std::uint8_t>((value >> (8 - depth)) * 255 / ((1 << depth) - 1));
}

std::vector<Pixel> palette(int depth) {
    std::vector<Pixel> entries(std::size_t{1} << static_cast<unsigned>(depth));
    std::generate(entries.begin(), entries.end(), [index = 0]() mutable { return noise(index++, 0); });
    return entries;
}

class PNGDecoding : public testing::TestWithParam<std::tuple<std::pair<int, int>, bool>> {
protected:
    PNGOptions options() const {
        const auto [size, interlaced] = GetParam();
        PNGOptions options;
        options.width = size.first;
        options.height = size.second;
        options.interlaced = interlaced;
        options.pattern = translucentGradient;
        return options;
    }
    void expect(const PNGOptions& options, const Pattern& pixels, bool hasAlpha) const {
        SCOPED_TRACE(testing::Message() << "color " << int(options.color) << " depth " << options.depth);
        const URL url = made(options);
        EXPECT_EQ(decoded(url), rgbaRows(options.width, options.height, pixels));
        const auto source = ImageSource::open(url);
        EXPECT_EQ(source->info().hasAlpha, hasAlpha);
        EXPECT_EQ(source->info().bitsPerComponent, options.depth);
    }
};

TEST_P(PNGDecoding, isExactForEveryKindOfPixel) {
    for (const int depth : {1, 2, 4, 8, 16}) {
        PNGOptions png = options();
        png.depth = depth;
        png.color = PNGColor::grey;
        const auto expected = [depth](auto x, auto y) {
            const std::uint8_t value = gradient(x, y).red;
            return grey(depth < 8 ? spread(value, depth) : value);
        };
        expect(png, expected, false);
    }
    for (const int depth : {8, 16}) {
        PNGOptions png = options();
        png.depth = depth;
        expect(png, gradient, false);
        png.color = PNGColor::rgba;
        expect(png, translucentGradient, true);
        png.color = PNGColor::greyAlpha;
        const auto expected = [](auto x, auto y) {
            const Pixel pixel = translucentGradient(x, y);
            return Pixel{pixel.red, pixel.red, pixel.red, pixel.alpha};
        };
        expect(png, expected, true);
    }
    for (const int depth : {1, 2, 4, 8}) {
        PNGOptions png = options();
        png.color = PNGColor::palette;
        png.depth = depth;
        png.palette = palette(depth);
        const auto index = [depth](std::int64_t x, std::int64_t y) {
            return (x * 5 + y * 3) & ((1 << depth) - 1);
        };
        png.pattern = [index](auto x, auto y) { return grey(static_cast<std::uint8_t>(index(x, y))); };
        expect(
            png, [index](auto x, auto y) { return noise(index(x, y), 0); }, false);

        png.transparency = {77, 0};
        const auto expected = [index](auto x, auto y) {
            Pixel pixel = noise(index(x, y), 0);
            pixel.alpha = index(x, y) == 0 ? 77 : index(x, y) == 1 ? 0 : 255;
            return pixel;
        };
        expect(png, expected, true);
    }
}

TEST_P(PNGDecoding, makesTheTransparentColorTransparent) {
    PNGOptions png = options();
    png.color = PNGColor::grey;
    png.depth = 2;
    png.transparency = {0, 0};
    const auto greyExpected = [](auto x, auto y) {
        const std::uint8_t value = spread(gradient(x, y).red, 2);
        return Pixel{value, value, value, static_cast<std::uint8_t>(value == 0 ? 0 : 255)};
    };
    expect(png, greyExpected, true);

    const auto rgbExpected = [](auto x, auto y) {
        Pixel pixel = gradient(x, y);
        pixel.alpha = pixel == gradient(0, 0) ? 0 : 255;
        return pixel;
    };
    png.color = PNGColor::rgb;
    png.depth = 8;
    png.transparency = {0, 0, 0, 0, 0, 255};
    expect(png, rgbExpected, true);
    png.depth = 16;
    png.transparency = {0, 0, 0, 0, 255, 255};
    expect(png, rgbExpected, true);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, PNGDecoding,
    testing::Combine(testing::Values(std::pair(1, 1), std::pair(3, 5), std::pair(33, 17)), testing::Bool()));

TEST(PNGSource, roundsSixteenBitsToTheNearestOfEight) {
    PNGOptions png;
    png.width = 256;
    png.height = 256;
    png.color = PNGColor::grey;
    png.depth = 16;
    for (int high = 0; high < 256; ++high) {
        png.filteredRows.push_back(0);
        for (int low = 0; low < 256; ++low) {
            png.filteredRows.push_back(static_cast<std::uint8_t>(high));
            png.filteredRows.push_back(static_cast<std::uint8_t>(low));
        }
    }
    // Only the very sample that tRNS names is transparent, not all that round to the same value.
    png.transparency = {0x12, 0x34};
    const auto expected = [](std::int64_t x, std::int64_t y) {
        const std::int64_t sample = y * 256 + x;
        Pixel pixel = grey(static_cast<std::uint8_t>((sample + 128) / 257));
        pixel.alpha = sample == 0x1234 ? 0 : 255;
        return pixel;
    };
    EXPECT_EQ(decoded(made(png)), rgbaRows(256, 256, expected));
}

TEST(PNGSource, namesTheColorSpaceByTheStrongestStatement) {
    const CodePoints displayP3 = {12, 13, 0, true};
    constexpr Chromaticities wide = {0.3127, 0.3290, 0.708, 0.292, 0.170, 0.797, 0.131, 0.046};
    const auto name = [](const PNGOptions& png) {
        return ImageSource::open(made(png))->info().profile.name();
    };

    PNGOptions png;
    EXPECT_EQ(name(png), ColorProfile().name());
    png.chromaticities = wide;
    EXPECT_EQ(name(png), ColorProfile::fromGamma({}, wide).name());
    png.gamma = 100'000;
    EXPECT_EQ(name(png), ColorProfile::fromGamma(1.0, wide).name());
    png.srgbIntent = 0;
    EXPECT_EQ(name(png), ColorProfile().name());

    png = {};
    png.gamma = 100'000;
    EXPECT_EQ(name(png), ColorProfile::fromGamma(1.0, {}).name());
    png.icc = ColorProfile::fromCodePoints(displayP3).iccForRGB();
    EXPECT_EQ(name(png), "Display P3");
    png.codePoints = {9, 16, 0, true};
    EXPECT_EQ(name(png), ColorProfile::fromCodePoints({9, 16, 0, true}).name());
    png.codePoints->matrix = 9;
    EXPECT_EQ(name(png), "Display P3") << "RGB pixels have no other matrix than the identity";
    png.codePoints = {};
    png.icc = Bytes(200, 'x');
    EXPECT_EQ(name(png), ColorProfile::fromGamma(1.0, {}).name()) << "a corrupt profile is none";
}

TEST(PNGSource, readsTheOrientation) {
    const auto orientation = [](const PNGOptions& png, const ImageLimits& limits = {}) {
        return ImageSource::open(made(png), limits)->info().orientation;
    };
    PNGOptions png;
    EXPECT_EQ(orientation(png), std::nullopt);
    for (int value = 1; value <= 8; ++value) {
        png.exif = exifBlock(value, value % 2 == 0);
        EXPECT_EQ(orientation(png), value);
    }
    ImageLimits small;
    small.maximumMetadataBytes = 10;
    EXPECT_EQ(orientation(png, small), std::nullopt);
    for (const int value : {0, 9, 255}) {
        png.exif = exifBlock(value);
        EXPECT_EQ(orientation(png), std::nullopt);
    }
    png.exif = Bytes(10, 'x');
    EXPECT_EQ(orientation(png), std::nullopt);

    png.exif = {};
    png.chunksAfterData = pngChunk("eXIf", exifBlock(6));
    EXPECT_EQ(orientation(png), 6);
    png.chunksAfterData.back() ^= 1U;
    EXPECT_EQ(orientation(png), std::nullopt) << "its checksum is wrong";
    EXPECT_EQ(decoded(made(png)), rgbaRows(png.width, png.height, gradient));
}

TEST(ExifOrientation, takesBothFormsAndSurvivesDamage) {
    for (const bool bigEndian : {false, true}) {
        const Bytes block = exifBlock(5, bigEndian);
        Bytes withHeader = {'E', 'x', 'i', 'f', 0, 0};
        withHeader.insert(withHeader.end(), block.begin(), block.end());
        EXPECT_EQ(exifOrientation(block), 5);
        EXPECT_EQ(exifOrientation(withHeader), 5);
        for (std::size_t length = 0; length < 22; ++length) {
            EXPECT_EQ(exifOrientation(std::span(block).first(length)), std::nullopt) << length;
        }
        Bytes asLong = block;
        asLong[bigEndian ? 13 : 12] = 4;
        EXPECT_EQ(exifOrientation(asLong), std::nullopt) << "the value is a short one";
    }
}

TEST(PNGSource, countsTheFramesOfAnAnimation) {
    const auto count = [](const PNGOptions& png, const ImageLimits& limits = {}) {
        return ImageSource::open(made(png), limits)->info().imageCount;
    };
    PNGOptions png;
    EXPECT_EQ(count(png), 1);
    png.animationFrames = 3;
    EXPECT_EQ(count(png), 3);
    EXPECT_EQ(decoded(made(png)), rgbaRows(png.width, png.height, gradient));
    ImageLimits limits;
    limits.maximumFrames = 2;
    EXPECT_EQ(count(png, limits), 1);

    png.animationFrames = 0;
    png.chunksBeforeData = pngChunk("acTL", Bytes(8, 0));
    EXPECT_EQ(count(png), 1) << "no frames at all";
    png.chunksBeforeData = {};
    png.chunksAfterData = pngChunk("acTL", Bytes{0, 0, 0, 5, 0, 0, 0, 0});
    EXPECT_EQ(count(png), 1) << "only what stands before the pixels makes it animated";
}

TEST(PNGSource, refusesEveryCutAndDamageToItsPixels) {
    for (const bool interlaced : {false, true}) {
        PNGOptions png;
        png.width = 9;
        png.height = 7;
        png.color = PNGColor::palette;
        png.palette = palette(4);
        png.depth = 4;
        png.pattern = [](auto x, auto y) { return grey(static_cast<std::uint8_t>((x ^ y) & 15)); };
        png.interlaced = interlaced;
        png.dataChunkBytes = 20;
        const Bytes whole = pngBytes(png);
        testing::internal::CaptureStderr();
        for (std::size_t length = 0; length < whole.size(); ++length) {
            EXPECT_TRUE(isRefused({whole.begin(), whole.begin() + std::ptrdiff_t(length)}))
                << length << " bytes of " << whole.size();
        }
        for (std::size_t at = 0; at < whole.size(); ++at) {
            Bytes damaged = whole;
            damaged[at] ^= 0x10U;
            EXPECT_TRUE(isRefused(damaged)) << "byte " << at << " of " << whole.size();
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        Bytes longer = whole;
        longer.resize(whole.size() + 100);
        EXPECT_FALSE(isRefused(longer)) << "what follows the end does no harm";
    }
}

TEST(PNGSource, survivesDamageToEveryByteOfItsMetadata) {
    PNGOptions png;
    png.width = 4;
    png.height = 4;
    png.animationFrames = 2;
    png.codePoints = {9, 16, 0, true};
    png.icc = ColorProfile::fromCodePoints({12, 13, 0, true}).iccForRGB();
    png.exif = exifBlock(6);
    const Bytes whole = pngBytes(png);
    int accepted = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        Bytes damaged = whole;
        damaged[at] ^= 0x81U;
        accepted += isRefused(damaged) ? 0 : 1;
    }
    EXPECT_GT(accepted, 400) << "damage to metadata costs no more than the metadata";
}

TEST(PNGSource, refusesWhatIsTooLargeWhenItIsOpened) {
    const auto opens = [](std::uint32_t width, std::uint32_t height, bool interlaced,
                          const ImageLimits& limits) {
        const URL url = folder() / "large.png";
        writeFile(url, pngHeaderOnly(width, height, interlaced));
        try {
            return ImageSource::open(url, limits)->info().width == width;
        } catch (const CompressionError&) {
            return false;
        }
    };
    EXPECT_FALSE(opens(0x7FFF'FFFF, 0x7FFF'FFFF, false, {}));
    EXPECT_FALSE(opens(0, 1, false, {}));
    EXPECT_TRUE(opens(32'768, 32'768, false, {}));
    EXPECT_FALSE(opens(32'768, 32'769, false, {}));
    EXPECT_TRUE(opens(16'384, 16'384, true, {}));
    EXPECT_FALSE(opens(16'384, 16'385, true, {}));
    ImageLimits narrow;
    narrow.maximumDimension = 99;
    EXPECT_TRUE(opens(99, 99, false, narrow));
    EXPECT_FALSE(opens(100, 1, false, narrow));
}

TEST(PNGSource, decodesRowsWiderThanAMillion) {
    PNGOptions png;
    png.width = 1'500'000;
    png.height = 1;
    png.color = PNGColor::grey;
    png.depth = 1;
    const auto expected = [](auto x, auto y) { return grey(spread(gradient(x, y).red, 1)); };
    EXPECT_EQ(decoded(made(png)), rgbaRows(png.width, png.height, expected));
}

TEST(PNGSource, givesItsOneImageOnceAndNoRowTwice) {
    const auto source = ImageSource::open(made({}));
    const auto frames = source->frames();
    constexpr std::size_t rowBytes = std::size_t{32} * 4;
    Bytes rows(rowBytes * 24);
    EXPECT_THROW(frames->readRows(rows), std::logic_error) << "before next()";
    EXPECT_TRUE(frames->next());
    EXPECT_THROW(frames->readRows(std::span(rows).first(100)), std::logic_error);
    frames->readRows(rows);
    EXPECT_THROW(frames->readRows(std::span(rows).first(rowBytes)), std::logic_error);
    EXPECT_FALSE(frames->next());
    EXPECT_FALSE(frames->next());
}

TEST(PNGSource, refusesAFileThatWasReplacedByAnotherSize) {
    const URL url = made({});
    const auto source = ImageSource::open(url);
    PNGOptions larger;
    larger.height = 1000;
    writePNG(url, larger);
    EXPECT_THROW(source->frames(), CompressionError);
}

TEST(PNGSource, tellsWhatCannotBeReadFromWhatCannotBeDecoded) {
    EXPECT_THROW(PNGSource(folder() / "absent", {}), FileSystemError);
    EXPECT_THROW(PNGSource(folder().url(), {}), FileSystemError);
    EXPECT_THROW(PNGSource(folder().file("text", "no picture"), {}), CompressionError);
}

} // namespace
} // namespace tarnwick::test
