#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/ImageDestination.h"
#include "Support/Decoding.h"
#include "Support/Pixel.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace tarnwick::test {
namespace {

using Effort = ImageDestination::Effort;
using testing::HasSubstr;
using testing::Not;

class ImageDestinationTest : public testing::Test {
protected:
    static ImageDestination::Options options(std::int64_t width = 45, std::int64_t height = 31) {
        ImageDestination::Options options;
        options.width = width;
        options.height = height;
        return options;
    }
    URL written(const ImageDestination::Options& options, const Pattern& pattern = gradient) const {
        URL url = folder / "picture.png";
        ImageDestination destination(url, options);
        const Bytes rows = rgbaRows(options.width, options.height, pattern);
        const auto first = static_cast<std::size_t>(options.width) * 4;
        destination.writeRows(std::span(rows).first(first));
        destination.writeRows(std::span(rows).subspan(first));
        destination.commit();
        return url;
    }

    TemporaryFolder folder;
};

TEST_F(ImageDestinationTest, keepsEveryPixel) {
    for (const Effort effort : {Effort::fast, Effort::small}) {
        for (const auto& pattern : {Pattern(translucentGradient), Pattern(noise)}) {
            auto png = options();
            png.effort = effort;
            png.hasAlpha = true;
            URL url = written(png, pattern);
            EXPECT_EQ(decoded(url), rgbaRows(45, 31, pattern));
            EXPECT_TRUE(ImageSource::open(url)->info().hasAlpha);

            png.hasAlpha = false;
            url = written(png, pattern);
            const auto opaque = [&pattern](auto x, auto y) {
                Pixel pixel = pattern(x, y);
                pixel.alpha = 255;
                return pixel;
            };
            EXPECT_EQ(decoded(url), rgbaRows(45, 31, opaque));
            EXPECT_FALSE(ImageSource::open(url)->info().hasAlpha);
        }
    }
}

TEST_F(ImageDestinationTest, spendsItsEffort) {
    auto png = options(300, 200);
    const std::size_t fast = contents(written(png)).size();
    png.effort = Effort::small;
    EXPECT_LT(contents(written(png)).size(), fast);
}

TEST_F(ImageDestinationTest, statesTheColorSpace) {
    auto png = options();
    EXPECT_THAT(contents(written(png)), HasSubstr("sRGB"));

    png.profile = ColorProfile::fromCodePoints({12, 13, 1, false});
    URL url = written(png);
    EXPECT_EQ(ImageSource::open(url)->info().profile.name(), "Display P3");
    EXPECT_EQ(ImageSource::open(url)->info().profile.iccForRGB(), png.profile.iccForRGB());
    EXPECT_THAT(contents(url), Not(HasSubstr("sRGB")));

    png.profile = ColorProfile::fromCodePoints({9, 16, 9, false});
    url = written(png);
    EXPECT_EQ(ImageSource::open(url)->info().profile.name(), png.profile.name());
    EXPECT_EQ(ImageSource::open(url)->info().profile.codePoints(), (CodePoints{9, 16, 0, true}));

    png.tagsProfile = false;
    EXPECT_THAT(contents(written(png)), Not(HasSubstr("cICP")));
    png.profile = {};
    EXPECT_THAT(contents(written(png)), Not(HasSubstr("sRGB")));
}

TEST_F(ImageDestinationTest, reportsAFullDisk) {
    const auto onFullDisk = [] { ImageDestination destination(URL::file("/dev/full"), options()); };
    try {
        onFullDisk();
        FAIL() << "nothing was thrown";
    } catch (const FileSystemError& error) {
        EXPECT_TRUE(error.isOutOfSpace());
        EXPECT_THAT(error.what(), HasSubstr("/dev/full"));
    }
    EXPECT_THROW(ImageDestination(folder / "absent/picture.png", options()), FileSystemError);
}

TEST_F(ImageDestinationTest, endsOnlyAWholePicture) {
    const URL url = folder / "picture.png";
    const Bytes rows = rgbaRows(45, 31, gradient);
    constexpr std::size_t rowBytes = std::size_t{45} * 4;
    ImageDestination destination(url, options());
    destination.writeRows(std::span(rows).first(rowBytes));
    EXPECT_THROW(destination.commit(), std::logic_error);
    EXPECT_THROW(destination.writeRows(std::span(rows).first(rowBytes - 1)), std::logic_error);
    EXPECT_THROW(destination.writeRows(rows), std::logic_error) << "one row too many";
    EXPECT_TRUE(isRefused(url)) << "it is unfinished";
    destination.writeRows(std::span(rows).subspan(rowBytes));
    destination.commit();
    EXPECT_THROW(destination.commit(), std::logic_error);
    EXPECT_EQ(decoded(url), rows);

    ImageDestination(url, options()).writeRows(rows);
    EXPECT_FALSE(itemExists(url)) << "what was not committed is discarded";
}

TEST_F(ImageDestinationTest, refusesSizesThatPNGCannotHold) {
    const URL url = folder.file("picture.png", "kept");
    for (const auto& [width, height] : {std::pair<std::int64_t, std::int64_t>(0, 1),
                                        {1, 0},
                                        {-1, 1},
                                        {1, std::int64_t{1} << 31},
                                        {(std::int64_t{1} << 32) + 1, 1}}) {
        EXPECT_THROW(ImageDestination(url, options(width, height)), CompressionError);
    }
    EXPECT_EQ(contents(url), "kept");
}

} // namespace
} // namespace tarnwick::test
