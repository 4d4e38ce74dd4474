#include "Foundation/CompressionError.h"
#include "ImageIO/DisplayDecoder.h"
#include "Support/MemoryFile.h"
#include "Support/Pictures.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Orientation, colour and the pixels of smaller pictures are the subject of PictureTableTests.cpp.

namespace tarnwick::test {
namespace {

TEST(DisplayDecoderTest, BringsHighDynamicRangeToTheScreen) {
    struct Row {
        const char* name;
        std::size_t paper;
    };
    // The value of a white sheet of paper in either standard.
    for (const Row& row : {Row{"ramp-pq.png", 148}, Row{"ramp-hlg.png", 191}}) {
        const Bitmap ramp = decodeForDisplay(picture(row.name), std::nullopt);
        const auto shade = [&](std::size_t value) { return int{ramp.pixels[value * 4]}; };
        EXPECT_NEAR(shade(row.paper), 225, 3);
        EXPECT_EQ(shade(0), 0);
        EXPECT_EQ(shade(255), 255);
        EXPECT_LT(shade(100), shade(140));
    }
}

TEST(DisplayDecoderTest, KeepsTheAspectRatioAndNeverEnlarges) {
    struct Row {
        const char* name;
        std::int64_t maximum, width, height;
    };
    for (const Row& row :
         {Row{"photo.png", 16, 16, 12}, Row{"upright.png", 10, 8, 10}, Row{"ramp-pq.png", 10, 10, 1},
          Row{"photo.png", 1, 1, 1}, Row{"photo.png", 33, 32, 24},
          Row{"photo.png", std::int64_t{1} << 62, 32, 24}, Row{"half-turned.jpg", 32, 16, 32}}) {
        const Bitmap shown = decodeForDisplay(picture(row.name), row.maximum);
        EXPECT_EQ(std::pair(shown.width, shown.height), std::pair(row.width, row.height)) << row.name;
        EXPECT_EQ(shown.pixels.size(), static_cast<std::size_t>(shown.width * shown.height * 4));
    }
}

bool isDisplayRefused(const URL& url, std::optional<std::int64_t> maximum, const ImageLimits& limits = {}) {
    try {
        decodeForDisplay(url, maximum, limits);
        return false;
    } catch (const CompressionError& error) {
        return error.errorCase() == CompressionError::Case::invalidImage;
    }
}

TEST(DisplayDecoderTest, RefusesWhatIsNotAWholePicture) {
    EXPECT_TRUE(isDisplayRefused(picture("noise.png"), 0));
    EXPECT_TRUE(isDisplayRefused(picture("noise.png"), -1));
    for (const char* name : {"noise.png", "noise.jpg", "animation-3.gif", "photo.heic"}) {
        for (const auto maximum : {std::optional<std::int64_t>(), std::optional<std::int64_t>(4)}) {
            Bytes file = pictureBytes(name);
            EXPECT_FALSE(isDisplayRefused(MemoryFile(file).url(), maximum)) << name;
            file.resize(file.size() * 3 / 4);
            EXPECT_TRUE(isDisplayRefused(MemoryFile(file).url(), maximum)) << name;
        }
    }
}

TEST(DisplayDecoderTest, ShowsSmallerWhatIsTooLargeToBeHeld) {
    const ImageLimits few = {.maximumBufferedPixels = 192};
    EXPECT_EQ(decodeForDisplay(picture("photo.png"), std::nullopt, few).width, 16);
    EXPECT_EQ(decodeForDisplay(picture("photo.png"), 20, few).width, 16);
    EXPECT_EQ(decodeForDisplay(picture("photo.png"), 10, few).width, 10);
    const ImageLimits little = {.maximumSmallFileMemory = 1024};
    EXPECT_EQ(decodeForDisplay(picture("half-turned.jpg"), std::nullopt, little).height, 16);
}

} // namespace
} // namespace tarnwick::test
