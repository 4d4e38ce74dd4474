#include "ImageIO/HEIFGeometry.h"

#include "ImageIO/InvalidImage.h"
#include "ImageIO/Orientation.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarnwick {
namespace {

constexpr std::uint32_t cropping = fourCC("clap");
constexpr std::uint32_t rotation = fourCC("irot");
constexpr std::uint32_t mirroring = fourCC("imir");

/// A fraction in two words; offsets are signed.
double fraction(BoxReader& reader, bool isSigned) {
    const std::uint32_t numerator = reader.number32();
    const std::uint32_t denominator = reader.number32();
    requireImage(denominator != 0);
    return (isSigned ? static_cast<double>(static_cast<std::int32_t>(numerator))
                     : static_cast<double>(numerator)) /
           denominator;
}

struct Extent {
    std::int64_t start;
    std::int64_t length;
};

/// One direction of a crop. `offset` is the distance of its centre from the picture's.
Extent cropExtent(double length, double offset, std::int64_t whole) {
    const std::int64_t rounded = std::llround(length);
    const std::int64_t start = std::llround(offset + (static_cast<double>(whole) - length) / 2);
    requireImage(rounded >= 1 && start >= 0 && start <= whole - rounded);
    return {start, rounded};
}

int orientationOfRotation(std::span<std::uint8_t> payload) {
    constexpr std::array<int, 4> ofQuarterTurns = {1, 8, 3, 6};
    return ofQuarterTurns.at(static_cast<std::size_t>(BoxReader(payload).number(1) & 3U));
}

int orientationOfMirroring(std::span<std::uint8_t> payload) {
    constexpr std::array<int, 2> ofAxis = {4, 2};
    return ofAxis.at(static_cast<std::size_t>(BoxReader(payload).number(1) & 1U));
}

} // namespace

HEIFGeometry HEIFGeometry::ofSizeProperty(std::span<std::uint8_t> payload) {
    BoxReader reader(payload);
    reader.kind();
    HEIFGeometry geometry;
    geometry.width = geometry.codedWidth = reader.number32();
    geometry.height = geometry.codedHeight = reader.number32();
    return geometry;
}

bool HEIFGeometry::isTransformation(std::uint32_t propertyType) noexcept {
    return propertyType == cropping || propertyType == rotation || propertyType == mirroring;
}

void HEIFGeometry::apply(const Box& property) {
    if (property.type == cropping) {
        crop(property.payload);
    } else if (property.type == rotation) {
        orientation = combinedOrientation(orientation, orientationOfRotation(property.payload));
    } else if (property.type == mirroring) {
        orientation = combinedOrientation(orientation, orientationOfMirroring(property.payload));
    }
}

/// The crop is stated in the picture as turned so far; the geometry holds it in the coded picture.
void HEIFGeometry::crop(std::span<std::uint8_t> payload) {
    BoxReader reader(payload);
    const double shownWidth = fraction(reader, false);
    const double shownHeight = fraction(reader, false);
    const double right = fraction(reader, true);
    const double down = fraction(reader, true);
    const bool swaps = swapsSides(orientation);
    const Extent across = cropExtent(shownWidth, right, swaps ? height : width);
    const Extent along = cropExtent(shownHeight, down, swaps ? width : height);

    const PixelPosition one = storedPosition({across.start, along.start}, width, height, orientation);
    const PixelPosition other = storedPosition(
        {across.start + across.length - 1, along.start + along.length - 1}, width, height, orientation);
    left += std::min(one.x, other.x);
    top += std::min(one.y, other.y);
    width = swaps ? along.length : across.length;
    height = swaps ? across.length : along.length;
}

} // namespace tarnwick
