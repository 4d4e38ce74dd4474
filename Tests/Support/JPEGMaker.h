#pragma once

#include "Foundation/FileContents.h"
#include "Foundation/URL.h"
#include "Support/Pixel.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace tarnwick::test {

/// How the file holds its colours. The inks of `cmyk` and `ycck` are inverted and marked so, as customary;
/// those of `plainCMYK` are not, and carry no mark.
enum class JPEGColor { grey, ycc, rgb, cmyk, ycck, plainCMYK };

struct JPEGOptions {
    std::int64_t width = 32;
    std::int64_t height = 24;
    JPEGColor color = JPEGColor::ycc;
    /// Grey pictures take the red value. Inks are chosen so that the simple formula gives the pattern's
    /// colour back.
    Pattern pattern = gradient;
    int quality = 90;
    /// Of the first component, the others having 1 × 1: {2, 2} is 4:2:0, {4, 1} 4:1:1, {1, 2} 4:4:0.
    int horizontalSampling = 1;
    int verticalSampling = 1;
    bool progressive = false;
    bool arithmetic = false;
    /// One scan for each component instead of one for all.
    bool separateScans = false;
    bool optimizedTables = false;
    /// MCUs between restart markers; 0 without.
    unsigned restartInterval = 0;
    /// For all components, in natural order, scaled by the quality (50 keeps it).
    std::optional<std::array<unsigned, 64>> quantization = {};

    std::optional<int> orientation = {};
    /// Split over as many segments as needed, or over more: of at most so many bytes each.
    Bytes icc = {};
    std::size_t iccSegmentBytes = 65'519;
    std::string comment = {};
};

Bytes jpegBytes(const JPEGOptions& options);
void writeJPEG(const URL& url, const JPEGOptions& options = {});

} // namespace tarnwick::test
