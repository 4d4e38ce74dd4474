#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace tarnwick {

/// What the decoders refuse before they allocate anything. Fuzzing shrinks the limits.
struct ImageLimits {
    /// Pixels that one drawn or compared piece may have.
    static constexpr std::int64_t maximumRenderedPixels = 25'000'000;

    std::int64_t maximumDimension = 0x7FFF'FFFF;
    /// Rows are decoded, compared and drawn whole.
    std::int64_t maximumRowPixels = maximumRenderedPixels;
    /// Of pictures that are decoded row by row.
    std::int64_t maximumPixels = std::int64_t{1} << 30;
    /// Of pictures that can only be decoded whole (interlaced PNG, progressive JPEG, GIF's canvas, HEIF).
    std::int64_t maximumBufferedPixels = std::int64_t{1} << 28;
    /// A file below this many bytes takes no more than `maximumSmallFileMemory` bytes of memory, whatever
    /// size it states: it cannot be worth more, and anybody can make thousands of them.
    std::int64_t smallFileBytes = 1'000'000;
    std::int64_t maximumSmallFileMemory = std::int64_t{224} << 20;
    std::int64_t maximumFrames = 1'000'000;
    /// PNG: of one chunk. JPEG: of all that precedes the first scan. HEIF: of the meta box.
    std::int64_t maximumMetadataBytes = std::int64_t{64} << 20;
    std::size_t maximumProfileBytes = std::size_t{16} << 20;
    /// JPEG. Real pictures have about ten scans. A small file may have thousands, and each costs a pass over
    /// the picture.
    std::int64_t maximumScans = 500;
    /// HEIF files are read whole.
    std::size_t maximumHEIFBytes = std::size_t{1} << 30;
    /// HEIF: property boxes. An association has an index of 15 bits.
    std::size_t maximumProperties = 0x7FFF;
    /// HEIF: the tiles and layers that one picture is made of, over all levels.
    std::size_t maximumInputs = 65'536;
    /// HEIF: the levels of derivation. An overlay of grids of cropped pictures has three.
    int maximumNesting = 4;

    /// Whether a picture of this size may be decoded. Sizes below 1 may not.
    bool allow(std::int64_t width, std::int64_t height, bool buffered) const noexcept;
    /// The most bytes of memory that decoding and showing a file of `fileBytes` bytes may take.
    std::int64_t memoryFor(std::int64_t fileBytes) const noexcept {
        return fileBytes < smallFileBytes ? maximumSmallFileMemory : std::numeric_limits<std::int64_t>::max();
    }
    static constexpr bool areRenderable(std::int64_t width, std::int64_t height) noexcept {
        return width >= 1 && height >= 1 && width <= maximumRenderedPixels / height;
    }
};

} // namespace tarnwick
