#include "Inspection/JPEGMetadata.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "ImageIO/ExifOrientation.h"
#include "ImageIO/ImageSource.h"
#include "ImageIO/InvalidImage.h"
#include "Inspection/JPEGMarkers.h"

#include <array>
#include <optional>
#include <string_view>

namespace tarnwick {
namespace {

using namespace std::string_view_literals;
using Span = std::span<const std::uint8_t>;

constexpr std::size_t maximumJPEGBytes = std::size_t{1} << 31U;
constexpr std::string_view multiPictureHeader = "MPF\0"sv;

/// Reads numbers in the byte order of a TIFF structure. They must lie within the bytes.
class TIFFNumbers {
public:
    /// None unless the bytes begin with a byte order mark and the magic number.
    static std::optional<TIFFNumbers> open(Span tiff) {
        const bool isLittleEndian = startsWith(tiff, "II");
        if (tiff.size() < 8 || (!isLittleEndian && !startsWith(tiff, "MM"))) {
            return std::nullopt;
        }
        const TIFFNumbers numbers(tiff, isLittleEndian);
        return numbers.u16(2) == 42 ? std::optional(numbers) : std::nullopt;
    }

    std::uint32_t u16(std::size_t at) const { return number(at, 2); }
    std::uint32_t u32(std::size_t at) const { return number(at, 4); }

private:
    TIFFNumbers(Span tiff, bool isLittleEndian) : tiff_(tiff), isLittleEndian_(isLittleEndian) {}

    std::uint32_t number(std::size_t at, std::size_t bytes) const {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i) {
            value = value << 8U | tiff_[at + (isLittleEndian_ ? bytes - 1 - i : i)];
        }
        return value;
    }

    Span tiff_;
    bool isLittleEndian_;
};

enum class Answer { none, onePicture, multiplePictures, malformed };

/// Reads the number of images from a Multi-Picture index. Offsets count from the TIFF header.
Answer readIndex(Span tiff) {
    constexpr std::size_t entryBytes = 12;
    constexpr std::uint32_t numberOfImages = 0xB001;
    constexpr std::uint32_t unsignedLong = 4;
    const auto numbers = TIFFNumbers::open(tiff);
    if (!numbers) {
        return Answer::malformed;
    }
    const std::size_t directory = numbers->u32(4);
    if (directory > tiff.size() - 2) {
        return Answer::malformed;
    }
    const std::size_t count = numbers->u16(directory);
    if ((tiff.size() - directory - 2) / entryBytes < count) {
        return Answer::malformed;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + entryBytes * i;
        if (numbers->u16(entry) == numberOfImages && numbers->u16(entry + 2) == unsignedLong &&
            numbers->u32(entry + 4) == 1) {
            return numbers->u32(entry + 8) > 1 ? Answer::multiplePictures : Answer::onePicture;
        }
    }
    return Answer::none;
}

bool announcesMultiplePictures(Span file) {
    constexpr std::size_t smallestIndexLength = 18;
    JPEGMarkerWalk walk(file);
    while (const auto segment = walk.next()) {
        if (segment->marker != JPEGMarker::app2 || segment->length < smallestIndexLength ||
            !startsWith(segment->payload, multiPictureHeader)) {
            continue;
        }
        const Answer answer = readIndex(segment->payload.subspan(multiPictureHeader.size()));
        if (answer != Answer::none) {
            return answer == Answer::multiplePictures;
        }
    }
    return false;
}

/// An EXIF segment whose only entry is the orientation.
std::array<std::uint8_t, 36> orientationSegment(std::uint8_t orientation) {
    return {0xFF,        0xE1, 0x00, 0x22,             // APP1, 34 bytes
            'E',         'x',  'i',  'f',  0, 0,       // header
            'I',         'I',  0x2A, 0,    8, 0, 0, 0, // little-endian TIFF, first directory at 8
            1,           0,                            // one entry
            0x12,        0x01, 3,    0,    1, 0, 0, 0, // orientation: one 16-bit number
            orientation, 0,    0,    0,                // its value
            0,           0,    0,    0};               // no further directory
}

void append(Bytes& output, Span bytes) {
    output.insert(output.end(), bytes.begin(), bytes.end());
}

bool isExif(const JPEGSegment& segment) {
    return segment.marker == JPEGMarker::app1 && startsWith(segment.payload, exifHeader);
}

/// The file with the new segment first and without its other EXIF segments.
Bytes withOrientation(Span file, std::uint8_t orientation) {
    Bytes output = {0xFF, 0xD8};
    output.reserve(file.size() + orientationSegment(orientation).size());
    append(output, orientationSegment(orientation));
    JPEGMarkerWalk walk(file, JPEGMarkerWalk::Standalone::readAsSegment);
    while (const auto segment = walk.next()) {
        if (!isExif(*segment)) {
            append(output, segment->whole);
        }
    }
    requireImage(!walk.imageData().empty());
    append(output, walk.imageData());
    return output;
}

std::optional<int> statedOrientation(const URL& url) {
    return unreadableAsInvalidImage([&] {
        requireImage(containerType(url) == "public.jpeg");
        return ImageSource::open(url)->info().orientation;
    });
}

} // namespace

bool JPEGMetadata::hasMultiplePictures(const URL& url) {
    try {
        return announcesMultiplePictures(readFilePrefix(url, searchedJPEGBytes));
    } catch (const FileSystemError&) {
        return false;
    }
}

void JPEGMetadata::preserveOrientation(std::int64_t orientation, const URL& url) {
    if (orientation < 1 || orientation > 8) {
        throw CompressionError::validationFailed();
    }
    const auto stated = statedOrientation(url);
    if (stated ? *stated == orientation : orientation == 1) {
        return;
    }
    const Bytes file = readFile(url, maximumJPEGBytes);
    writeFileAtomically(url, withOrientation(file, static_cast<std::uint8_t>(orientation)));
}

} // namespace tarnwick
