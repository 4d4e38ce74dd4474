#include "ImageIO/Bitmap.h"

#include <algorithm>
#include <array>

namespace tarnwick {
namespace {

/// Reciprocals of the alpha values, 24 bits behind the point. Rounded up, they keep ⌊n ÷ alpha⌋ exact for
/// every n below 2^24 ÷ 255, and a component times 255 is below that.
constexpr std::array<std::uint32_t, 256> makeReciprocals() {
    std::array<std::uint32_t, 256> reciprocals{};
    for (std::uint32_t alpha = 1; alpha < reciprocals.size(); ++alpha) {
        reciprocals[alpha] = ((1U << 24U) + alpha - 1) / alpha;
    }
    return reciprocals;
}

constexpr std::array<std::uint32_t, 256> reciprocals = makeReciprocals();

/// component × alpha ÷ 255, rounded to nearest, without a division.
std::uint8_t multiplied(std::uint8_t component, std::uint8_t alpha) {
    const unsigned product = unsigned{component} * alpha + 128U;
    return static_cast<std::uint8_t>((product + (product >> 8U)) >> 8U);
}

/// component × 255 ÷ alpha, rounded to nearest.
std::uint8_t divided(std::uint8_t component, std::uint8_t alpha) {
    const std::uint64_t numerator = std::uint64_t{component} * 255U + alpha / 2U;
    return static_cast<std::uint8_t>(std::min<std::uint64_t>(numerator * reciprocals[alpha] >> 24U, 255U));
}

template <typename Convert>
void convertColors(std::span<std::uint8_t> rgba, Convert convert) {
    for (std::size_t i = 0; i + 3 < rgba.size(); i += 4) {
        const std::uint8_t alpha = rgba[i + 3];
        if (alpha == 255) {
            continue;
        }
        for (std::size_t component = i; component < i + 3; ++component) {
            rgba[component] = convert(rgba[component], alpha);
        }
    }
}

} // namespace

void premultiply(std::span<std::uint8_t> rgba) {
    convertColors(rgba, multiplied);
}

void unpremultiply(std::span<std::uint8_t> rgba) {
    convertColors(rgba, divided);
}

} // namespace tarnwick
