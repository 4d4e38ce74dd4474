#include "Support/Decoding.h"

#include "Foundation/CompressionError.h"
#include "Support/MemoryFile.h"

#include <algorithm>
#include <stdexcept>

namespace tarnwick::test {

Bytes decoded(const URL& url, std::int64_t image, std::int64_t bandRows, const ImageLimits& limits) {
    const auto source = ImageSource::open(url, limits);
    const auto frames = source->frames();
    for (std::int64_t index = 0; index <= image; ++index) {
        if (!frames->next()) {
            throw std::out_of_range("no such image");
        }
    }
    const auto rowBytes = static_cast<std::size_t>(source->info().width) * 4;
    Bytes rows(rowBytes * static_cast<std::size_t>(source->info().height));
    for (std::span<std::uint8_t> rest = rows; !rest.empty();) {
        const auto band = rest.first(std::min(rest.size(), rowBytes * static_cast<std::size_t>(bandRows)));
        frames->readRows(band);
        rest = rest.subspan(band.size());
    }
    return rows;
}

bool isRefused(const URL& url, const ImageLimits& limits) {
    try {
        decoded(url, 0, 7, limits);
        return false;
    } catch (const CompressionError& error) {
        if (error.errorCase() != CompressionError::Case::invalidImage) {
            throw;
        }
        return true;
    }
}

bool isRefused(const Bytes& file, const ImageLimits& limits) {
    return isRefused(MemoryFile(file).url(), limits);
}

} // namespace tarnwick::test
