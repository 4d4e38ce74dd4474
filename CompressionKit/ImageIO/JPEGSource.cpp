#include "ImageIO/JPEGSource.h"

#include "Foundation/Text.h"
#include "ImageIO/Bitmap.h"
#include "ImageIO/ErrorJump.h"
#include "ImageIO/ExifOrientation.h"
#include "ImageIO/InputFile.h"
#include "ImageIO/InvalidImage.h"
#include "ImageIO/StillFrameReader.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <numeric>
#include <utility>

// After <cstdio>, which it needs but does not include.
#include <jerror.h>
#include <jpeglib.h>

namespace tarnwick {
namespace {

constexpr int exifMarker = JPEG_APP0 + 1;
constexpr int iccMarker = JPEG_APP0 + 2;
constexpr unsigned maximumSegmentBytes = 0xFFFF;
/// Small, so that no more than that is read beyond the limit on the bytes before the first scan.
constexpr std::size_t headerChunkBytes = 4096;
/// Larger than an MCU, about 3 KB at most: the library decodes one that ends beyond its buffer more slowly.
constexpr std::size_t pixelChunkBytes = std::size_t{1} << 16U;
/// The side of a block. The library can decode a block to any smaller side.
constexpr std::int64_t fullScale = 8;

/// libjpeg's state for reading one file.
class JPEGHandle {
public:
    JPEGHandle(std::FILE* file, const ImageLimits& limits);

    j_decompress_ptr get() noexcept { return &state_; }
    const jpeg_decompress_struct* operator->() const noexcept { return &state_; }
    ErrorJump& errors() noexcept { return errors_; }

    /// Reads up to the first scan. False when that fails.
    bool readHeader();
    /// To be called before the pixels are decoded.
    void enlargeInput() { pixelInput_ = std::make_unique_for_overwrite<JOCTET[]>(pixelChunkBytes); }

private:
    struct State : jpeg_decompress_struct {
        ~State() { jpeg_destroy_decompress(this); }
    };

    template <typename Common>
    static JPEGHandle& of(Common* state) {
        return *static_cast<JPEGHandle*>(state->client_data);
    }
    [[noreturn]] static void onError(j_common_ptr state) { of(state).errors_.leave(); }
    static void onMessage(j_common_ptr state, int level);
    static void onOutput(j_common_ptr /*state*/) {}
    static void onProgress(j_common_ptr state);
    static boolean fillInput(j_decompress_ptr state);

    ErrorJump errors_;
    jpeg_error_mgr errorManager_ = {};
    jpeg_progress_mgr progressManager_ = {};
    std::FILE* file_;
    std::array<JOCTET, headerChunkBytes> headerInput_;
    std::unique_ptr<JOCTET[]> pixelInput_;
    std::int64_t bytesLeft_;
    std::int64_t maximumScans_;
    State state_ = {};
};

JPEGHandle::JPEGHandle(std::FILE* file, const ImageLimits& limits)
    : file_(file), bytesLeft_(limits.maximumMetadataBytes), maximumScans_(limits.maximumScans) {
    state_.err = jpeg_std_error(&errorManager_);
    state_.client_data = this;
    errorManager_.error_exit = onError;
    errorManager_.emit_message = onMessage;
    errorManager_.output_message = onOutput;
    progressManager_.progress_monitor = onProgress;
    errors_.run([this] {
        jpeg_create_decompress(&state_);
        state_.progress = &progressManager_;
        jpeg_stdio_src(&state_, file_);
        state_.src->fill_input_buffer = fillInput;
    });
}

bool JPEGHandle::readHeader() {
    const bool isRead = errors_.attempt([this] { jpeg_read_header(&state_, TRUE); });
    bytesLeft_ = std::numeric_limits<std::int64_t>::max();
    return isRead;
}

/// After a warning the library goes on and fills missing pixels with grey. Only the harmless warnings leave
/// every pixel right.
void JPEGHandle::onMessage(j_common_ptr state, int level) {
    if (level >= 0) {
        return;
    }
    constexpr std::array harmless = {JWRN_ADOBE_XFORM, JWRN_BOGUS_ICC, JWRN_EXTRANEOUS_DATA, JWRN_JFIF_MAJOR,
                                     JWRN_NOT_SEQUENTIAL};
    if (std::find(harmless.begin(), harmless.end(), state->err->msg_code) == harmless.end()) {
        of(state).errors_.leave();
    }
}

void JPEGHandle::onProgress(j_common_ptr state) {
    auto& self = of(state);
    if (self.state_.input_scan_number > self.maximumScans_) {
        self.errors_.leave();
    }
}

/// Limits the bytes before the first scan: the library keeps requested segments in memory.
boolean JPEGHandle::fillInput(j_decompress_ptr state) {
    auto& self = of(state);
    const std::span<JOCTET> chunk = self.pixelInput_ ? std::span(self.pixelInput_.get(), pixelChunkBytes)
                                                     : std::span<JOCTET>(self.headerInput_);
    const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), self.file_);
    if (self.bytesLeft_ < 0 || count == 0) {
        self.errors_.leave();
    }
    self.bytesLeft_ -= static_cast<std::int64_t>(count);
    state->src->next_input_byte = chunk.data();
    state->src->bytes_in_buffer = count;
    return TRUE;
}

