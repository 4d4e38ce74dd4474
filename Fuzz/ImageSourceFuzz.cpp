#include "Foundation/CompressionError.h"
#include "ImageIO/ImageSource.h"
#include "Inspection/JPEGMetadata.h"
#include "Inspection/JPEGQuantization.h"
#include "Support/MemoryFile.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace {

using namespace tarnwick;

constexpr std::int64_t maximumFramesRead = 20;
constexpr std::size_t bandRows = 5;

/// Small enough that no input within them takes long or much memory.
ImageLimits shrunkenLimits() {
    ImageLimits limits;
    limits.maximumDimension = 4096;
    limits.maximumPixels = 1 << 18;
    limits.maximumBufferedPixels = 1 << 16;
    limits.maximumFrames = 1000;
    limits.maximumMetadataBytes = 1 << 18;
    limits.maximumScans = 50;
    limits.maximumInputs = 256;
    return limits;
}

void readImage(FrameReader& frames, const ImageInfo& info) {
    const auto rowBytes = static_cast<std::size_t>(info.width) * 4;
    auto left = static_cast<std::size_t>(info.height);
    std::vector<std::uint8_t> band;
    while (left > 0) {
        const std::size_t count = std::min(left, bandRows);
        band.resize(count * rowBytes);
        frames.readRows(band);
        left -= count;
    }
}

void readAll(const URL& url) {
    const auto source = ImageSource::open(url, shrunkenLimits());
    const auto frames = source->frames();
    for (std::int64_t index = 0; index < maximumFramesRead && frames->next(); ++index) {
        readImage(*frames, source->info());
    }
}

/// Without this, hardly any change to a PNG would pass the checksums of its chunks.
void repairChecksums(std::span<std::uint8_t> file) {
    constexpr std::array<std::uint8_t, 4> signature = {0x89, 'P', 'N', 'G'};
    constexpr std::size_t signatureBytes = 8;
    constexpr std::size_t frameBytes = 12;
    if (file.size() < signatureBytes || !std::equal(signature.begin(), signature.end(), file.begin())) {
        return;
    }
    for (auto rest = file.subspan(signatureBytes); rest.size() >= frameBytes;) {
        const std::size_t length =
            std::size_t{rest[0]} << 24U | std::size_t{rest[1]} << 16U | std::size_t{rest[2]} << 8U | rest[3];
        if (length > rest.size() - frameBytes) {
            return;
        }
        const auto sum = static_cast<std::uint32_t>(crc32_z(0, rest.data() + 4, length + 4));
        for (std::size_t index = 0; index < 4; ++index) {
            rest[length + 8 + index] = static_cast<std::uint8_t>(sum >> (24 - 8 * index));
        }
        rest = rest.subspan(length + frameBytes);
    }
}

} // namespace

/// libFuzzer's default mutation.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maximumSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maximumSize,
                                               unsigned seed) {
    const std::size_t mutated = LLVMFuzzerMutate(data, size, maximumSize);
    // Some checksums stay wrong.
    if (seed % 16 != 0) {
        repairChecksums({data, mutated});
    }
    return mutated;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const test::MemoryFile file({data, size});
    try {
        readAll(file.url());
    } catch (const CompressionError& error) {
        // The only failure that a picture's contents may cause. libFuzzer reports any other.
        if (error.errorCase() != CompressionError::Case::invalidImage) {
            throw;
        }
    }
    // These read the markers of a JPEG themselves, and must throw nothing.
    static_cast<void>(JPEGMetadata::hasMultiplePictures(file.url()));
    static_cast<void>(hasFineJPEGQuantization(file.url()));
    return 0;
}
