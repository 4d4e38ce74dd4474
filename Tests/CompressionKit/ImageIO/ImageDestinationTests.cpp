#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/ImageDestination.h"
#include "Support/Decoding.h"
#include "Support/Pictures.h"
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
    static ImageDestination::Options options(std::int64_t width = 32, std::int64_t height = 24) {
        return {.width = width, .height = height, .profile = {}};
    }
    /// Writes the pixels in two parts.
    URL written(const ImageDestination::Options& options, std::span<const std::uint8_t> rows) const {
        URL url = folder / "picture.png";
        ImageDestination destination(url, options);
        const auto first = static_cast<std::size_t>(options.width) * 4;
        destination.writeRows(rows.first(first));
        destination.writeRows(rows.subspan(first));
        destination.commit();
        return url;
    }
    URL written(const ImageDestination::Options& options) const { return written(options, translucent); }

    TemporaryFolder folder;
    const Bytes translucent = decoded(picture("translucent.png"));
    static constexpr std::size_t rowBytes = std::size_t{32} * 4;
};

TEST_F(ImageDestinationTest, DropsOnlyAlpha) {
    Bytes opaque = translucent;
    for (std::size_t at = 3; at < opaque.size(); at += 4) {
        opaque[at] = 255;
    }
    for (const Effort effort : {Effort::fast, Effort::small}) {
        auto png = options();
        png.effort = effort;
        EXPECT_EQ(decoded(written(png)), opaque);
        EXPECT_FALSE(ImageSource::open(folder / "picture.png")->info().hasAlpha);
        png.hasAlpha = true;
        EXPECT_EQ(decoded(written(png)), translucent);
        EXPECT_TRUE(ImageSource::open(folder / "picture.png")->info().hasAlpha);
    }
}

TEST_F(ImageDestinationTest, SpendsItsEffort) {
    const Bytes large = decoded(picture("large.png"));
    auto png = options(600, 400);
    const std::size_t fast = contents(written(png, large)).size();
    png.effort = Effort::small;
    EXPECT_LT(contents(written(png, large)).size(), fast);
}

TEST_F(ImageDestinationTest, StatesTheColorSpace) {
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

TEST_F(ImageDestinationTest, ReportsAFullDisk) {
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

TEST_F(ImageDestinationTest, CommitsOnlyAWholePicture) {
    const URL url = folder / "picture.png";
    const Bytes rows = decoded(picture("photo.png"));
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

TEST_F(ImageDestinationTest, RefusesSizesThatPNGCannotHold) {
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
