#include "ImageIO/Orientation.h"

#include "ImageIO/Bitmap.h"

#include <array>
#include <cstring>
#include <utility>

namespace tarnwick {
namespace {

/// How the position of a shown pixel becomes the stored one: its coordinates change places first, then each
/// may be counted from the far end.
struct Mapping {
    bool swapped;
    bool fromRight;
    bool fromBottom;

    friend bool operator==(const Mapping&, const Mapping&) = default;
};

constexpr std::array<Mapping, 8> mappings = {{
    {false, false, false},
    {false, true, false},
    {false, true, true},
    {false, false, true},
    {true, false, false},
    {true, false, true},
    {true, true, true},
    {true, true, false},
}};

constexpr const Mapping& mappingOf(int orientation) {
    return mappings.at(static_cast<std::size_t>(orientation - 1));
}

} // namespace

int combinedOrientation(int first, int second) noexcept {
    const Mapping inner = mappingOf(first);
    Mapping outer = mappingOf(second);
    if (inner.swapped) {
        std::swap(outer.fromRight, outer.fromBottom);
    }
    const Mapping combined = {inner.swapped != outer.swapped, inner.fromRight != outer.fromRight,
                              inner.fromBottom != outer.fromBottom};
    int orientation = 1;
    while (mappingOf(orientation) != combined) {
        ++orientation;
    }
    return orientation;
}

PixelPosition storedPosition(PixelPosition shown, std::int64_t storedWidth, std::int64_t storedHeight,
                             int orientation) noexcept {
    const Mapping& mapping = mappingOf(orientation);
    if (mapping.swapped) {
        std::swap(shown.x, shown.y);
    }
    return {mapping.fromRight ? storedWidth - 1 - shown.x : shown.x,
            mapping.fromBottom ? storedHeight - 1 - shown.y : shown.y};
}

std::vector<std::uint8_t> oriented(std::span<const std::uint8_t> rgba, std::int64_t width,
                                   std::int64_t height, int orientation) {
    const std::int64_t shownWidth = swapsSides(orientation) ? height : width;
    const std::int64_t shownHeight = swapsSides(orientation) ? width : height;
    const PixelPosition origin = storedPosition({0, 0}, width, height, orientation);
    const PixelPosition next = storedPosition({1, 0}, width, height, orientation);
    const std::int64_t step = ((next.y - origin.y) * width + next.x - origin.x) * bytesPerPixel;

    std::vector<std::uint8_t> shown(rgba.size());
    std::uint8_t* out = shown.data();
    for (std::int64_t y = 0; y < shownHeight; ++y) {
        const PixelPosition start = storedPosition({0, y}, width, height, orientation);
        std::int64_t from = (start.y * width + start.x) * bytesPerPixel;
        for (std::int64_t x = 0; x < shownWidth; ++x, from += step, out += bytesPerPixel) {
            std::memcpy(out, rgba.data() + from, bytesPerPixel);
        }
    }
    return shown;
}

} // namespace tarnwick
