#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/GIFSource.h"
#include "Support/Damage.h"
#include "Support/Decoding.h"
#include "Support/GIFMaker.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;

/// Small pictures as text: a digit is the palette index of an opaque pixel, a dot a transparent one.
using Lines = std::vector<std::string>;

class GIFSourceTest : public testing::Test {
protected:
    URL made(const GIFOptions& options) const {
        writeGIF(url, options);
        return url;
    }
    ImageInfo info(const GIFOptions& options) const { return ImageSource::open(made(options))->info(); }
    Lines shown(std::int64_t image = 0) const {
        const auto width = static_cast<std::size_t>(ImageSource::open(url)->info().width);
        const Bytes rows = decoded(url, image, 1);
        Lines lines;
        for (std::size_t at = 0; at < rows.size(); at += 4) {
            if (at % (width * 4) == 0) {
                lines.emplace_back();
            }
            lines.back() += symbol({rows[at], rows[at + 1], rows[at + 2], rows[at + 3]});
        }
        return lines;
    }

    TemporaryFolder folder;
    URL url = folder / "picture.gif";
    std::vector<Pixel> palette = GIFOptions::rainbowPalette(8);

private:
    char symbol(const Pixel& pixel) const {
        const auto found = std::find(palette.begin(), palette.end(), pixel);
        if (found != palette.end()) {
            return static_cast<char>('0' + (found - palette.begin()));
        }
        return pixel == Pixel{0, 0, 0, 0} ? '.' : '?';
    }
};

/// A corner of 3 × 2 whose pixels are numbered from 1.
GIFFrame numbered(std::int64_t left, std::int64_t top) {
    return {.left = left, .top = top, .width = 3, .height = 2, .pattern = [](std::int64_t x, std::int64_t y) {
                return static_cast<std::uint8_t>(y * 3 + x + 1);
            }};
}

TEST_F(GIFSourceTest, DisposesOfAFrameBeforeTheNextOne) {
    struct Case {
        std::optional<int> disposal;
        Lines after;
    };
    const Lines kept = {"0007", "1230", "4560"};
    const Lines restored = {"0007", "0000", "0000"};
    const std::vector<Case> cases = {{{}, kept},    {0, kept},     {1, kept}, {2, {"0007", "...0", "...0"}},
                                     {3, restored}, {4, restored}, {5, kept}};
    for (const Case& test : cases) {
        SCOPED_TRACE(test.disposal.value_or(-1));
        GIFFrame middle = numbered(0, 1);
        middle.disposal = test.disposal;
        const GIFFrame last = {.left = 3, .width = 1, .height = 1, .pattern = filledWith(7)};
        made({.width = 4,
              .height = 3,
              .palette = palette,
              .frames = {{.pattern = filledWith(0)}, middle, last}});
        EXPECT_EQ(shown(1), (Lines{"0000", "1230", "4560"}));
        EXPECT_EQ(shown(2), test.after);
    }
}

TEST_F(GIFSourceTest, RestoresWhatStoodBeforeAChainOfFrames) {
    GIFFrame first = numbered(0, 0);
    first.disposal = 3;
    GIFFrame second = numbered(1, 1);
    second.disposal = 2;
    made({.width = 4, .height = 3, .palette = palette, .frames = {first, second, first, numbered(2, 2)}});
    EXPECT_EQ(shown(0), (Lines{"123.", "456.", "...."}));
    EXPECT_EQ(shown(1), (Lines{"....", ".123", ".456"}));
    EXPECT_EQ(shown(2), (Lines{"123.", "456.", "...."}));
    EXPECT_EQ(shown(3), (Lines{"....", "....", "..12"}));
}

TEST_F(GIFSourceTest, LeavesTransparentAndUnexplainedPixelsAsTheyAre) {
    GIFFrame holes = numbered(0, 0);
    holes.transparentIndex = 5;
    GIFFrame unexplained = numbered(1, 1);
    unexplained.palette = {palette[0], palette[1], palette[7], palette[6]};
    made({.width = 4, .height = 3, .palette = palette, .frames = {holes, unexplained}});
    EXPECT_EQ(shown(0), (Lines{"123.", "4.6.", "...."}));
    EXPECT_EQ(shown(1), (Lines{"123.", "4176", "...."}));
}

