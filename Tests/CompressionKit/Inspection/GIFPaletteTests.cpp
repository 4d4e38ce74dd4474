#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/ImageSource.h"
#include "Inspection/GIFPalette.h"
#include "Support/PNGMaker.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarnwick {
namespace {

using GIFPalette::ContactSheetLayout;
using test::contents;
using test::Pixel;

class GIFPaletteTests : public testing::Test {
protected:
    URL frame(int index, std::int64_t width, std::int64_t height) const {
        test::PNGOptions options;
        options.width = width;
        options.height = height;
        options.pattern = [index](std::int64_t, std::int64_t) {
            return Pixel{static_cast<std::uint8_t>(index), 0, 0};
        };
        URL url = folder / ("frame-" + std::to_string(index) + ".png");
        test::writePNG(url, options);
        return url;
    }
    std::vector<URL> frames(int count, std::int64_t width, std::int64_t height) const {
        std::vector<URL> urls;
        urls.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            urls.push_back(frame(i, width, height));
        }
        return urls;
    }
    /// A file of one chunk after the signature.
    URL pngWith(std::string_view type, const Bytes& data) const {
        const Bytes chunk = test::pngChunk(type, data);
        return folder.file("palette.png", "\x89PNG\r\n\x1A\n" + std::string(chunk.begin(), chunk.end()));
    }

    test::TemporaryFolder folder;
};

TEST_F(GIFPaletteTests, spreadsTheSamplesOverTheAnimation) {
    using Frames = std::vector<std::int64_t>;
    EXPECT_EQ(ContactSheetLayout::make(1, 9, 9).frames, (Frames{0}));
    EXPECT_EQ(ContactSheetLayout::make(3, 9, 9).frames, (Frames{0, 1, 2}));
    EXPECT_EQ(ContactSheetLayout::make(20, 9, 9).frames, (Frames{0, 2, 5, 8, 10, 13, 16, 19}));

    struct Row {
        std::int64_t count, width, height, tileWidth, tileHeight, columns, rows;
    };
    for (const Row& row : {Row{1, 1'000, 500, 640, 320, 1, 1}, Row{3, 100, 80, 100, 80, 3, 1},
                           Row{5, 640, 480, 640, 480, 4, 2}, Row{200, 1, 2'000, 1, 640, 4, 2}}) {
        const auto layout = ContactSheetLayout::make(row.count, row.width, row.height);
        EXPECT_EQ(layout.tileWidth, row.tileWidth);
        EXPECT_EQ(layout.tileHeight, row.tileHeight);
        EXPECT_EQ(layout.columns, row.columns);
        EXPECT_EQ(layout.rows, row.rows);
    }
}

TEST_F(GIFPaletteTests, laysTheFirstRowAtTheBottom) {
    const URL sheet = folder / "sheet.png";
    GIFPalette::writeContactSheet(frames(5, 6, 4), sheet);
    const auto source = ImageSource::open(sheet);
    ASSERT_EQ(source->info().width, 24);
    ASSERT_EQ(source->info().height, 8);
    std::vector<std::uint8_t> pixels(std::size_t{24} * 8 * 4);
    const auto reader = source->frames();
    ASSERT_TRUE(reader->next());
    reader->readRows(pixels);
    const auto at = [&](std::size_t column, std::size_t row) {
        const std::size_t offset = (row * 24 + column) * 4;
        return Pixel{pixels[offset], pixels[offset + 1], pixels[offset + 2], pixels[offset + 3]};
    };
    for (std::size_t tile = 0; tile < 4; ++tile) {
        const Pixel expected{static_cast<std::uint8_t>(tile), 0, 0, 255};
        EXPECT_EQ(at(tile * 6, 4), expected);
        EXPECT_EQ(at(tile * 6 + 5, 7), expected);
    }
    EXPECT_EQ(at(0, 0), (Pixel{4, 0, 0, 255}));
    EXPECT_EQ(at(5, 3), (Pixel{4, 0, 0, 255}));
    EXPECT_EQ(at(6, 0), (Pixel{0, 0, 0, 0})) << "cells without a frame stay transparent";
}

TEST_F(GIFPaletteTests, leavesNoSheetBehindAFailure) {
    const URL sheet = folder / "sheet.png";
    EXPECT_THROW(GIFPalette::writeContactSheet({}, sheet), CompressionError);
    EXPECT_THROW(GIFPalette::writeContactSheet({frame(0, 5, 5), folder / "missing.png"}, sheet),
                 CompressionError);
    EXPECT_THROW(GIFPalette::writeContactSheet({folder.file("x.png", "text")}, sheet), CompressionError);
    EXPECT_FALSE(itemExists(sheet));
}

TEST_F(GIFPaletteTests, writesAColorMapOfOneSize) {
    const URL map = folder / "map.gif";
    GIFPalette::writeColorMap(pngWith("PLTE", {1, 2, 3, 250, 251, 252}), map);
    std::string expected("GIF89a\1\0\1\0\xF7\0\0\1\2\3", 16);
    for (int i = 0; i < 255; ++i) {
        expected += "\xFA\xFB\xFC";
    }
    expected += std::string("\x2C\0\0\0\0\1\0\1\0\0\x08\x04\0\x01\x04\x04\0\x3B", 18);
    EXPECT_EQ(contents(map), expected);
    EXPECT_EQ(contents(map).size(), 799U);
    const auto source = ImageSource::open(map);
    std::vector<std::uint8_t> pixel(4);
    const auto reader = source->frames();
    ASSERT_TRUE(reader->next());
    reader->readRows(pixel);
    EXPECT_EQ(pixel, (std::vector<std::uint8_t>{1, 2, 3, 255}));

    GIFPalette::writeColorMap(pngWith("PLTE", Bytes(768, 7)), map);
    EXPECT_EQ(contents(map).substr(13, 768), std::string(768, '\7'));
}

TEST_F(GIFPaletteTests, refusesFilesWithoutAUsablePalette) {
    const URL map = folder / "map.gif";
    for (const std::size_t size : {0U, 2U, 4U, 769U, 771U}) {
        EXPECT_THROW(GIFPalette::writeColorMap(pngWith("PLTE", Bytes(size, 1)), map), CompressionError)
            << size;
    }
    const std::string whole = contents(pngWith("PLTE", {1, 2, 3}));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_THROW(GIFPalette::writeColorMap(folder.file("cut.png", whole.substr(0, size)), map),
                     CompressionError);
    }
    EXPECT_THROW(GIFPalette::writeColorMap(pngWith("IDAT", {1, 2, 3}), map), CompressionError);
    EXPECT_THROW(GIFPalette::writeColorMap(frame(0, 4, 4), map), CompressionError)
        << "a picture without palette";
    EXPECT_THROW(GIFPalette::writeColorMap(folder / "missing.png", map), FileSystemError);
    EXPECT_FALSE(itemExists(map));
}

} // namespace
} // namespace tarnwick
