#include "ImageIO/PNGChunks.h"

#include "ImageIO/BigEndian.h"
#include "ImageIO/ExifOrientation.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace tarnwick {
namespace {

constexpr std::int64_t signatureBytes = 8;
constexpr std::int64_t checksumBytes = 4;
constexpr std::uint32_t maximumLength = 0x7FFF'FFFF;

using Data = std::vector<std::uint8_t>;

struct ChunkHeader {
    std::uint32_t length;
    std::array<std::uint8_t, 4> type;

    bool is(std::string_view name) const {
        return std::equal(type.begin(), type.end(), name.begin(), name.end());
    }
};

std::optional<ChunkHeader> readHeader(InputFile& file) {
    std::array<std::uint8_t, 4> length = {};
    ChunkHeader header = {};
    if (!file.read(length) || !file.read(header.type)) {
        return std::nullopt;
    }
    header.length = static_cast<std::uint32_t>(bigEndian(length));
    return header.length <= maximumLength ? std::optional(header) : std::nullopt;
}

/// The chunk's contents. None when the file ends early, or the checksum is wrong.
std::optional<Data> readData(InputFile& file, const ChunkHeader& header) {
    Data data(header.length);
    std::array<std::uint8_t, checksumBytes> checksum = {};
    if (!file.read(data) || !file.read(checksum)) {
        return std::nullopt;
    }
    uLong sum = crc32(0, header.type.data(), static_cast<uInt>(header.type.size()));
    sum = crc32_z(sum, data.data(), data.size());
    return sum == bigEndian(checksum) ? std::optional(std::move(data)) : std::nullopt;
}

std::optional<CodePoints> codePoints(std::span<const std::uint8_t> data) {
    // The pixels are RGB, so only the identity matrix, 0, is valid.
    if (data.size() != 4 || data[2] != 0 || data[3] > 1) {
        return std::nullopt;
    }
    return CodePoints{data[0], data[1], data[2], data[3] == 1};
}

std::optional<std::int64_t> frameCount(std::span<const std::uint8_t> data, const ImageLimits& limits) {
    if (data.size() != 8) {
        return std::nullopt;
    }
    const auto count = static_cast<std::int64_t>(bigEndian(data.first(4)));
    return count >= 1 && count <= limits.maximumFrames ? std::optional(count) : std::nullopt;
}

/// Collects the contents of the chunks.
class Collector {
public:
    explicit Collector(const ImageLimits& limits) : limits_(limits) {}

    bool wants(const ChunkHeader& header) const {
        if (header.is("eXIf")) {
            return !chunks_.orientation && header.length <= limits_.maximumMetadataBytes;
        }
        return !dataSeen_ && header.length <= 8 && (header.is("acTL") || header.is("cICP"));
    }

    void take(const ChunkHeader& header, std::span<const std::uint8_t> data) {
        if (header.is("eXIf")) {
            chunks_.orientation = exifOrientation(data);
        } else if (header.is("acTL")) {
            chunks_.frameCount = frameCount(data, limits_).value_or(chunks_.frameCount);
        } else if (!paletteSeen_) {
            chunks_.codePoints = codePoints(data);
        }
    }

    void pass(const ChunkHeader& header) {
        dataSeen_ = dataSeen_ || header.is("IDAT");
        paletteSeen_ = paletteSeen_ || header.is("PLTE");
    }

    PNGChunks chunks() const { return chunks_; }

private:
    ImageLimits limits_;
    PNGChunks chunks_;
    bool dataSeen_ = false;
    bool paletteSeen_ = false;
};

} // namespace

PNGChunks readPNGChunks(InputFile& file, const ImageLimits& limits) {
    Collector collector(limits);
    file.rewind();
    if (!file.skip(signatureBytes)) {
        return {};
    }
    while (const auto header = readHeader(file)) {
        if (header->is("IEND")) {
            break;
        }
        if (collector.wants(*header)) {
            if (const auto data = readData(file, *header)) {
                collector.take(*header, *data);
            }
        } else if (!file.skip(std::int64_t{header->length} + checksumBytes)) {
            break;
        }
        collector.pass(*header);
    }
    return collector.chunks();
}

} // namespace tarnwick
