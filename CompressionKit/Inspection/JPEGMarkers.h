#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tarnwick {

/// One marker segment of a JPEG file.
struct JPEGSegment {
    std::uint8_t marker;
    /// As stated in the file: the payload's bytes and 2.
    std::size_t length;
    std::span<const std::uint8_t> payload;
    /// All its bytes, with the fill bytes before the marker.
    std::span<const std::uint8_t> whole;
};

/// Goes through the marker segments between a JPEG's start and its first scan. Stops at the scan, at the end
/// of the image, and at anything malformed.
class JPEGMarkerWalk {
public:
    /// Whether markers that have neither length nor payload are skipped, or read as if they had both.
    enum class Standalone { skipped, readAsSegment };

    /// `file` is the file or its beginning, and must outlive the walk.
    explicit JPEGMarkerWalk(std::span<const std::uint8_t> file, Standalone standalone = Standalone::skipped);

    std::optional<JPEGSegment> next();
    /// After the last segment: the rest of the file, from the fill bytes before the scan or the end of the
    /// image. Empty when the walk stopped at something malformed.
    std::span<const std::uint8_t> imageData() const noexcept { return imageData_; }

private:
    std::size_t codeAfterFillBytes() const noexcept;
    bool isSkipped(std::uint8_t marker) const noexcept;
    std::optional<JPEGSegment> segmentAt(std::size_t code) const noexcept;

    std::span<const std::uint8_t> file_;
    std::span<const std::uint8_t> imageData_;
    std::size_t position_;
    Standalone standalone_;
};

/// The bytes in which the checks look for segments.
constexpr std::size_t searchedJPEGBytes = 1'048'576;

namespace JPEGMarker {
constexpr std::uint8_t endOfImage = 0xD9;
constexpr std::uint8_t startOfScan = 0xDA;
constexpr std::uint8_t quantizationTables = 0xDB;
constexpr std::uint8_t app1 = 0xE1;
constexpr std::uint8_t app2 = 0xE2;
} // namespace JPEGMarker

} // namespace tarnwick
