#include "ImageIO/PNGSource.h"

#include "ImageIO/Bitmap.h"
#include "ImageIO/InputFile.h"
#include "ImageIO/InvalidImage.h"
#include "ImageIO/LibPNG.h"
#include "ImageIO/PNGChunks.h"
#include "ImageIO/StillFrameReader.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace tarnwick {
namespace {

/// libpng's state for reading one file.
class PNGHandle {
public:
    PNGHandle(std::FILE* file, const ImageLimits& limits);

    png_structp png() const noexcept { return structs_.png; }
    png_infop info() const noexcept { return structs_.info; }
    ErrorJump& errors() noexcept { return errors_; }

private:
    ErrorJump errors_;
    PNGReadStructs structs_;
};

PNGHandle::PNGHandle(std::FILE* file, const ImageLimits& limits) {
    const auto metadataBytes = static_cast<png_alloc_size_t>(limits.maximumMetadataBytes);
    errors_.run([this, file, metadataBytes] {
        structs_.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &errors_, leavePNG, ignorePNGWarning);
        structs_.info = png_create_info_struct(structs_.png);
        png_init_io(structs_.png, file);
        png_set_user_limits(structs_.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_chunk_malloc_max(structs_.png, metadataBytes);
        // Text chunks are not needed, and thousands of them could unpack to more memory than there is.
        png_set_keep_unknown_chunks(structs_.png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    });
}

struct PNGHeader {
    std::int64_t width;
    std::int64_t height;
    int bitDepth;
    bool hasAlpha;
    bool interlaced;
};

/// Reads up to the pixels. None when that fails.
std::optional<PNGHeader> readHeader(PNGHandle& handle) {
    if (!handle.errors().attempt([&handle] { png_read_info(handle.png(), handle.info()); })) {
        return std::nullopt;
    }
    const auto colorType = png_get_color_type(handle.png(), handle.info());
    const bool hasTransparency = png_get_valid(handle.png(), handle.info(), PNG_INFO_tRNS) != 0;
    return PNGHeader{png_get_image_width(handle.png(), handle.info()),
                     png_get_image_height(handle.png(), handle.info()),
                     png_get_bit_depth(handle.png(), handle.info()),
                     (colorType & PNG_COLOR_MASK_ALPHA) != 0 || hasTransparency,
                     png_get_interlace_type(handle.png(), handle.info()) != PNG_INTERLACE_NONE};
}

/// Of libpng, which holds a row as stored and one as converted, and of an interlaced picture.
std::int64_t memoryOf(const PNGHandle& handle, const PNGHeader& header) {
    const auto stored = static_cast<std::int64_t>(png_get_rowbytes(handle.png(), handle.info()));
    const std::int64_t converted = header.width * bytesPerPixel * (header.bitDepth > 8 ? 2 : 1);
    return stored + converted + (header.interlaced ? header.width * header.height * bytesPerPixel : 0);
}

void keepColorChunks(PNGHandle& handle) {
    handle.errors().run([png = handle.png()] {
        png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_AS_DEFAULT,
                                    reinterpret_cast<png_const_bytep>("cHRM\0gAMA\0iCCP\0sRGB"), 4);
    });
}

std::optional<ColorProfile> iccProfile(const PNGHandle& handle) {
    png_charp name = nullptr;
    int compression = 0;
    png_bytep data = nullptr;
    png_uint_32 length = 0;
    if (png_get_iCCP(handle.png(), handle.info(), &name, &compression, &data, &length) == 0) {
        return std::nullopt;
    }
    return ColorProfile::fromICC({data, length});
}

ColorProfile gammaProfile(const PNGHandle& handle) {
    double value = 0;
    std::optional<double> gamma;
    if (png_get_gAMA(handle.png(), handle.info(), &value) != 0) {
        gamma = value;
    }
    Chromaticities c = {};
    std::optional<Chromaticities> chromaticities;
    if (png_get_cHRM(handle.png(), handle.info(), &c.whiteX, &c.whiteY, &c.redX, &c.redY, &c.greenX,
                     &c.greenY, &c.blueX, &c.blueY) != 0) {
        chromaticities = c;
    }
    return gamma || chromaticities ? ColorProfile::fromGamma(gamma, chromaticities) : ColorProfile();
}

/// What the chunks state, in the order of precedence.
ColorProfile profile(const PNGHandle& handle, const PNGChunks& chunks) {
    if (chunks.codePoints) {
        return ColorProfile::fromCodePoints(*chunks.codePoints);
    }
    if (auto icc = iccProfile(handle)) {
        return *std::move(icc);
    }
    int intent = 0;
    if (png_get_sRGB(handle.png(), handle.info(), &intent) != 0) {
        return {};
    }
    return gammaProfile(handle);
}

class PNGFrameReader final : public StillFrameReader {
public:
    PNGFrameReader(const URL& url, const ImageInfo& expected, const ImageLimits& limits);

private:
    void decode(std::span<std::uint8_t> rows) override;
    void finish() override;
    void convertToRGBA(bool addsAlpha);
    void decodeInterlaced();

