#include "Support/PNGMaker.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace tarnwick::test {
namespace {

/// The pixels of one pass of an interlaced picture; the whole of one that is not.
struct Pass {
    std::int64_t x, y, stepX, stepY;
};

constexpr std::array adam7 = {
    Pass{0, 0, 8, 8}, Pass{4, 0, 8, 8}, Pass{0, 4, 4, 8}, Pass{2, 0, 4, 4},
    Pass{0, 2, 2, 4}, Pass{1, 0, 2, 2}, Pass{0, 1, 1, 2},
};
constexpr std::array wholePicture = {Pass{0, 0, 1, 1}};

void append(Bytes& bytes, std::span<const std::uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void append32(Bytes& bytes, std::uint32_t value) {
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

Bytes deflated(const Bytes& bytes, int level) {
    uLongf length = compressBound(static_cast<uLong>(bytes.size()));
    Bytes result(length);
    if (compress2(result.data(), &length, bytes.data(), static_cast<uLong>(bytes.size()), level) != Z_OK) {
        throw std::runtime_error("zlib failed");
    }
    result.resize(length);
    return result;
}

/// Packs the samples of one row, from the top bits on.
class RowPacker {
public:
    RowPacker(Bytes& bytes, int depth) : bytes_(bytes), depth_(depth) {}

    void add(std::uint8_t value) {
        if (depth_ == 16) {
            bytes_.push_back(value);
        }
        if (depth_ >= 8) {
            bytes_.push_back(value);
            return;
        }
        free_ = free_ == 0 ? 8 : free_;
        if (free_ == 8) {
            bytes_.push_back(0);
        }
        free_ -= depth_;
        bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | value << free_);
    }

private:
    Bytes& bytes_;
    int depth_;
    int free_ = 0;
};

void addPixel(RowPacker& row, const Pixel& pixel, const PNGOptions& options) {
    const int dropped = std::max(0, 8 - options.depth);
    switch (options.color) {
    case PNGColor::palette:
        row.add(pixel.red);
        return;
    case PNGColor::grey:
    case PNGColor::greyAlpha:
        row.add(static_cast<std::uint8_t>(pixel.red >> dropped));
        break;
    case PNGColor::rgb:
    case PNGColor::rgba:
        row.add(pixel.red);
        row.add(pixel.green);
        row.add(pixel.blue);
        break;
    }
    if (options.color == PNGColor::greyAlpha || options.color == PNGColor::rgba) {
        row.add(pixel.alpha);
    }
}

void appendPass(Bytes& rows, const Pass& pass, const PNGOptions& options, std::int64_t shift) {
    if (pass.x >= options.width) {
        return;
    }
    for (std::int64_t y = pass.y; y < options.height; y += pass.stepY) {
        rows.push_back(0);
        RowPacker row(rows, options.depth);
        for (std::int64_t x = pass.x; x < options.width; x += pass.stepX) {
            addPixel(row, options.pattern(x + shift, y), options);
        }
    }
}

Bytes imageData(const PNGOptions& options, std::int64_t shift) {
    Bytes rows = options.filteredRows;
    if (rows.empty()) {
        const auto passes = options.interlaced ? std::span<const Pass>(adam7) : wholePicture;
        for (const Pass& pass : passes) {
            appendPass(rows, pass, options, shift);
        }
    }
    return deflated(rows, options.compressionLevel);
}

Bytes header(const PNGOptions& options) {
    Bytes data;
    append32(data, static_cast<std::uint32_t>(options.width));
    append32(data, static_cast<std::uint32_t>(options.height));
    append(data, Bytes{static_cast<std::uint8_t>(options.depth), static_cast<std::uint8_t>(options.color), 0,
                       0, static_cast<std::uint8_t>(options.interlaced)});
    return pngChunk("IHDR", data);
}

Bytes signature() {
    return {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
}

void appendColorSpace(Bytes& file, const PNGOptions& options) {
    if (const auto& code = options.codePoints) {
        append(file, pngChunk("cICP", Bytes{static_cast<std::uint8_t>(code->primaries),
                                            static_cast<std::uint8_t>(code->transfer),
                                            static_cast<std::uint8_t>(code->matrix), code->fullRange}));
    }
    if (!options.icc.empty()) {
        Bytes data = {'I', 'C', 'C', 0, 0};
        append(data, deflated(options.icc, 9));
        append(file, pngChunk("iCCP", data));
    }
    if (options.srgbIntent) {
        append(file, pngChunk("sRGB", Bytes{*options.srgbIntent}));
    }
    if (options.gamma) {
        Bytes data;
        append32(data, *options.gamma);
        append(file, pngChunk("gAMA", data));
    }
    if (const auto& c = options.chromaticities) {
        Bytes data;
        for (const double value :
             {c->whiteX, c->whiteY, c->redX, c->redY, c->greenX, c->greenY, c->blueX, c->blueY}) {
            append32(data, static_cast<std::uint32_t>(std::lround(value * 100'000)));
        }
        append(file, pngChunk("cHRM", data));
    }
}

void appendPalette(Bytes& file, const PNGOptions& options) {
    if (!options.palette.empty()) {
        Bytes data;
        for (const Pixel& entry : options.palette) {
            append(data, Bytes{entry.red, entry.green, entry.blue});
        }
        append(file, pngChunk("PLTE", data));
    }
    if (!options.transparency.empty()) {
        append(file, pngChunk("tRNS", options.transparency));
    }
}

void appendFrameControl(Bytes& file, const PNGOptions& options, std::uint32_t& sequence) {
    Bytes data;
    append32(data, sequence++);
    append32(data, static_cast<std::uint32_t>(options.width));
    append32(data, static_cast<std::uint32_t>(options.height));
    append32(data, 0);
    append32(data, 0);
    append(data, Bytes{0, 1, 0, 10, 0, 0});
    append(file, pngChunk("fcTL", data));
}

void appendData(Bytes& file, const PNGOptions& options, std::int64_t frame, std::uint32_t* sequence) {
    const Bytes data = imageData(options, frame);
    for (std::span<const std::uint8_t> rest = data; !rest.empty();) {
        const auto part = rest.first(std::min(rest.size(), options.dataChunkBytes));
        Bytes contents;
        if (sequence != nullptr) {
            append32(contents, (*sequence)++);
        }
        append(contents, part);
        append(file, pngChunk(sequence != nullptr ? "fdAT" : "IDAT", contents));
        rest = rest.subspan(part.size());
    }
}

} // namespace

Bytes pngChunk(std::string_view type, std::span<const std::uint8_t> data) {
    Bytes chunk;
    append32(chunk, static_cast<std::uint32_t>(data.size()));
    chunk.insert(chunk.end(), type.begin(), type.end());
    append(chunk, data);
    append32(chunk,
             static_cast<std::uint32_t>(crc32(0, chunk.data() + 4, static_cast<uInt>(chunk.size() - 4))));
    return chunk;
}

Bytes pngBytes(const PNGOptions& options) {
    std::uint32_t sequence = 0;
    Bytes file = signature();
    append(file, header(options));
    if (options.animationFrames > 0) {
        Bytes data;
        append32(data, static_cast<std::uint32_t>(options.animationFrames));
        append32(data, 0);
        append(file, pngChunk("acTL", data));
        appendFrameControl(file, options, sequence);
    }
    appendColorSpace(file, options);
    appendPalette(file, options);
    if (!options.exif.empty()) {
        append(file, pngChunk("eXIf", options.exif));
    }
    append(file, options.chunksBeforeData);
    appendData(file, options, 0, nullptr);
    for (std::int64_t frame = 1; frame < options.animationFrames; ++frame) {
        appendFrameControl(file, options, sequence);
        appendData(file, options, frame, &sequence);
    }
    append(file, options.chunksAfterData);
    append(file, pngChunk("IEND", {}));
    return file;
}

void writePNG(const URL& url, const PNGOptions& options) {
    writeFile(url, pngBytes(options));
}

Bytes pngHeaderOnly(std::uint32_t width, std::uint32_t height, bool interlaced) {
    PNGOptions options;
    options.width = width;
    options.height = height;
    options.interlaced = interlaced;
    Bytes file = signature();
    append(file, header(options));
    append(file, pngChunk("IDAT", Bytes{0x78, 0x9C}));
    append(file, pngChunk("IEND", {}));
    return file;
}

} // namespace tarnwick::test
