#include "Foundation/FileSystemError.h"
#include "ImageIO/HEIFSource.h"
#include "ImageIO/Orientation.h"
#include "Support/Damage.h"
#include "Support/Decoding.h"
#include "Support/HEIFMaker.h"
#include "Support/HEVCCoding.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

namespace tarnwick::test {
namespace {

Pixel greyGradient(std::int64_t x, std::int64_t y) {
    Pixel pixel = translucentGradient(x, y);
    pixel.green = pixel.blue = pixel.red;
    return pixel;
}

/// What translucentGradient() shows where no alpha is stored.
Bytes opaqueRows(const HEIFOptions& options) {
    return rgbaRows(options.width, options.height, [&](std::int64_t x, std::int64_t y) {
        Pixel pixel = options.pattern(x, y);
        pixel.alpha = 255;
        return pixel;
    });
}

Bytes storedRows(const HEIFOptions& options) {
    return options.alpha ? rgbaRows(options.width, options.height, options.pattern) : opaqueRows(options);
}

class HEIFSourceTest : public testing::Test {
protected:
    URL made(const HEIFOptions& options) const {
        writeHEIF(url, options);
        return url;
    }
    ImageInfo info(const HEIFOptions& options) const { return ImageSource::open(made(options))->info(); }
    URL patched(const HEIFOptions& options, const Bytes& from, const Bytes& to) const {
        Bytes bytes = heifBytes(options);
        const auto found = std::search(bytes.begin(), bytes.end(), from.begin(), from.end());
        EXPECT_NE(found, bytes.end());
        std::copy(to.begin(), to.end(), found);
        writeFile(url, bytes);
        return url;
    }
    static Bytes ispe(std::uint8_t width, std::uint8_t height) {
        return fullBox("ispe", 0, 0, Bytes{0, 0, 0, width, 0, 0, 0, height});
    }

    TemporaryFolder folder;
    URL url = folder / "picture.heic";
};

TEST_F(HEIFSourceTest, DecodesEveryDepthAndLayoutExactly) {
    const std::vector<HEIFOptions> layouts = {
        {.pattern = translucentGradient},
        {.pattern = translucentGradient, .alpha = true},
        {.pattern = greyGradient, .monochrome = true},
        {.pattern = greyGradient, .monochrome = true, .alpha = true},
        {.width = 192, .height = 128, .pattern = translucentGradient, .columns = 3, .rows = 2},
        {.width = 192, .height = 128, .pattern = translucentGradient, .alpha = true, .columns = 1, .rows = 2},
    };
    for (const int bits : {8, 10, 12}) {
        for (HEIFOptions options : layouts) {
            SCOPED_TRACE(testing::Message() << bits << " bits, layout " << &options - layouts.data());
            options.bits = bits;
            const ImageInfo read = info(options);
            EXPECT_EQ(std::tuple(read.width, read.height), std::tuple(options.width, options.height));
            EXPECT_EQ(std::tuple(read.bitsPerComponent, read.hasAlpha), std::tuple(bits, options.alpha));
            EXPECT_EQ(std::tuple(read.imageCount, read.orientation.value_or(1)), std::tuple(1, 1));
            EXPECT_EQ(decoded(url), storedRows(options));
        }
    }
}

TEST_F(HEIFSourceTest, TellsTheOrientationThatTheLibraryShows) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const HEIFOptions options = {.transformations = transformationsFor(orientation)};
        EXPECT_EQ(info(options).orientation, orientation);
        EXPECT_EQ(info(options).width, options.width);
        EXPECT_EQ(decoded(url), storedRows(options));
        EXPECT_EQ(oriented(decoded(url), options.width, options.height, orientation), shownByLibrary(url))
            << orientation;
    }
    const Bytes exif = exifBlock(6);
    EXPECT_EQ(info({.exif = exif}).orientation, 1) << "EXIF is for information only";
}

TEST_F(HEIFSourceTest, CropsWhereTheLibraryDoes) {
    const std::vector<std::vector<Bytes>> cases = {
        {clap(95, 63, -1, -1)},
        {clap(40, 30, 20, -10), irot(3)},
        {irot(1), clap(30, 40, 20, -10)},
        {imir(1), irot(3), clap(30, 40, 20, -10), imir(0)},
    };
    for (const auto& transformations : cases) {
        const ImageInfo read = info({.transformations = transformations});
        EXPECT_EQ(oriented(decoded(url), read.width, read.height, *read.orientation), shownByLibrary(url));
        EXPECT_LT(read.width, 96);
    }
    EXPECT_TRUE(isRefused(made({.transformations = {clap(95, 63, 2, 0)}})));
}

TEST_F(HEIFSourceTest, TurnsDeepPicturesAndTheirAlphaTogether) {
    for (const auto& alphaTransformations :
         {std::optional<std::vector<Bytes>>(), std::optional(std::vector<Bytes>())}) {
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const HEIFOptions options = {.pattern = translucentGradient,
                                         .bits = 10,
                                         .alpha = true,
                                         .transformations = transformationsFor(orientation),
                                         .alphaTransformations = alphaTransformations};
            EXPECT_EQ(info(options).orientation, orientation);
            EXPECT_EQ(decoded(url), storedRows(options));
        }
    }
}