    InputFile file_;
    PNGHandle handle_;
    std::size_t height_;
    bool interlaced_ = false;
    /// Interlaced pictures: the whole picture once it is decoded, and how many of its bytes were read.
    std::unique_ptr<std::uint8_t[]> pixels_;
    std::size_t bytesRead_ = 0;
};

PNGFrameReader::PNGFrameReader(const URL& url, const ImageInfo& expected, const ImageLimits& limits)
    : StillFrameReader(expected.width, expected.height), file_(url), handle_(file_.get(), limits),
      height_(static_cast<std::size_t>(expected.height)) {
    const auto header = readHeader(handle_);
    if (!header) {
        file_.throwUnreadable();
    }
    // The file may have been replaced since the source was opened.
    requireImage(header->width == expected.width && header->height == expected.height &&
                 limits.allow(header->width, header->height, header->interlaced));
    interlaced_ = header->interlaced;
    convertToRGBA(!header->hasAlpha);
}

void PNGFrameReader::convertToRGBA(bool addsAlpha) {
    handle_.errors().run([png = handle_.png(), info = handle_.info(), addsAlpha] {
        png_set_expand(png);
        png_set_scale_16(png);
        png_set_gray_to_rgb(png);
        if (addsAlpha) {
            png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
        }
        png_set_interlace_handling(png);
        png_read_update_info(png, info);
    });
    requireImage(png_get_rowbytes(handle_.png(), handle_.info()) == rowBytes());
}

void PNGFrameReader::decode(std::span<std::uint8_t> rows) {
    if (!interlaced_) {
        handle_.errors().run([png = handle_.png(), rows, step = rowBytes()] {
            for (std::size_t at = 0; at < rows.size(); at += step) {
                png_read_row(png, rows.data() + at, nullptr);
            }
        });
        return;
    }
    if (!pixels_) {
        decodeInterlaced();
    }
    std::copy_n(pixels_.get() + bytesRead_, rows.size(), rows.data());
    bytesRead_ += rows.size();
}

void PNGFrameReader::decodeInterlaced() {
    // Left uninitialized: a small file that claims a large picture then takes memory only for the pixels that
    // it has. Together the passes write every pixel.
    auto pixels = std::make_unique_for_overwrite<std::uint8_t[]>(rowBytes() * height_);
    handle_.errors().run([png = handle_.png(), start = pixels.get(), step = rowBytes(), height = height_] {
        for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) {
            for (std::size_t y = 0; y < height; ++y) {
                png_read_row(png, start + y * step, nullptr);
            }
        }
    });
    pixels_ = std::move(pixels);
}

void PNGFrameReader::finish() {
    handle_.errors().run([png = handle_.png()] { png_read_end(png, nullptr); });
    // Some versions of libpng ignore a wrong checksum here.
    constexpr std::array<std::uint8_t, 4> checksumOfIEND = {0xAE, 0x42, 0x60, 0x82};
    std::array<std::uint8_t, 4> found = {};
    requireImage(file_.skip(-4) && file_.read(found) && found == checksumOfIEND);
}

} // namespace

PNGSource::PNGSource(const URL& url, const ImageLimits& limits) : ImageSource(url, limits) {
    InputFile file(url);
    const PNGChunks chunks = readPNGChunks(file, limits);
    file.rewind();
    PNGHandle handle(file.get(), limits);
    keepColorChunks(handle);
    const auto header = readHeader(handle);
    if (!header) {
        file.throwUnreadable();
    }
    requireImage(limits.allow(header->width, header->height, header->interlaced));
    info_.width = header->width;
    info_.height = header->height;
    info_.imageCount = chunks.frameCount;
    info_.hasAlpha = header->hasAlpha;
    info_.bitsPerComponent = header->bitDepth;
    info_.orientation = chunks.orientation;
    info_.profile = profile(handle, chunks);
    setDecodingMemory(memoryOf(handle, *header));
}

std::unique_ptr<FrameReader> PNGSource::frames() const {
    return std::make_unique<PNGFrameReader>(url(), info_, limits());
}

} // namespace tarnwick
