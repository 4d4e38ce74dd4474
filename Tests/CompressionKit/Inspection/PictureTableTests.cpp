#include "Foundation/CompressionError.h"
#include "Foundation/SHA256.h"
#include "ImageIO/ImageDestination.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/ImageRendering.h"
#include "Support/Decoding.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>

namespace tarnwick::test {
namespace {

using Row = nlohmann::json;

const Row& table() {
    static const Row rows = Row::parse(pictureText("pictures.json"));
    return rows;
}

ImageFacts statedFacts(const Row& row, ImageKind kind) {
    ImageFacts facts = {.kind = kind, .width = row["width"], .height = row["height"]};
    facts.frameCount = row.value("frames", 1);
    facts.hasAlpha = row.value("alpha", false);
    facts.profileName = row.value("profile", "sRGB IEC61966-2.1");
    facts.orientation = row.value("orientation", 1);
    facts.hasJPEGMultiPictureData = row.value("mpf", false);
    if (row.contains("loops")) {
        facts.gifLoopCount = row["loops"].get<std::int64_t>();
    }
    facts.gifFrameDelays = row.value("delays", std::vector<double>());
    return facts;
}

Bytes fromHex(const std::string& digits) {
    Bytes bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

int largestDifference(std::span<const std::uint8_t> left, std::span<const std::uint8_t> right) {
    int largest = left.size() == right.size() ? 0 : 256;
    for (std::size_t at = 0; at < std::min(left.size(), right.size()); ++at) {
        largest = std::max(largest, std::abs(left[at] - right[at]));
    }
    return largest;
}

void expectSamples(const Bytes& rows, std::int64_t width, const Row& samples, int tolerance) {
    for (const Row& sample : samples) {
        const auto x = sample[0].get<std::int64_t>();
        const auto y = sample[1].get<std::int64_t>();
        const auto pixel = std::span(rows).subspan(static_cast<std::size_t>(y * width + x) * 4, 4);
        EXPECT_LE(largestDifference(pixel, fromHex(sample[2])), tolerance)
            << x << "," << y << ": " << testing::PrintToString(pixel) << " instead of " << sample[2];
    }
}

void expectImage(const Bytes& rows, const Row& row, const Row& image) {
    expectSamples(rows, row["width"], image["pixels"], row["tolerance"]);
    if (image.contains("sha256")) {
        EXPECT_EQ(image["sha256"],
                  SHA256::hexDigest({reinterpret_cast<const char*>(rows.data()), rows.size()}));
    }
}

/// What Tests/Pictures/pictures.json states, for all files whose names end as the parameter does.
class PictureTableTest : public testing::TestWithParam<std::string> {
protected:
    static void forEachRow(const std::function<void(const std::string& name, const Row& row)>& check) {
        int count = 0;
        for (const Row& row : table()) {
            const std::string name = row["file"];
            if (name.ends_with(GetParam())) {
                SCOPED_TRACE(name);
                check(name, row);
                ++count;
            }
        }
        EXPECT_GT(count, 0);
    }
    static void forEachPicture(const std::function<void(const URL& url, const Row& row)>& check) {
        forEachRow([&](const std::string& name, const Row& row) {
            if (!row.contains("error")) {
                check(picture(name), row);
            }
        });
    }

    TemporaryFolder folder;
};

TEST_P(PictureTableTest, FindsTheFacts) {
    forEachPicture([](const URL& url, const Row& row) {
        EXPECT_EQ(ImageFacts::inspect(url), statedFacts(row, *ImageKind::from(url)));
        EXPECT_EQ(ImageSource::open(url)->info().bitsPerComponent, row.value("bits", 8));
    });
}

TEST_P(PictureTableTest, RefusesWhatIsNotWhatItsNameSays) {
    forEachRow([](const std::string& name, const Row& row) {
        if (row.contains("error")) {
            try {
                ImageFacts::inspect(picture(name));
                ADD_FAILURE() << "accepted";
            } catch (const CompressionError& error) {
                EXPECT_EQ(error.errorCase(), row["error"] == "formatMismatch"
                                                 ? CompressionError::Case::formatMismatch
                                                 : CompressionError::Case::invalidImage);
            }
        }
    });
}

TEST_P(PictureTableTest, DecodesTheSamePixelsAsAnotherProgram) {
    forEachPicture([](const URL& url, const Row& row) {
        std::int64_t index = 0;
        for (const Row& image : row["images"]) {
            const Bytes rows = decoded(url, index);
            expectImage(rows, row, image);
            EXPECT_EQ(decoded(url, index, 1), rows) << "row by row";
            EXPECT_EQ(decoded(url, index, row["height"]), rows) << "at once";
            if (row.contains("same")) {
                EXPECT_EQ(decoded(picture(row["same"]), index), rows);
            }
            ++index;
        }
    });
}

TEST_P(PictureTableTest, ShowsTurnedPixelsInSRGB) {
    // Rounding to 8 bits before the conversion is visible in dark tones; JPEG shrinks with its own filter.
    const int thumbnailTolerance = GetParam() == ".jpg" ? 8 : 4;
    forEachPicture([&](const URL& url, const Row& row) {
        if (row.contains("shown")) {
            const Row& shown = row["shown"];
            const DisplayImage whole = ImageRendering::decode(url, std::nullopt);
            EXPECT_EQ(whole->width, shown["width"]);
            EXPECT_EQ(whole->height, shown["height"]);
            expectSamples(whole->pixels, whole->width, shown["pixels"], row["tolerance"].get<int>() + 2);
            for (const Row& thumbnail : shown["thumbnails"]) {
                const DisplayImage small = ImageRendering::thumbnail(url, thumbnail["maximum"]);
                EXPECT_EQ(small->width, thumbnail["width"]);
                EXPECT_EQ(small->height, thumbnail["height"]);
                expectSamples(small->pixels, small->width, thumbnail["pixels"],
                              row["tolerance"].get<int>() + thumbnailTolerance);
            }
        }
    });
}

TEST_P(PictureTableTest, FindsEachPictureEqualToItselfAlone) {
    forEachPicture([](const URL& url, const Row& row) {
        EXPECT_TRUE(ImageFacts::pixelsEqual(url, url));
        EXPECT_TRUE(ImageFacts::alphaDeviationWithin(url, url, 0));
        EXPECT_TRUE(ImageFacts::quantizedAlphaWithin(url, url));
        if (GetParam() == ".gif") {
            EXPECT_EQ(ImageFacts::gifFramesEqual(url, url), row["images"].size() == row["frames"]);
        }
        EXPECT_EQ(ImageFacts::pixelsEqual(url, picture("noise.png")), row["file"] == "noise.png");
    });
}

TEST_P(PictureTableTest, WritesWhatItReads) {
    forEachPicture([&](const URL& url, const Row& row) {
        const auto source = ImageSource::open(url);
        const ImageInfo& info = source->info();
        const Bytes rows = decoded(url);
        const URL copy = folder / "copy.png";
        ImageDestination destination(
            copy,
            {.width = info.width, .height = info.height, .hasAlpha = info.hasAlpha, .profile = info.profile});
        destination.writeRows(rows);
        destination.commit();
        EXPECT_EQ(decoded(copy), rows);
        if (row.value("profile", "") != "Generic CMYK Profile") {
            EXPECT_EQ(ImageSource::open(copy)->info().profile.name(), info.profile.name());
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Kinds, PictureTableTest, testing::Values(".png", ".jpg", ".gif", ".heic"),
                         [](const auto& kind) { return kind.param.substr(1); });

TEST(GIFFrameExportTest, WritesEachCompositedFrame) {
    for (const Row& row : table()) {
        const std::string name = row["file"];
        if (name.ends_with(".gif") && !row.contains("error") && row["images"].size() == row["frames"]) {
            SCOPED_TRACE(name);
            const TemporaryFolder folder;
            const std::vector<URL> files = ImageFacts::exportGIFFrames(picture(name), folder / "frames");
            ASSERT_EQ(files.size(), row["images"].size());
            for (std::size_t index = 0; index < files.size(); ++index) {
                EXPECT_EQ(files[index].lastPathComponent(), "frame-" + std::to_string(index) + ".png");
                expectImage(decoded(files[index]), row, row["images"][index]);
            }
        }
    }
}

} // namespace
} // namespace tarnwick::test
