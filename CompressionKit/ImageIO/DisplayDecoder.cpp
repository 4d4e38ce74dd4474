#include "ImageIO/DisplayDecoder.h"

#include "ImageIO/Bitmap.h"
#include "ImageIO/InvalidImage.h"
#include "ImageIO/Orientation.h"
#include "ImageIO/RowShrinker.h"
#include "ImageIO/SRGBConversion.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace tarnwick {
namespace {

constexpr std::int64_t bandPixels = std::int64_t{1} << 18;

using Rows = std::vector<std::uint8_t>;

std::size_t byteCount(PixelSize size) {
    return static_cast<std::size_t>(size.width * size.height * bytesPerPixel);
}

/// `length` × `numerator` ÷ `denominator`, rounded, and at least 1.
std::int64_t scaled(std::int64_t length, std::int64_t numerator, std::int64_t denominator) {
    return std::max<std::int64_t>((length * numerator + denominator / 2) / denominator, 1);
}

PixelSize fitted(PixelSize size, std::int64_t maximum) {
    const std::int64_t longer = std::max(size.width, size.height);
    return longer <= maximum
               ? size
               : PixelSize{scaled(size.width, maximum, longer), scaled(size.height, maximum, longer)};
}

/// The longer side of the largest bitmap that may be made of the picture: its own, unless that takes more
/// memory than the file may take.
std::int64_t largestSide(const ImageSource& source, const ImageLimits& limits) {
    // Shrinking takes more memory for each column than a bitmap does.
    constexpr std::int64_t largestShrunkSide = 65'536;
    const ImageInfo& info = source.info();
    const bool isTurned = info.orientation.value_or(1) != 1;
    // The decoder is gone when the pixels are turned, from one bitmap into another.
    const std::int64_t memory =
        std::min(source.memory() - source.decodingMemory(), source.memory() / (isTurned ? 2 : 1));
    const std::int64_t pixels = std::min(memory / bytesPerPixel, limits.maximumBufferedPixels);
    const std::int64_t longer = std::max(info.width, info.height);
    if (info.width * info.height <= pixels) {
        return longer;
    }
    const double scale =
        std::sqrt(static_cast<double>(pixels) / static_cast<double>(info.width * info.height));
    return std::clamp<std::int64_t>(std::llround(scale * static_cast<double>(longer)), 1, largestShrunkSide);
}

/// Takes memory for the rows that the file has, not for those that its header claims.
Rows readWhole(FrameReader& reader, PixelSize size, const SRGBConversion& conversion) {
    Rows rows;
    rows.reserve(byteCount(size));
    const std::int64_t bandRows = std::max<std::int64_t>(bandPixels / size.width, 1);
    for (std::int64_t y = 0; y < size.height; y += bandRows) {
        const std::size_t start = rows.size();
        rows.resize(start + byteCount({size.width, std::min(bandRows, size.height - y)}));
        const std::span<std::uint8_t> band = std::span(rows).subspan(start);
        reader.readRows(band);
        conversion.convert(band);
        premultiply(band);
    }
    return rows;
}

/// Converts colours after shrinking, which is faster; averages in either space look alike.
Rows readShrunk(const ReducedFrames& frames, PixelSize from, PixelSize to, const SRGBConversion& conversion) {
    Rows rows;
    rows.reserve(byteCount(to));
    RowShrinker shrinker(from, to, frames.eighths);
    Rows row(byteCount({frames.width, 1}));
    for (std::int64_t y = 0; y < frames.height; ++y) {
        frames.reader->readRows(row);
        shrinker.add(row, rows);
    }
    conversion.convert(rows);
    premultiply(rows);
    return rows;
}

Bitmap shown(PixelSize size, Rows rows, int orientation) {
    if (orientation == 1) {
        return {size.width, size.height, std::move(rows)};
    }
    const PixelSize turned = swapsSides(orientation) ? PixelSize{size.height, size.width} : size;
    return {turned.width, turned.height, oriented(rows, size.width, size.height, orientation)};
}

} // namespace

Bitmap decodeForDisplay(const URL& url, std::optional<std::int64_t> maximumPixelSize,
                        const ImageLimits& limits) {
    const auto source = ImageSource::open(url, limits);
    const ImageInfo& info = source->info();
    const PixelSize full = {info.width, info.height};
    const std::int64_t largest = largestSide(*source, limits);
    const std::int64_t maximum = maximumPixelSize.value_or(largest);
    requireImage(maximum >= 1);
    const PixelSize size = fitted(full, std::min(maximum, largest));

    ReducedFrames frames = source->reducedFrames(size.width, size.height);
    requireImage(frames.reader->next());
    const bool isWhole = PixelSize{frames.width, frames.height} == size;
    const SRGBConversion conversion(info.profile);
    Rows rows =
        isWhole ? readWhole(*frames.reader, size, conversion) : readShrunk(frames, full, size, conversion);
    frames.reader.reset();
    return shown(size, std::move(rows), info.orientation.value_or(1));
}

} // namespace tarnwick
