#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/ExifOrientation.h"
#include "ImageIO/GIFSource.h"
#include "ImageIO/HEIFSource.h"
#include "ImageIO/JPEGSource.h"
#include "ImageIO/PNGSource.h"
#include "Support/Decoding.h"
#include "Support/JPEGSegment.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

// What the decoders find in whole pictures is the subject of PictureTableTests.cpp.

namespace tarnwick::test {
namespace {

const std::vector<std::string> oneOfEachFormat = {"photo.png", "photo.jpg", "animation-3.gif", "photo.heic"};

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

ImageInfo infoOf(const std::string& name, const ImageLimits& limits = {}) {
    return ImageSource::open(picture(name), limits)->info();
}

class DamagedPictureTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override { testing::internal::CaptureStderr(); }
    /// Only the HEVC decoder, which cannot be silenced, prints errors of its own.
    void TearDown() override {
        const std::string printed = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(printed.empty() || std::string(GetParam()).ends_with(".heic")) << printed;
    }
};

TEST_P(DamagedPictureTest, IsRefusedWhereverItIsCut) {
    const std::string whole = pictureText(GetParam());
    EXPECT_FALSE(isRefused(bytesOf(whole)));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_TRUE(isRefused(bytesOf(whole.substr(0, length)))) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, DamagedPictureTest,
                         testing::Values("palette-4.png", "interlaced-palette-4.png", "photo.jpg",
                                         "photo-progressive.jpg", "orientation-3.jpg",
                                         "animation-2-small.gif", "heights-interlaced.gif", "alpha-8.heic",
                                         "crop-turned.heic"));

TEST(ImageSourceTest, SurvivesDamageToTheMetadataOfAPNG) {
    const Bytes bytes = pictureBytes("metadata.png");
    std::size_t accepted = 0;
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        for (const unsigned mask : {0x01U, 0x80U, 0xFFU}) {
            Bytes damaged = bytes;
            damaged[place] = static_cast<std::uint8_t>(damaged[place] ^ mask);
            accepted += isRefused(damaged) ? 0 : 1;
        }
    }
    EXPECT_GT(accepted, 900U) << "damage to metadata costs no more than the metadata";
}

TEST(ImageSourceTest, RefusesACutJPEGThatHasAnEndMarker) {
    const std::string whole = pictureText("photo.jpg");
    // The last bytes of the scan may be padding.
    for (std::size_t length = whole.find("\xFF\xDA") + 20; length < whole.size() - 4; ++length) {
        EXPECT_TRUE(isRefused(bytesOf(whole.substr(0, length) + "\xFF\xD9"))) << length;
    }
}

TEST(ImageSourceTest, TakesWhatFollowsTheEnd) {
    for (const char* name : {"photo.png", "photo.jpg", "animation-3.gif"}) {
        EXPECT_FALSE(isRefused(bytesOf(pictureText(name) + std::string("\0\x2C\xFF", 3)))) << name;
    }
}

TEST(ImageSourceTest, RefusesAFrameWhoseDataIsShort) {
    const auto frames = ImageSource::open(picture("second-frame-short.gif"))->frames();
    EXPECT_TRUE(frames->next());
    EXPECT_THROW(frames->next(), CompressionError);
}

