#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tarnwick {

/// One marker segment of a JPEG file.
struct JPEGSegment {
    std::uint8_t marker;
    /// As the file states it: the payload's bytes and 2.
    std::size_t length;
    std::span<const std::uint8_t> payload;
};

/// Goes through the marker segments between a JPEG's start and its first scan. Ends at the scan, at the end
/// of the image, and at anything malformed.
class JPEGMarkerWalk {
public:
    /// `file` is the file or its beginning, and must outlive the walk.
    explicit JPEGMarkerWalk(std::span<const std::uint8_t> file);

    std::optional<JPEGSegment> next();

private:
    std::span<const std::uint8_t> file_;
    std::size_t position_;
};

namespace JPEGMarker {
constexpr std::uint8_t endOfImage = 0xD9;
constexpr std::uint8_t startOfScan = 0xDA;
constexpr std::uint8_t quantizationTables = 0xDB;
constexpr std::uint8_t app1 = 0xE1;
constexpr std::uint8_t app2 = 0xE2;

/// Whether a marker stands alone, without a length and a payload.
constexpr bool isStandalone(std::uint8_t marker) {
    return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8);
}
/// Whether the bytes begin as a JPEG file does.
bool startsImage(std::span<const std::uint8_t> file);
} // namespace JPEGMarker

} // namespace tarnwick