bool isInk(J_COLOR_SPACE space) {
    return space == JCS_CMYK || space == JCS_YCCK;
}

/// Whether a picture with this header may be decoded. The library holds all coefficients of one with several
/// scans.
bool isAcceptable(JPEGHandle& handle, const ImageLimits& limits) {
    constexpr std::array known = {JCS_GRAYSCALE, JCS_YCbCr, JCS_RGB, JCS_CMYK, JCS_YCCK};
    const bool buffered = jpeg_has_multiple_scans(handle.get()) != FALSE;
    return std::find(known.begin(), known.end(), handle->jpeg_color_space) != known.end() &&
           limits.allow(handle->image_width, handle->image_height, buffered);
}

/// Of all coefficients, when the library holds them.
std::int64_t memoryOf(JPEGHandle& handle) {
    if (jpeg_has_multiple_scans(handle.get()) == FALSE) {
        return 0;
    }
    const std::span components(handle->comp_info, static_cast<std::size_t>(handle->num_components));
    return std::accumulate(components.begin(), components.end(), std::int64_t{0},
                           [](std::int64_t sum, const jpeg_component_info& component) {
                               return sum + std::int64_t{component.width_in_blocks} *
                                                component.height_in_blocks *
                                                static_cast<std::int64_t>(sizeof(JBLOCK));
                           });
}

std::optional<int> orientation(const JPEGHandle& handle) {
    for (auto* marker = handle->marker_list; marker != nullptr; marker = marker->next) {
        const std::span<const std::uint8_t> data(marker->data, marker->data_length);
        if (marker->marker == exifMarker && startsWith(data, exifHeader)) {
            return exifOrientation(data);
        }
    }
    return std::nullopt;
}

std::optional<ColorProfile> iccProfile(JPEGHandle& handle) {
    struct Free {
        void operator()(JOCTET* data) const noexcept { std::free(data); }
    };
    JOCTET* data = nullptr;
    unsigned length = 0;
    handle.errors().run([&] { jpeg_read_icc_profile(handle.get(), &data, &length); });
    const std::unique_ptr<JOCTET, Free> owner(data);
    return owner ? ColorProfile::fromICC({data, length}) : std::nullopt;
}

ColorProfile profile(JPEGHandle& handle) {
    if (auto icc = iccProfile(handle)) {
        return *std::move(icc);
    }
    return isInk(handle->jpeg_color_space) ? ColorProfile::genericCMYK() : ColorProfile();
}

/// Turns a row of inks into RGBA in place. `inverted`: 255 means no ink, as Adobe's marker announces.
void convertInks(std::span<std::uint8_t> row, bool inverted) {
    const unsigned flip = inverted ? 0x00 : 0xFF;
    for (std::size_t at = 0; at + 4 <= row.size(); at += 4) {
        const unsigned black = row[at + 3] ^ flip;
        for (std::size_t ink = at; ink < at + 3; ++ink) {
            row[ink] = static_cast<std::uint8_t>(((row[ink] ^ flip) * black + 127) / 255);
        }
        row[at + 3] = 0xFF;
    }
}

/// Rounded as the library rounds.
std::int64_t scaled(std::int64_t length, std::int64_t scale) {
    return (length * scale + fullScale - 1) / fullScale;
}