TEST(ImageSourceTest, KeepsToTheLimits) {
    struct Row {
        const char* name;
        ImageLimits limits;
        bool isRefused;
    };
    const std::vector<Row> rows = {
        {"photo.png", {.maximumDimension = 32, .maximumPixels = 768, .maximumBufferedPixels = 1}, false},
        {"photo.png", {.maximumPixels = 767}, true},
        {"photo.png", {.maximumDimension = 31}, true},
        {"photo.png", {.maximumRowPixels = 31}, true},
        {"interlaced-rgb-8.png", {.maximumSmallFileMemory = 2607}, false},
        {"interlaced-rgb-8.png", {.maximumSmallFileMemory = 2606}, true},
        {"interlaced-rgb-8.png", {.smallFileBytes = 10, .maximumSmallFileMemory = 2606}, false},
        {"photo-progressive.jpg", {.maximumSmallFileMemory = 2688}, false},
        {"photo-progressive.jpg", {.maximumSmallFileMemory = 2687}, true},
        {"partial.gif", {.maximumSmallFileMemory = 40}, false},
        {"partial.gif", {.maximumSmallFileMemory = 39}, true},
        {"crop-turned.heic", {.maximumSmallFileMemory = 37'023}, true},
        {"upright.png", {.maximumDimension = 31}, true},
        {"interlaced-rgb-8.png", {.maximumBufferedPixels = 561}, false},
        {"interlaced-rgb-8.png", {.maximumBufferedPixels = 560}, true},
        {"photo.jpg", {.maximumPixels = 768, .maximumBufferedPixels = 767}, false},
        {"photo.jpg", {.maximumPixels = 767}, true},
        {"photo-progressive.jpg", {.maximumBufferedPixels = 767}, true},
        {"photo-progressive.jpg", {.maximumBufferedPixels = 768}, false},
        {"animation-3.gif",
         {.maximumDimension = 16, .maximumBufferedPixels = 192, .maximumFrames = 3},
         false},
        {"animation-3.gif", {.maximumBufferedPixels = 191}, true},
        {"animation-3.gif", {.maximumDimension = 15}, true},
        {"animation-3.gif", {.maximumFrames = 2}, true},
        {"beyond-screen.gif", {.maximumBufferedPixels = 60}, false},
        {"beyond-screen.gif", {.maximumBufferedPixels = 59}, true},
        {"crop-turned.heic", {.maximumDimension = 96, .maximumBufferedPixels = 6144}, false},
        {"crop-turned.heic", {.maximumBufferedPixels = 6143}, true},
        {"crop-turned.heic", {.maximumDimension = 95}, true},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(isRefused(picture(row.name), row.limits), row.isRefused)
            << row.name << " " << &row - rows.data();
    }
}

TEST(ImageSourceTest, LimitsSizesByDefault) {
    const ImageLimits limits;
    EXPECT_TRUE(limits.allow(32'768, 32'768, false));
    EXPECT_FALSE(limits.allow(32'768, 32'769, false));
    EXPECT_TRUE(limits.allow(16'384, 16'384, true));
    EXPECT_FALSE(limits.allow(16'384, 16'385, true));
    EXPECT_FALSE(limits.allow(0x7FFF'FFFF, 0x7FFF'FFFF, false));
    EXPECT_FALSE(limits.allow(0, 1, false));
    EXPECT_FALSE(limits.allow(1, 0, false));
}

TEST(ImageSourceTest, LimitsMetadata) {
    EXPECT_EQ(infoOf("orientation-6.png").orientation, 6);
    EXPECT_EQ(infoOf("orientation-6.png", {.maximumMetadataBytes = 10}).orientation, std::nullopt);
    EXPECT_EQ(infoOf("animated.png", {.maximumFrames = 2}).imageCount, 1);
    const std::string jpeg = pictureText("photo.jpg");
    const Bytes padded =
        bytesOf(jpeg.substr(0, 2) + segment('\xE2', std::string(40'000, 'x')) + jpeg.substr(2));
    EXPECT_FALSE(isRefused(padded));
    EXPECT_TRUE(isRefused(padded, {.maximumMetadataBytes = 20'000}));
    EXPECT_FALSE(isRefused(bytesOf(jpeg), {.maximumMetadataBytes = 20'000}));
}

TEST(ImageSourceTest, GivesEachImageOnceAndNoRowTwice) {
    for (const std::string& name : oneOfEachFormat) {
        SCOPED_TRACE(name);
        const auto source = ImageSource::open(picture(name));
        const auto frames = source->frames();
        const auto rowBytes = static_cast<std::size_t>(source->info().width) * 4;
        Bytes rows(rowBytes * static_cast<std::size_t>(source->info().height));
        EXPECT_THROW(frames->readRows(rows), std::logic_error) << "before next()";
        // HEIF's pictures beyond the primary one, and the frames of animated PNGs, are only counted.
        const bool isAnimation = name.ends_with(".gif");
        const std::int64_t count = isAnimation ? 3 : 1;
        for (std::int64_t index = 0; index < count; ++index) {
            EXPECT_TRUE(frames->next());
            EXPECT_THROW(frames->readRows(std::span(rows).first(rowBytes - 1)), std::logic_error);
            frames->readRows(std::span(rows).first(rowBytes));
        }
        frames->readRows(std::span(rows).subspan(rowBytes));
        EXPECT_EQ(rows, decoded(picture(name), count - 1));
        EXPECT_THROW(frames->readRows(std::span(rows).first(rowBytes)), std::logic_error);
        EXPECT_FALSE(frames->next());
        EXPECT_FALSE(frames->next());
    }
}

TEST(ImageSourceTest, RefusesAFileThatWasReplacedByAnotherSize) {
    const TemporaryFolder folder;
    for (const auto& [name, other] : {std::pair("photo.png", "large.png"), std::pair("photo.jpg", "half.jpg"),
                                      std::pair("photo.heic", "grid.heic")}) {
        const URL file = copyPicture(name, folder / name);
        const auto source = ImageSource::open(file);
        copyPicture(other, file);
        EXPECT_THROW(source->frames(), CompressionError) << name;
    }
}

template <typename Source>
void expectFailuresOfTheirKind() {
    const TemporaryFolder folder;
    EXPECT_THROW(Source(folder / "absent", {}), FileSystemError);
    EXPECT_THROW(Source(folder.url(), {}), FileSystemError);
    EXPECT_THROW(Source(folder.file("text", "no picture"), {}), CompressionError);
}

TEST(ImageSourceTest, DistinguishesWhatCannotBeReadFromWhatCannotBeDecoded) {
    expectFailuresOfTheirKind<PNGSource>();
    expectFailuresOfTheirKind<JPEGSource>();
    expectFailuresOfTheirKind<GIFSource>();
    expectFailuresOfTheirKind<HEIFSource>();
}

TEST(ImageSourceTest, ReducesAJPEGToEighthsOfItsSize) {
    const auto source = ImageSource::open(picture("photo.jpg"));
    const auto reducedTo = [&](std::int64_t width, std::int64_t height) {
        const ReducedFrames reduced = source->reducedFrames(width, height);
        return std::tuple(reduced.width, reduced.height, reduced.eighths);
    };
    EXPECT_EQ(reducedTo(4, 3), std::tuple(4, 3, 1));
    EXPECT_EQ(reducedTo(5, 3), std::tuple(8, 6, 2));
    EXPECT_EQ(reducedTo(32, 24), std::tuple(32, 24, 8));
}

TEST(ExifOrientationTest, ReadsBothByteOrdersAndRefusesShortBlocks) {
    const std::vector<std::string> blocks = {
        std::string("II*\0\x8\0\0\0\x1\0\x12\x1\x3\0\x1\0\0\0\x5\0\0\0\0\0\0\0", 26),
        std::string("MM\0*\0\0\0\x8\0\x1\x1\x12\0\x3\0\0\0\x1\0\x5\0\0\0\0\0\0", 26)};
    for (const std::string& block : blocks) {
        EXPECT_EQ(exifOrientation(bytesOf(block)), 5);
        EXPECT_EQ(exifOrientation(bytesOf(std::string("Exif\0\0", 6) + block)), 5);
        for (std::size_t length = 0; length < 22; ++length) {
            EXPECT_EQ(exifOrientation(bytesOf(block.substr(0, length))), std::nullopt) << length;
        }
        std::string asLong = block;
        asLong[block[0] == 'M' ? 13 : 12] = 4;
        EXPECT_EQ(exifOrientation(bytesOf(asLong)), std::nullopt) << "the type is SHORT";
    }
}

} // namespace
} // namespace tarnwick::test
