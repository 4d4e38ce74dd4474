#include "Inspection/PixelBands.h"

#include "ImageIO/Bitmap.h"

#include <algorithm>

namespace tarnwick {
namespace {

constexpr std::int64_t bandPixels = 1'048'576;

} // namespace

std::int64_t BandWalk::rowsPerBand(std::int64_t width, std::int64_t height) noexcept {
    return std::max<std::int64_t>(std::min(bandPixels / width, height), 1);
}

BandWalk::BandWalk(std::int64_t width, std::int64_t height)
    : width_(width), remaining_(width < 1 ? 0 : std::max<std::int64_t>(height, 0)),
      bandRows_(remaining_ == 0 ? 0 : rowsPerBand(width, height)) {}

bool BandWalk::next() {
    rows_ = std::min(remaining_, bandRows_);
    remaining_ -= rows_;
    return rows_ > 0;
}

std::span<std::uint8_t> BandWalk::buffer() {
    const auto bytes = static_cast<std::size_t>(rows_ * width_ * bytesPerPixel);
    if (buffer_.size() < bytes) {
        buffer_.resize(bytes);
    }
    return std::span(buffer_).first(bytes);
}

} // namespace tarnwick