class JPEGFrameReader final : public StillFrameReader {
public:
    JPEGFrameReader(const URL& url, const ImageInfo& expected, const ImageLimits& limits,
                    std::int64_t scale = fullScale);

private:
    void decode(std::span<std::uint8_t> rows) override;
    void finish() override;
    void start();
    void requireAllComponents() const;

    InputFile file_;
    JPEGHandle handle_;
    unsigned scale_;
    bool started_ = false;
};

JPEGFrameReader::JPEGFrameReader(const URL& url, const ImageInfo& expected, const ImageLimits& limits,
                                 std::int64_t scale)
    : StillFrameReader(scaled(expected.width, scale), scaled(expected.height, scale)), file_(url),
      handle_(file_.get(), limits), scale_(static_cast<unsigned>(scale)) {
    if (!handle_.readHeader()) {
        file_.throwUnreadable();
    }
    // The file may have been replaced since the source was opened.
    requireImage(handle_->image_width == expected.width && handle_->image_height == expected.height &&
                 isAcceptable(handle_, limits));
}

void JPEGFrameReader::start() {
    handle_.enlargeInput();
    handle_.errors().run([state = handle_.get(), scale = scale_] {
        state->scale_num = scale;
        state->scale_denom = fullScale;
        state->out_color_space = isInk(state->jpeg_color_space) ? JCS_CMYK : JCS_EXT_RGBA;
        state->dct_method = JDCT_ISLOW;
        state->do_fancy_upsampling = TRUE;
        jpeg_start_decompress(state);
    });
    requireImage(std::size_t{handle_->output_width} * bytesPerPixel == rowBytes());
    requireAllComponents();
    started_ = true;
}

/// The library would decode a component without a scan as grey. Its table is set when its first scan begins.
void JPEGFrameReader::requireAllComponents() const {
    const std::span components(handle_->comp_info, static_cast<std::size_t>(handle_->num_components));
    requireImage(std::all_of(components.begin(), components.end(), [](const jpeg_component_info& component) {
        return component.quant_table != nullptr;
    }));
}

void JPEGFrameReader::decode(std::span<std::uint8_t> rows) {
    if (!started_) {
        start();
    }
    handle_.errors().run([state = handle_.get(), rows, step = rowBytes()] {
        for (std::size_t at = 0; at < rows.size(); at += step) {
            JSAMPROW row = rows.data() + at;
            jpeg_read_scanlines(state, &row, 1);
        }
    });
    if (isInk(handle_->jpeg_color_space)) {
        convertInks(rows, handle_->saw_Adobe_marker != FALSE);
    }
}

void JPEGFrameReader::finish() {
    handle_.errors().run([state = handle_.get()] { jpeg_finish_decompress(state); });
}

} // namespace

JPEGSource::JPEGSource(const URL& url, const ImageLimits& limits) : ImageSource(url, limits) {
    InputFile file(url);
    JPEGHandle handle(file.get(), limits);
    handle.errors().run([state = handle.get()] {
        jpeg_save_markers(state, exifMarker, maximumSegmentBytes);
        jpeg_save_markers(state, iccMarker, maximumSegmentBytes);
    });
    if (!handle.readHeader()) {
        file.throwUnreadable();
    }
    requireImage(isAcceptable(handle, limits));
    info_.width = handle->image_width;
    info_.height = handle->image_height;
    info_.bitsPerComponent = handle->data_precision;
    info_.orientation = orientation(handle);
    info_.profile = profile(handle);
    setDecodingMemory(memoryOf(handle));
}

std::unique_ptr<FrameReader> JPEGSource::frames() const {
    return std::make_unique<JPEGFrameReader>(url(), info_, limits());
}

ReducedFrames JPEGSource::reducedFrames(std::int64_t width, std::int64_t height) const {
    std::int64_t scale = 1;
    while (scale < fullScale &&
           (info_.width * scale < width * fullScale || info_.height * scale < height * fullScale)) {
        ++scale;
    }
    return {scaled(info_.width, scale), scaled(info_.height, scale), scale,
            std::make_unique<JPEGFrameReader>(url(), info_, limits(), scale)};
}

} // namespace tarnwick