TEST_F(GIFSourceTest, ClipsFramesToTheScreen) {
    GIFFrame across = numbered(2, 2);
    across.disposal = 2;
    made({.width = 4,
          .height = 3,
          .palette = palette,
          .frames = {across, numbered(9, 1), numbered(1, 9), numbered(0, 0)}});
    EXPECT_EQ(shown(0), (Lines{"....", "....", "..12"}));
    EXPECT_EQ(shown(1), (Lines{"....", "....", "...."}));
    EXPECT_EQ(shown(2), (Lines{"....", "....", "...."}));
    EXPECT_EQ(shown(3), (Lines{"123.", "456.", "...."}));
}

TEST_F(GIFSourceTest, DecodesInterlacedFramesOfAnyHeight) {
    for (const std::int64_t height : {1, 2, 3, 4, 5, 8, 9, 17}) {
        const auto pattern = [](std::int64_t x, std::int64_t y) {
            return static_cast<std::uint8_t>((x + y * 3) % 8);
        };
        made({.width = 5, .height = height, .palette = palette, .frames = {{.pattern = pattern}}});
        const Bytes progressive = decoded(url);
        made({.width = 5,
              .height = height,
              .palette = palette,
              .frames = {{.pattern = pattern, .interlaced = true}}});
        EXPECT_EQ(decoded(url), progressive) << height;
        EXPECT_THAT(progressive, testing::SizeIs(static_cast<std::size_t>(height * 20)));
    }
}

TEST_F(GIFSourceTest, CompositesFramesWhoseRowsAreNotRead) {
    made({.width = 4, .height = 3, .palette = palette, .frames = {numbered(0, 0), numbered(1, 1)}});
    const auto frames = ImageSource::open(url)->frames();
    Bytes rows(48);
    EXPECT_THROW(frames->readRows(rows), std::logic_error);
    ASSERT_TRUE(frames->next());
    frames->readRows(std::span(rows).first(16));
    ASSERT_TRUE(frames->next());
    frames->readRows(rows);
    EXPECT_EQ(rows, decoded(url, 1));
    EXPECT_THROW(frames->readRows(std::span(rows).first(16)), std::logic_error);
    EXPECT_FALSE(frames->next());
    EXPECT_FALSE(frames->next());
}

TEST_F(GIFSourceTest, StatesScreenFramesAndAlpha) {
    const ImageInfo plain = info({.width = 5, .height = 3});
    EXPECT_THAT(std::tuple(plain.width, plain.height, plain.imageCount, plain.hasAlpha),
                testing::FieldsAre(5, 3, 1, false));
    EXPECT_EQ(plain.loopCount, std::nullopt);
    EXPECT_EQ(plain.orientation, std::nullopt);

    GIFFrame transparent;
    transparent.transparentIndex = 3;
    EXPECT_TRUE(info({.frames = {transparent}}).hasAlpha);
    EXPECT_TRUE(info({.width = 4, .height = 3, .frames = {numbered(0, 0)}}).hasAlpha);
    EXPECT_FALSE(info({.width = 3, .height = 2, .frames = {numbered(0, 0), transparent}}).hasAlpha);

    const ImageInfo screenless = info({.width = 0, .height = 0, .frames = {numbered(4, 1), numbered(0, 9)}});
    EXPECT_THAT(std::tuple(screenless.width, screenless.height), testing::FieldsAre(7, 3));
}

TEST_F(GIFSourceTest, ReadsDelaysOfEachFrame) {
    const std::string control("\x04\x63\x00\x00", 4);
    const GIFFrame bare;
    GIFFrame timed;
    timed.delay = 7;
    GIFFrame late = timed;
    late.delay = 65'535;
    GIFFrame commented = timed;
    commented.extensions = gifExtension(0xFE, {"between"});
    GIFFrame restated = timed;
    restated.extensions = gifExtension(0xF9, {control});
    GIFFrame consumed = timed;
    consumed.extensions = gifExtension(0x01, {std::string(12, '\0'), "text"});
    const ImageInfo read = info({.frames = {timed, bare, late, commented, restated, consumed}});
    EXPECT_THAT(read.frameDelays, ElementsAre(0.07, 0.0, 655.35, 0.07, 0.99, 0.0));
}