TEST_F(HEIFSourceTest, RefusesAlphaThatDoesNotFit) {
    HEIFOptions options = {.pattern = translucentGradient, .alpha = true, .transformations = {irot(2)}};
    options.alphaTransformations = {{imir(0)}};
    EXPECT_TRUE(isRefused(made(options))) << "turned otherwise";
    options = {.alpha = true, .alphaWidth = 64};
    EXPECT_TRUE(isRefused(made(options))) << "smaller";
    EXPECT_TRUE(isRefused(patched(options, ispe(64, 64), ispe(96, 64)))) << "smaller than it says";
}

TEST_F(HEIFSourceTest, UndoesPremultiplication) {
    const auto pattern = [](std::int64_t x, std::int64_t) {
        return x < 48 ? Pixel{60, 100, 20, 100} : Pixel{0, 0, 0, 0};
    };
    made({.pattern = pattern, .alpha = true, .premultiplied = true});
    const Bytes rows = decoded(url);
    EXPECT_THAT(std::vector(rows.begin(), rows.begin() + 4), testing::ElementsAre(153, 255, 51, 100));
    EXPECT_THAT(std::vector(rows.end() - 4, rows.end()), testing::ElementsAre(0, 0, 0, 0));
}

TEST_F(HEIFSourceTest, TellsTheColorProfile) {
    const CodePoints displayP3 = {.primaries = 12, .transfer = 13};
    EXPECT_EQ(info({}).profile.name(), ColorProfile().name());
    EXPECT_EQ(info({.codePoints = displayP3}).profile.name(), "Display P3");
    EXPECT_EQ(info({.icc = ColorProfile::fromCodePoints(displayP3).iccForRGB()}).profile.name(),
              "Display P3");
    EXPECT_EQ(info({.icc = Bytes(200, 7)}).profile.name(), ColorProfile().name()) << "unreadable";
    EXPECT_EQ(info({.width = 128, .columns = 2, .codePoints = displayP3}).profile.name(), "Display P3");
}

TEST_F(HEIFSourceTest, TakesPicturesAsTelephonesMakeThem) {
    const HEIFOptions options = {
        .width = 128, .columns = 2, .transformations = {irot(3)}, .exif = exifBlock(6), .toneMap = true};
    const ImageInfo read = info(options);
    EXPECT_EQ(std::tuple(read.imageCount, read.hasAlpha, read.orientation.value_or(1)),
              std::tuple(1, false, 6));
    EXPECT_EQ(decoded(url), storedRows(options));
}

TEST_F(HEIFSourceTest, CountsPicturesAndSamples) {
    EXPECT_EQ(info({.alpha = true, .exif = exifBlock(1)}).imageCount, 1);
    EXPECT_EQ(info({.pictures = 3}).imageCount, 3);
    EXPECT_EQ(info({.sequenceSamples = 1}).imageCount, 1);
    EXPECT_EQ(info({.sequenceSamples = 25, .majorBrand = "msf1"}).imageCount, 25);
}

TEST_F(HEIFSourceTest, RefusesSizesThatTheDataDoesNotHave) {
    EXPECT_TRUE(isRefused(patched({}, ispe(96, 64), ispe(96, 65))));
    EXPECT_TRUE(isRefused(patched({}, ispe(96, 64), ispe(95, 64))));
    EXPECT_TRUE(isRefused(patched({}, ispe(96, 64), ispe(0, 64))));
}

TEST_F(HEIFSourceTest, KeepsToTheLimits) {
    made({.transformations = {clap(10, 10, 0, 0)}});
    EXPECT_FALSE(isRefused(url, {.maximumDimension = 96, .maximumBufferedPixels = 6'144}));
    EXPECT_TRUE(isRefused(url, {.maximumBufferedPixels = 6'143})) << "of the coded picture, not of its crop";
    EXPECT_TRUE(isRefused(url, {.maximumDimension = 95}));
    EXPECT_THROW(HEIFSource(folder / "missing.heic", {}), FileSystemError);
}

TEST_F(HEIFSourceTest, RefusesEveryCutFile) {
    made({.width = 64,
          .pattern =
              [](std::int64_t, std::int64_t) {
                  return Pixel{1, 2, 3, 4};
              },
          .alpha = true});
    forEachCut(url, [&](std::size_t length) { EXPECT_TRUE(isRefused(url)) << length; });
}

TEST_F(HEIFSourceTest, RefusesAGridWhoseLastTileIsMissing) {
    Bytes bytes = heifBytes({.width = 128, .pattern = noise, .columns = 2});
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() * 2 / 5), bytes.end(),
              std::uint8_t{0});
    writeFile(url, bytes);
    EXPECT_TRUE(isRefused(url));
}

TEST_F(HEIFSourceTest, SurvivesEveryFlippedByteOfItsStructure) {
    const Bytes bytes =
        heifBytes({.pattern = translucentGradient, .alpha = true, .transformations = {irot(1), imir(0)}});
    writeFile(url, bytes);
    const std::string data = "mdat";
    const auto structure = std::search(bytes.begin(), bytes.end(), data.begin(), data.end()) - bytes.begin();
    std::size_t refused = 0;
    forEachFlippedByte(url, static_cast<std::size_t>(structure), [&](std::size_t) {
        refused += isRefused(url, {.maximumBufferedPixels = 1 << 16}) ? 1 : 0;
    });
    EXPECT_GT(refused, 0U);
}

} // namespace
} // namespace tarnwick::test
