#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tarnwick {

// EXIF orientations, 1 to 8: how the stored picture is turned and mirrored when it is shown.

/// Whether width and height change places.
constexpr bool swapsSides(std::int64_t orientation) noexcept {
    return orientation >= 5;
}

/// The orientation that has the effect of `first` and then `second`.
int combinedOrientation(int first, int second) noexcept;

struct PixelPosition {
    std::int64_t x = 0;
    std::int64_t y = 0;

    friend bool operator==(const PixelPosition&, const PixelPosition&) = default;
};

/// Where the pixel shown at `shown` is stored, in a stored picture of this size.
PixelPosition storedPosition(PixelPosition shown, std::int64_t storedWidth, std::int64_t storedHeight,
                             int orientation) noexcept;

/// The pixels in the order in which they are shown. `rgba` holds the stored rows, width × height × 4 bytes.
std::vector<std::uint8_t> oriented(std::span<const std::uint8_t> rgba, std::int64_t width,
                                   std::int64_t height, int orientation);

} // namespace tarnwick
