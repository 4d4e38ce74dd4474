#include "Inspection/GIFPalette.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "ImageIO/BigEndian.h"
#include "ImageIO/BitmapContext.h"
#include "ImageIO/ImageDestination.h"
#include "ImageIO/ImageSource.h"
#include "ImageIO/InvalidImage.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tarnwick {
namespace {

using namespace std::string_view_literals;
using GIFPalette::ContactSheetLayout;
using Span = std::span<const std::uint8_t>;

constexpr std::int64_t maximumColumns = 4;
constexpr double longestTileSide = 640;
constexpr std::size_t maximumPaletteBytes = std::size_t{1} << 28U;
constexpr std::size_t colorTableBytes = 768;
constexpr std::string_view pngSignature = "\x89PNG\r\n\x1A\n"sv;

Bitmap readPicture(const URL& url) {
    return unreadableAsInvalidImage([&] {
        const auto source = ImageSource::open(url);
        const auto frames = source->frames();
        requireImage(frames->next());
        Bitmap picture{source->info().width, source->info().height, {}};
        picture.pixels.resize(static_cast<std::size_t>(picture.width * picture.height * bytesPerPixel));
        frames->readRows(picture.pixels);
        premultiply(picture.pixels);
        return picture;
    });
}

void writePicture(Bitmap picture, const URL& url) {
    try {
        unpremultiply(picture.pixels);
        ImageDestination destination(url, {.width = picture.width,
                                           .height = picture.height,
                                           .hasAlpha = true,
                                           .profile = {},
                                           .tagsProfile = false});
        destination.writeRows(picture.pixels);
        destination.commit();
    } catch (const FileSystemError& error) {
        if (error.isOutOfSpace()) {
            throw;
        }
        throw CompressionError::invalidImage();
    }
}

/// The payload of the PNG's PLTE chunk.
Span findPalette(Span png) {
    constexpr std::size_t chunkOverhead = 12;
    requireImage(startsWith(png, pngSignature));
    for (Span rest = png.subspan(pngSignature.size()); rest.size() >= chunkOverhead;) {
        const std::size_t length = bigEndian(rest.first(4));
        if (length > rest.size() - chunkOverhead) {
            break;
        }
        if (startsWith(rest.subspan(4), "PLTE")) {
            return rest.subspan(8, length);
        }
        rest = rest.subspan(chunkOverhead + length);
    }
    throw CompressionError::invalidImage();
}

/// A picture of one pixel with 256 global colours.
Bytes colorMapGIF(Span palette) {
    constexpr std::array<std::uint8_t, 13> start = {'G', 'I', 'F', '8', '9', 'a', 1, 0, 1, 0, 0xF7, 0, 0};
    constexpr std::array<std::uint8_t, 18> end = {0x2C, 0, 0,    0,    0, 1, 0,    1,    0,
                                                  0,    8, 0x04, 0x00, 1, 4, 0x04, 0x00, 0x3B};
    Bytes gif(start.begin(), start.end());
    gif.insert(gif.end(), palette.begin(), palette.end());
    const Span lastColor = palette.last(3);
    while (gif.size() < start.size() + colorTableBytes) {
        gif.insert(gif.end(), lastColor.begin(), lastColor.end());
    }
    gif.insert(gif.end(), end.begin(), end.end());
    return gif;
}

} // namespace

ContactSheetLayout ContactSheetLayout::make(std::int64_t frameCount, std::int64_t width,
                                            std::int64_t height) {
    const double scale = std::min(longestTileSide / static_cast<double>(std::max(width, height)), 1.0);
    const auto scaled = [scale](std::int64_t side) {
        return std::max(static_cast<std::int64_t>(scale * static_cast<double>(side)), std::int64_t{1});
    };
    const std::int64_t picked = std::min(frameCount, maximumTiles);
    ContactSheetLayout layout;
    layout.tileWidth = scaled(width);
    layout.tileHeight = scaled(height);
    layout.columns = std::min(frameCount, maximumColumns);
    layout.rows = (picked + layout.columns - 1) / layout.columns;
    for (std::int64_t i = 0; i < picked; ++i) {
        layout.frames.push_back(frameCount == 1 ? 0 : i * (frameCount - 1) / (picked - 1));
    }
    return layout;
}

void GIFPalette::writeContactSheet(const std::vector<URL>& frames, const URL& destination) {
    requireImage(!frames.empty());
    const Bitmap first = readPicture(frames.front());
    const auto layout =
        ContactSheetLayout::make(static_cast<std::int64_t>(frames.size()), first.width, first.height);
    BitmapContext sheet(layout.tileWidth * layout.columns, layout.tileHeight * layout.rows);
    std::int64_t tile = 0;
    for (const std::int64_t frame : layout.frames) {
        const std::int64_t x = tile % layout.columns * layout.tileWidth;
        const std::int64_t rowFromTop = layout.rows - 1 - tile / layout.columns;
        sheet.draw(frame == 0 ? first : readPicture(frames[static_cast<std::size_t>(frame)]), x,
                   rowFromTop * layout.tileHeight, layout.tileWidth, layout.tileHeight);
        ++tile;
    }
    writePicture(sheet.bitmap(), destination);
}

void GIFPalette::writeColorMap(const URL& source, const URL& destination) {
    const Bytes png = readFile(source, maximumPaletteBytes);
    const Span palette = findPalette(png);
    requireImage(palette.size() >= 3 && palette.size() <= colorTableBytes && palette.size() % 3 == 0);
    writeFile(destination, colorMapGIF(palette));
}

} // namespace tarnwick
