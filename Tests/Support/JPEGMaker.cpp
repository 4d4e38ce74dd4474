#include "Support/JPEGMaker.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

// After <cstdio>, which it needs but does not include.
#include <jpeglib.h>

namespace tarnwick::test {
namespace {

/// A mistake in the options ends the test program with the library's own message.
class Compressor {
public:
    Compressor() {
        state_.err = jpeg_std_error(&errors_);
        jpeg_create_compress(&state_);
        jpeg_mem_dest(&state_, &buffer_, &length_);
    }
    ~Compressor() {
        jpeg_destroy_compress(&state_);
        std::free(buffer_);
    }
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;

    j_compress_ptr get() { return &state_; }
    jpeg_compress_struct* operator->() { return &state_; }
    Bytes finish() {
        jpeg_finish_compress(&state_);
        return {buffer_, buffer_ + length_};
    }

private:
    jpeg_compress_struct state_ = {};
    jpeg_error_mgr errors_ = {};
    unsigned char* buffer_ = nullptr;
    unsigned long length_ = 0;
};

struct ColorSpaces {
    J_COLOR_SPACE given;
    J_COLOR_SPACE stored;
    int components;
};

ColorSpaces colorSpaces(JPEGColor color) {
    switch (color) {
    case JPEGColor::grey:
        return {JCS_GRAYSCALE, JCS_GRAYSCALE, 1};
    case JPEGColor::ycc:
        return {JCS_RGB, JCS_YCbCr, 3};
    case JPEGColor::rgb:
        return {JCS_RGB, JCS_RGB, 3};
    case JPEGColor::ycck:
        return {JCS_CMYK, JCS_YCCK, 4};
    case JPEGColor::cmyk:
    case JPEGColor::plainCMYK:
        break;
    }
    return {JCS_CMYK, JCS_CMYK, 4};
}

Bytes inks(const Pixel& pixel, bool inverted) {
    const int black = std::max({pixel.red, pixel.green, pixel.blue});
    Bytes result;
    for (const int value : {int{pixel.red}, int{pixel.green}, int{pixel.blue}}) {
        result.push_back(static_cast<std::uint8_t>(black == 0 ? 0 : (value * 255 + black / 2) / black));
    }
    result.push_back(static_cast<std::uint8_t>(black));
    if (!inverted) {
        std::transform(result.begin(), result.end(), result.begin(),
                       [](std::uint8_t value) { return static_cast<std::uint8_t>(255 - value); });
    }
    return result;
}

Bytes samples(const Pixel& pixel, JPEGColor color) {
    switch (color) {
    case JPEGColor::grey:
        return {pixel.red};
    case JPEGColor::ycc:
    case JPEGColor::rgb:
        return {pixel.red, pixel.green, pixel.blue};
    default:
        return inks(pixel, color != JPEGColor::plainCMYK);
    }
}

void setQuality(Compressor& compressor, const JPEGOptions& options) {
    jpeg_set_quality(compressor.get(), options.quality, TRUE);
    if (options.quantization) {
        for (const int table : {0, 1}) {
            jpeg_add_quant_table(compressor.get(), table, options.quantization->data(),
                                 jpeg_quality_scaling(options.quality), TRUE);
        }
    }
}

void setSampling(Compressor& compressor, const JPEGOptions& options) {
    for (int index = 0; index < compressor->num_components; ++index) {
        const bool first = index == 0;
        compressor->comp_info[index].h_samp_factor = first ? options.horizontalSampling : 1;
        compressor->comp_info[index].v_samp_factor = first ? options.verticalSampling : 1;
    }
}

std::vector<jpeg_scan_info> separateScans(int components) {
    std::vector<jpeg_scan_info> scans(static_cast<std::size_t>(components));
    for (int index = 0; index < components; ++index) {
        scans[static_cast<std::size_t>(index)] = {1, {index, 0, 0, 0}, 0, 63, 0, 0};
    }
    return scans;
}

void setUp(Compressor& compressor, const JPEGOptions& options) {
    const ColorSpaces spaces = colorSpaces(options.color);
    compressor->image_width = static_cast<JDIMENSION>(options.width);
    compressor->image_height = static_cast<JDIMENSION>(options.height);
    compressor->input_components = spaces.components;
    compressor->in_color_space = spaces.given;
    jpeg_set_defaults(compressor.get());
    jpeg_set_colorspace(compressor.get(), spaces.stored);
    setQuality(compressor, options);
    setSampling(compressor, options);
    compressor->arith_code = options.arithmetic ? TRUE : FALSE;
    compressor->optimize_coding = options.optimizedTables ? TRUE : FALSE;
    compressor->restart_interval = options.restartInterval;
    if (options.color == JPEGColor::plainCMYK) {
        compressor->write_Adobe_marker = FALSE;
    }
    if (options.progressive) {
        jpeg_simple_progression(compressor.get());
    }
}

void writeMarker(Compressor& compressor, int marker, std::string_view start, const Bytes& data) {
    Bytes contents(start.begin(), start.end());
    contents.insert(contents.end(), data.begin(), data.end());
    jpeg_write_marker(compressor.get(), marker, contents.data(), static_cast<unsigned>(contents.size()));
}

void writeICC(Compressor& compressor, const JPEGOptions& options) {
    using namespace std::string_literals;
    const std::size_t step = options.iccSegmentBytes;
    const std::size_t count = (options.icc.size() + step - 1) / step;
    for (std::size_t index = 0; index < count; ++index) {
        const auto begin = options.icc.begin() + static_cast<std::ptrdiff_t>(index * step);
        const auto length = std::min(step, options.icc.size() - index * step);
        writeMarker(compressor, JPEG_APP0 + 2,
                    "ICC_PROFILE\0"s + static_cast<char>(index + 1) + static_cast<char>(count),
                    {begin, begin + static_cast<std::ptrdiff_t>(length)});
    }
}

void writeMetadata(Compressor& compressor, const JPEGOptions& options) {
    using namespace std::string_view_literals;
    if (options.orientation) {
        writeMarker(compressor, JPEG_APP0 + 1, "Exif\0\0"sv, exifBlock(*options.orientation));
    }
    writeICC(compressor, options);
    if (!options.comment.empty()) {
        writeMarker(compressor, JPEG_COM, options.comment, {});
    }
}

void writeRows(Compressor& compressor, const JPEGOptions& options) {
    for (std::int64_t y = 0; y < options.height; ++y) {
        Bytes row;
        for (std::int64_t x = 0; x < options.width; ++x) {
            const Bytes pixel = samples(options.pattern(x, y), options.color);
            row.insert(row.end(), pixel.begin(), pixel.end());
        }
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(compressor.get(), rows, 1);
    }
}

} // namespace

Bytes jpegBytes(const JPEGOptions& options) {
    Compressor compressor;
    setUp(compressor, options);
    const std::vector<jpeg_scan_info> scans = separateScans(compressor->num_components);
    if (options.separateScans) {
        compressor->scan_info = scans.data();
        compressor->num_scans = static_cast<int>(scans.size());
    }
    jpeg_start_compress(compressor.get(), TRUE);
    writeMetadata(compressor, options);
    writeRows(compressor, options);
    return compressor.finish();
}

void writeJPEG(const URL& url, const JPEGOptions& options) {
    writeFile(url, jpegBytes(options));
}

} // namespace tarnwick::test
