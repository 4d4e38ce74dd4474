#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "Inspection/GIFFrameExport.h"
#include "Inspection/GIFPalette.h"
#include "Support/Decoding.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <tuple>
#include <vector>

namespace tarnwick::test {
namespace {

using namespace std::string_literals;
using GIFPalette::ContactSheetLayout;

constexpr auto signature = "\x89PNG\r\n\x1A\n";

/// A PNG that consists of one chunk of fewer than 65,536 bytes.
std::string oneChunk(const std::string& type, const std::string& data) {
    return signature + "\0\0"s + static_cast<char>(data.size() >> 8U) + static_cast<char>(data.size()) +
           type + data + "crc.";
}

TEST(ContactSheetLayoutTest, SpreadsTheSamplesOverTheAnimation) {
    using Numbers = std::vector<std::int64_t>;
    for (const auto& [count, width, height, tiles, frames] :
         std::initializer_list<std::tuple<int, int, int, Numbers, Numbers>>{
             {1, 1'000, 500, {640, 320, 1, 1}, {0}},
             {3, 100, 80, {100, 80, 3, 1}, {0, 1, 2}},
             {5, 640, 480, {640, 480, 4, 2}, {0, 1, 2, 3, 4}},
             {20, 1, 2'000, {1, 640, 4, 2}, {0, 2, 5, 8, 10, 13, 16, 19}}}) {
        const auto layout = ContactSheetLayout::make(count, width, height);
        EXPECT_EQ((Numbers{layout.tileWidth, layout.tileHeight, layout.columns, layout.rows}), tiles);
        EXPECT_EQ(layout.frames, frames);
    }
}

class GIFPaletteTest : public testing::Test {
protected:
    TemporaryFolder folder;
    const URL sheet = folder / "sheet.png";
    const URL map = folder / "map.gif";
};

TEST_F(GIFPaletteTest, LaysTheFirstRowAtTheBottom) {
    const auto frames = exportGIFFrames(picture("animation-5.gif"), folder / "frames");
    GIFPalette::writeContactSheet(frames, sheet);
    constexpr std::size_t rowBytes = 64;
    std::vector<Bytes> tiles;
    tiles.reserve(frames.size());
    for (const URL& frame : frames) {
        tiles.push_back(decoded(frame));
    }
    tiles.resize(8, Bytes(12 * rowBytes));
    Bytes expected;
    for (std::size_t y = 0; y < 24; ++y) {
        for (std::size_t column = 0; column < 4; ++column) {
            const Bytes& tile = tiles[(y < 12 ? 4 : 0) + column];
            const auto row = std::span(tile).subspan(y % 12 * rowBytes, rowBytes);
            expected.insert(expected.end(), row.begin(), row.end());
        }
    }
    EXPECT_TRUE(decoded(sheet) == expected);
}

TEST_F(GIFPaletteTest, LeavesNoSheetAfterAFailure) {
    const URL frame = picture("5x3.png");
    for (const std::vector<URL>& frames :
         {std::vector<URL>{}, {frame, folder / "missing.png"}, {folder.file("x.png", "text")}}) {
        EXPECT_THROW(GIFPalette::writeContactSheet(frames, sheet), CompressionError);
    }
    EXPECT_FALSE(itemExists(sheet));
}

TEST_F(GIFPaletteTest, WritesAColorMapOfOneSize) {
    GIFPalette::writeColorMap(folder.file("two.png", oneChunk("PLTE", "\1\2\3\xFA\xFB\xFC")), map);
    std::string expected("GIF89a\1\0\1\0\xF7\0\0\1\2\3", 16);
    for (int i = 0; i < 255; ++i) {
        expected += "\xFA\xFB\xFC";
    }
    expected += "\x2C\0\0\0\0\1\0\1\0\0\x08\x04\0\x01\x04\x04\0\x3B"s;
    EXPECT_EQ(contents(map), expected);
    EXPECT_EQ(decoded(map), (Bytes{1, 2, 3, 255}));

    GIFPalette::writeColorMap(folder.file("full.png", oneChunk("PLTE", std::string(768, '\7'))), map);
    EXPECT_EQ(contents(map).substr(13, 768), std::string(768, '\7'));
    GIFPalette::writeColorMap(picture("palette-2.png"), map);
    EXPECT_EQ(contents(map).size(), 799U) << "the palette need not come first";
}

TEST_F(GIFPaletteTest, RefusesFilesWithoutAUsablePalette) {
    const std::string whole = oneChunk("PLTE", "\1\2\3");
    const std::string longer = oneChunk("PLTE", "\1\2\3\4\5\6").substr(0, whole.size());
    for (const std::string& file :
         {oneChunk("PLTE", ""), oneChunk("PLTE", "12"), oneChunk("PLTE", "1234"),
          oneChunk("PLTE", std::string(769, '1')), oneChunk("PLTE", std::string(771, '1')), longer,
          whole.substr(0, whole.size() - 1), whole.substr(1), "x" + whole.substr(1), oneChunk("IDAT", "123"),
          std::string(signature), ""s, pictureText("rgb-8.png")}) {
        EXPECT_THROW(GIFPalette::writeColorMap(folder.file("x.png", file), map), CompressionError)
            << testing::PrintToString(file.substr(0, 32));
    }
    EXPECT_THROW(GIFPalette::writeColorMap(folder / "missing.png", map), FileSystemError);
    EXPECT_FALSE(itemExists(map));
}

} // namespace
} // namespace tarnwick::test