TEST_F(GIFSourceTest, ReadsTheLoopCount) {
    EXPECT_EQ(info({.loopCount = 0}).loopCount, 0);
    EXPECT_EQ(info({.loopCount = 65'535}).loopCount, 65'535);
    const std::string count("\x01\x05\x01", 3);
    const std::vector<std::pair<Bytes, std::optional<std::int64_t>>> cases = {
        {gifExtension(0xFF, {"ANIMEXTS1.0", count}), 261},
        {gifExtension(0xFF, {"NETSCAPE2.0", std::string("\x02\0\0\0\0", 5), count}), 261},
        {gifExtension(0xFF, {"NETSCAPE2.0", std::string("\x02\x05\x01", 3)}), std::nullopt},
        {gifExtension(0xFF, {"NETSCAPE2.0"}), std::nullopt},
        {gifExtension(0xFF, {"XMP DataXMP", count}), std::nullopt},
        {gifExtension(0xFE, {"NETSCAPE2.0", count}), std::nullopt},
    };
    for (const auto& [extension, expected] : cases) {
        EXPECT_EQ(info({.extensions = extension}).loopCount, expected) << testing::PrintToString(extension);
        EXPECT_EQ(info({.extensionsAtEnd = extension}).loopCount, expected);
    }
}

TEST_F(GIFSourceTest, RefusesWhatIsCutAndTakesWhatFollowsTheTrailer) {
    GIFOptions options = gifAnimation(2, 9, 5);
    options.comment = "cut";
    Bytes bytes = gifBytes(options);
    writeFile(url, bytes);
    forEachCut(url, [&](std::size_t length) { EXPECT_TRUE(isRefused(url)) << length; });
    bytes.insert(bytes.end(), {0, 0x2C, 0xFF});
    writeFile(url, bytes);
    EXPECT_FALSE(isRefused(url));
}

TEST_F(GIFSourceTest, RefusesDataThatEndsBeforeTheImageDoes) {
    GIFFrame shallow = {.width = 4, .height = 3};
    Bytes bytes = gifBytes({.width = 4, .height = 4, .frames = {shallow, shallow}});
    // The second descriptor's height, so that the file stays whole but its data is a row short.
    const Bytes descriptor = {0x2C, 0, 0, 0, 0, 4, 0, 3, 0};
    const auto second = std::find_end(bytes.begin(), bytes.end(), descriptor.begin(), descriptor.end());
    ASSERT_NE(second, bytes.end());
    second[7] = 4;
    writeFile(url, bytes);
    const auto frames = ImageSource::open(url)->frames();
    EXPECT_TRUE(frames->next());
    EXPECT_THROW(frames->next(), CompressionError);
}

TEST_F(GIFSourceTest, RefusesMalformedFiles) {
    EXPECT_TRUE(isRefused(made({.frames = {}})));
    EXPECT_TRUE(isRefused(made({.palette = {}}))) << "no palette";
    EXPECT_TRUE(isRefused(made({.frames = {{.width = 0}}}))) << "no width";
    EXPECT_TRUE(isRefused(made({.extensions = gifExtension(0xF9, {"odd"})}))) << "short control";
    EXPECT_TRUE(isRefused(made({.extensions = gifExtension(0xF9, {})}))) << "empty control";
    EXPECT_TRUE(isRefused(made({.extensions = {0x00}}))) << "unknown record";
    EXPECT_THROW(GIFSource(folder.url(), {}), FileSystemError);
}

TEST_F(GIFSourceTest, KeepsToTheLimits) {
    made(gifAnimation(3, 10, 6));
    EXPECT_FALSE(isRefused(url, {.maximumDimension = 10, .maximumBufferedPixels = 60, .maximumFrames = 3}));
    EXPECT_TRUE(isRefused(url, {.maximumBufferedPixels = 59}));
    EXPECT_TRUE(isRefused(url, {.maximumDimension = 9}));
    EXPECT_TRUE(isRefused(url, {.maximumFrames = 2}));
    made({.width = 4, .height = 4, .frames = {{.width = 10, .height = 6}}});
    EXPECT_TRUE(isRefused(url, {.maximumBufferedPixels = 59})) << "a frame far beyond its screen";
}

TEST_F(GIFSourceTest, SurvivesEveryFlippedByte) {
    GIFOptions options = gifAnimation(2, 9, 5);
    options.frames[1].interlaced = true;
    options.frames[1].disposal = 3;
    made(options);
    std::size_t refused = 0;
    forEachFlippedByte(url, 10'000, [&](std::size_t) {
        refused += isRefused(url, {.maximumBufferedPixels = 1 << 16}) ? 1 : 0;
    });
    EXPECT_GT(refused, 0U);
}

} // namespace
} // namespace tarnwick::test
