#include "Support/Pixel.h"

namespace tarnwick::test {
namespace {

/// A triangle wave, so that large pictures stay smooth.
std::uint8_t folded(std::int64_t value) {
    const std::int64_t phase = value & 511;
    return static_cast<std::uint8_t>(phase < 256 ? phase : 511 - phase);
}

std::uint64_t scrambled(std::uint64_t value) {
    value = (value ^ (value >> 31U)) * 0x7FB5'D329'728E'A185U;
    value = (value ^ (value >> 27U)) * 0x81DA'DEF4'BC2D'D44DU;
    return value ^ (value >> 33U);
}

} // namespace

Pixel gradient(std::int64_t x, std::int64_t y) {
    return {folded(3 * x + y), folded(4 * y), folded(255 - 2 * x + y)};
}

Pixel translucentGradient(std::int64_t x, std::int64_t y) {
    Pixel pixel = gradient(x, y);
    pixel.alpha = static_cast<std::uint8_t>((x & 15) | (y & 15) << 4U);
    return pixel;
}

Pixel noise(std::int64_t x, std::int64_t y) {
    const std::uint64_t bits =
        scrambled(static_cast<std::uint64_t>(x) << 32U | static_cast<std::uint32_t>(y + 1));
    return {static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(bits >> 8U),
            static_cast<std::uint8_t>(bits >> 16U)};
}

Bytes rgbaRows(std::int64_t width, std::int64_t height, const Pattern& pattern) {
    Bytes rows;
    rows.reserve(static_cast<std::size_t>(width * height) * 4);
    for (std::int64_t y = 0; y < height; ++y) {
        for (std::int64_t x = 0; x < width; ++x) {
            const Pixel pixel = pattern(x, y);
            rows.insert(rows.end(), {pixel.red, pixel.green, pixel.blue, pixel.alpha});
        }
    }
    return rows;
}

Bytes exifBlock(int orientation, bool bigEndian) {
    const auto value = static_cast<std::uint8_t>(orientation);
    if (bigEndian) {
        return {'M', 'M', 0, '*', 0, 0, 0, 8, 0, 1, 0x01, 0x12, 0, 3, 0, 0, 0, 1, 0, value, 0, 0, 0, 0, 0, 0};
    }
    return {'I', 'I', '*', 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 3, 0, 1, 0, 0, 0, value, 0, 0, 0, 0, 0, 0, 0};
}

} // namespace tarnwick::test
