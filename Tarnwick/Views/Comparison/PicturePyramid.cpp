#include "Tarnwick/Views/Comparison/PicturePyramid.h"

#include <algorithm>
#include <utility>

namespace tarnwick {

namespace {

constexpr std::size_t components = 4;

/// Each pixel is the mean of two by two. The last row and column of an odd side count twice.
Bitmap halved(const Bitmap& picture) {
    Bitmap half;
    half.width = (picture.width + 1) / 2;
    half.height = (picture.height + 1) / 2;
    half.pixels.resize(static_cast<std::size_t>(half.width * half.height) * components);
    std::uint8_t* target = half.pixels.data();
    for (std::int64_t y = 0; y < half.height; ++y) {
        const auto row = [&](std::int64_t number) {
            return picture.pixels.data() +
                   static_cast<std::size_t>(std::min(number, picture.height - 1) * picture.width) *
                       components;
        };
        const std::uint8_t* upper = row(2 * y);
        const std::uint8_t* lower = row(2 * y + 1);
        for (std::int64_t x = 0; x < half.width; ++x) {
            const auto left = static_cast<std::size_t>(2 * x) * components;
            const auto right = static_cast<std::size_t>(std::min(2 * x + 1, picture.width - 1)) * components;
            for (std::size_t c = 0; c < components; ++c) {
                const unsigned sum =
                    upper[left + c] + upper[right + c] + lower[left + c] + lower[right + c] + 2U;
                *target++ = static_cast<std::uint8_t>(sum / 4);
            }
        }
    }
    return half;
}

bool hasOnlyOpaquePixels(const Bitmap& picture) {
    for (std::size_t alpha = components - 1; alpha < picture.pixels.size(); alpha += components) {
        if (picture.pixels[alpha] != 255) {
            return false;
        }
    }
    return true;
}

} // namespace

PicturePyramid::PicturePyramid(std::shared_ptr<const Bitmap> picture)
    : levels_{std::move(picture)}, opaque_(hasOnlyOpaquePixels(*levels_.front())) {
    while (std::max(levels_.back()->width, levels_.back()->height) > smallestLevel) {
        levels_.push_back(std::make_shared<const Bitmap>(halved(*levels_.back())));
    }
}

const std::shared_ptr<const Bitmap>& PicturePyramid::level(int number) const {
    return levels_.at(static_cast<std::size_t>(number));
}

int PicturePyramid::levelFor(double scale) const noexcept {
    int level = 0;
    // At half the size, level 1 has exactly the pixels needed.
    for (double needed = scale * 2; needed <= 1 && level + 1 < levelCount(); needed *= 2) {
        ++level;
    }
    return level;
}

} // namespace tarnwick
