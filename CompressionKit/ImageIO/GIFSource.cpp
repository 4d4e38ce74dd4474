#include "ImageIO/GIFSource.h"

#include "Foundation/CompressionError.h"
#include "ImageIO/Bitmap.h"
#include "ImageIO/InputFile.h"
#include "ImageIO/InvalidImage.h"

#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace tarnwick {
namespace {

struct CloseGIF {
    void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};

int readInput(GifFileType* gif, GifByteType* bytes, int count) {
    return static_cast<int>(
        std::fread(bytes, 1, static_cast<std::size_t>(count), static_cast<std::FILE*>(gif->UserData)));
}

void check(int result) {
    requireImage(result == GIF_OK);
}

/// The text of a giflib sub-block, which begins with its length; null at the end of a chain.
std::string_view blockText(const GifByteType* block) {
    return block == nullptr ? std::string_view()
                            : std::string_view(reinterpret_cast<const char*>(block) + 1, *block);
}

/// Reads a file's records one after the other and keeps none of them.
class Records {
public:
    explicit Records(std::FILE* file) : gif_(DGifOpen(file, readInput, nullptr)) {
        requireImage(gif_ != nullptr);
    }

    std::int64_t screenWidth() const { return gif_->SWidth; }
    std::int64_t screenHeight() const { return gif_->SHeight; }
    /// As stated in the records read so far.
    std::optional<std::int64_t> loopCount() const { return loopCount_; }

    /// Goes to the next image, whose data must then be read or skipped; false at the trailer.
    bool nextImage();
    const GifImageDesc& image() const { return gif_->Image; }
    /// The current image's graphic control extension, if it has one.
    const std::optional<GraphicsControlBlock>& control() const { return control_; }
    const ColorMapObject& palette() const {
        return gif_->Image.ColorMap != nullptr ? *gif_->Image.ColorMap : *gif_->SColorMap;
    }

    void readLine(std::span<GifPixelType> line) {
        check(DGifGetLine(gif_.get(), line.data(), static_cast<int>(line.size())));
    }
    void skipData() {
        for (GifByteType* block = nullptr;;) {
            check(DGifGetCodeNext(gif_.get(), &block));
            if (block == nullptr) {
                return;
            }
        }
    }

private:
    void readImageHeader();
    void readExtension();

    std::unique_ptr<GifFileType, CloseGIF> gif_;
    std::optional<GraphicsControlBlock> control_;
    std::optional<std::int64_t> loopCount_;
};

bool Records::nextImage() {
    control_.reset();
    for (GifRecordType type = UNDEFINED_RECORD_TYPE;;) {
        check(DGifGetRecordType(gif_.get(), &type));
        if (type == TERMINATE_RECORD_TYPE) {
            return false;
        }
        if (type == IMAGE_DESC_RECORD_TYPE) {
            readImageHeader();
            return true;
        }
        readExtension();
    }
}

/// Decoders disagree on images without a size or without any palette, so they are refused.
void Records::readImageHeader() {
    check(DGifGetImageHeader(gif_.get()));
    requireImage(image().Width > 0 && image().Height > 0);
    requireImage(image().ColorMap != nullptr || gif_->SColorMap != nullptr);
}

void Records::readExtension() {
    int label = 0;
    GifByteType* block = nullptr;
    check(DGifGetExtension(gif_.get(), &label, &block));
    if (label == GRAPHICS_EXT_FUNC_CODE) {
        requireImage(block != nullptr);
        check(DGifExtensionToGCB(*block, block + 1, &control_.emplace()));
    } else if (label == PLAINTEXT_EXT_FUNC_CODE) {
        control_.reset();
    }
    const bool isLooping = label == APPLICATION_EXT_FUNC_CODE &&
                           (blockText(block) == "NETSCAPE2.0" || blockText(block) == "ANIMEXTS1.0");
    while (block != nullptr) {
        check(DGifGetExtensionNext(gif_.get(), &block));
        const std::string_view text = blockText(block);
        if (isLooping && text.size() == 3 && text[0] == 1) {
            loopCount_ = block[2] | block[3] << 8;
        }
    }
}

/// Browsers read 4, which old descriptions use for "restore to previous", as 3. They leave the image in place
/// for values without a meaning.
int disposalOf(const Records& records) {
    const int stated = records.control() ? records.control()->DisposalMode : DISPOSAL_UNSPECIFIED;
    return stated == 4 ? DISPOSE_PREVIOUS : stated;
}

/// The part of an image that lies on the canvas. Empty when none does.
GIFArea visibleArea(const GifImageDesc& image, const ImageInfo& info) {
    GIFArea area = {.left = std::min<std::int64_t>(image.Left, info.width),
                    .top = std::min<std::int64_t>(image.Top, info.height)};
    area.width = std::min<std::int64_t>(image.Width, info.width - area.left);
    area.height = std::min<std::int64_t>(image.Height, info.height - area.top);
    return area.width > 0 && area.height > 0 ? area : GIFArea();
}

/// The smallest area that contains both.
GIFArea united(const GIFArea& a, const GIFArea& b) {
    if (a.width == 0 || b.width == 0) {
        return a.width == 0 ? b : a;
    }
    GIFArea both = {.left = std::min(a.left, b.left), .top = std::min(a.top, b.top)};
    both.width = std::max(a.left + a.width, b.left + b.width) - both.left;
    both.height = std::max(a.top + a.height, b.top + b.height) - both.top;
    return both;
}

std::int64_t pixelCount(const GIFArea& area) {
    return area.width * area.height;
}

class GIFReader final : public FrameReader {
public:
    GIFReader(const URL& url, const ImageInfo& info, const GIFArea& covered, const ImageLimits& limits)
        : file_(url), records_(file_.get()), limits_(limits), info_(info), covered_(covered),
          remainingImages_(info.imageCount),
          canvas_(static_cast<std::size_t>(pixelCount(covered) * bytesPerPixel)), servedRows_(info.height) {}

    bool next() override;
    void readRows(std::span<std::uint8_t> rows) override;

private:
    std::uint8_t* pixel(std::int64_t x, std::int64_t y) {
        return canvas_.data() + ((y - covered_.top) * covered_.width + (x - covered_.left)) * bytesPerPixel;
    }
    void placeImage();
    void disposeOfImage();
    void saveArea();
    void drawImage();
    void drawLine(std::int64_t y, std::span<const GifPixelType> line);

    InputFile file_;
    Records records_;
    ImageLimits limits_;
    ImageInfo info_;
    GIFArea covered_;
    std::int64_t remainingImages_;
    /// The pixels of the covered area.
    std::vector<std::uint8_t> canvas_;
    /// How many of the picture's rows readRows() has returned.
    std::int64_t servedRows_;
    /// Of the last image: how to dispose of it before the next one, and the pixels that were there before it.
    int disposal_ = DISPOSAL_UNSPECIFIED;
    GIFArea area_;
    std::vector<std::uint8_t> saved_;
};

bool GIFReader::next() {
    if (remainingImages_ == 0) {
        return false;
    }
    --remainingImages_;
    disposeOfImage();
    requireImage(records_.nextImage());
    placeImage();
    disposal_ = disposalOf(records_);
    if (disposal_ == DISPOSE_PREVIOUS) {
        saveArea();
    }
    drawImage();
    servedRows_ = 0;
    return true;
}

void GIFReader::placeImage() {
    const GifImageDesc& image = records_.image();
    requireImage(limits_.allow(image.Width, image.Height, true));
    area_ = visibleArea(image, info_);
    // The file may have been replaced since the source was opened.
    requireImage(pixelCount(united(covered_, area_)) == pixelCount(covered_));
}

/// The background of the canvas is transparent, as in all viewers; the background colour that the file states
/// is ignored.
void GIFReader::disposeOfImage() {
    const auto rowBytes = static_cast<std::size_t>(area_.width * bytesPerPixel);
    for (std::int64_t y = 0; y < area_.height && rowBytes > 0; ++y) {
        std::uint8_t* row = pixel(area_.left, area_.top + y);
        if (disposal_ == DISPOSE_BACKGROUND) {
            std::memset(row, 0, rowBytes);
        } else if (disposal_ == DISPOSE_PREVIOUS) {
            std::memcpy(row, saved_.data() + static_cast<std::size_t>(y) * rowBytes, rowBytes);
        }
    }
}

void GIFReader::saveArea() {
    saved_.clear();
    for (std::int64_t y = 0; y < area_.height && area_.width > 0; ++y) {
        const std::uint8_t* row = pixel(area_.left, area_.top + y);
        saved_.insert(saved_.end(), row, row + area_.width * bytesPerPixel);
    }
}

void GIFReader::drawImage() {
    struct Pass {
        std::int64_t first;
        std::int64_t step;
    };
    constexpr std::array<Pass, 4> interlaced = {{{0, 8}, {4, 8}, {2, 4}, {1, 2}}};
    constexpr std::array<Pass, 1> progressive = {{{0, 1}}};
    const GifImageDesc& image = records_.image();
    std::vector<GifPixelType> line(static_cast<std::size_t>(image.Width));
    for (const Pass& pass : image.Interlace ? std::span<const Pass>(interlaced) : progressive) {
        for (std::int64_t y = pass.first; y < image.Height; y += pass.step) {
            records_.readLine(line);
            if (y < area_.height) {
                drawLine(area_.top + y, std::span(line).first(static_cast<std::size_t>(area_.width)));
            }
        }
    }
}

void GIFReader::drawLine(std::int64_t y, std::span<const GifPixelType> line) {
    const ColorMapObject& palette = records_.palette();
    const int transparent = records_.control() ? records_.control()->TransparentColor : NO_TRANSPARENT_COLOR;
    std::uint8_t* out = pixel(area_.left, y);
    for (const int index : line) {
        // Viewers skip pixels whose index is not in the palette.
        if (index != transparent && index < palette.ColorCount) {
            const GifColorType& color = palette.Colors[index];
            out[0] = color.Red;
            out[1] = color.Green;
            out[2] = color.Blue;
            out[3] = 255;
        }
        out += bytesPerPixel;
    }
}

void GIFReader::readRows(std::span<std::uint8_t> rows) {
    const auto rowBytes = static_cast<std::size_t>(info_.width * bytesPerPixel);
    const auto count = static_cast<std::int64_t>(rows.size() / rowBytes);
    if (rows.size() % rowBytes != 0 || count > info_.height - servedRows_) {
        throw std::logic_error("no such rows to read");
    }
    std::fill(rows.begin(), rows.end(), std::uint8_t{0});
    const std::int64_t first = std::max(servedRows_, covered_.top);
    const std::int64_t last = std::min(servedRows_ + count, covered_.top + covered_.height);
    for (std::int64_t y = first; y < last; ++y) {
        std::uint8_t* row = rows.data() + static_cast<std::size_t>(y - servedRows_) * rowBytes;
        std::memcpy(row + covered_.left * bytesPerPixel, pixel(covered_.left, y),
                    static_cast<std::size_t>(covered_.width * bytesPerPixel));
    }
    servedRows_ += count;
}

/// Viewers use the first image's extent when the screen has none.
void readScreen(const Records& records, ImageInfo& info) {
    const GifImageDesc& image = records.image();
    info.width = records.screenWidth() > 0 ? records.screenWidth() : image.Left + image.Width;
    info.height = records.screenHeight() > 0 ? records.screenHeight() : image.Top + image.Height;
    const bool isCovered =
        image.Left == 0 && image.Top == 0 && image.Width >= info.width && image.Height >= info.height;
    const bool isTransparent =
        records.control() && records.control()->TransparentColor != NO_TRANSPARENT_COLOR;
    info.hasAlpha = isTransparent || !isCovered;
}

} // namespace

void GIFSource::readInfo(std::FILE* file) {
    Records records(file);
    std::int64_t saved = 0;
    info_.imageCount = 0;
    while (records.nextImage()) {
        if (info_.imageCount == 0) {
            readScreen(records, info_);
            requireImage(limits().allow(info_.width, info_.height, true));
        }
        ++info_.imageCount;
        requireImage(info_.imageCount <= limits().maximumFrames);
        info_.frameDelays.push_back(records.control() ? records.control()->DelayTime / 100.0 : 0.0);
        const GIFArea area = visibleArea(records.image(), info_);
        covered_ = united(covered_, area);
        saved = disposalOf(records) == DISPOSE_PREVIOUS ? std::max(saved, pixelCount(area)) : saved;
        records.skipData();
    }
    requireImage(info_.imageCount > 0);
    info_.loopCount = records.loopCount();
    setDecodingMemory((pixelCount(covered_) + saved) * bytesPerPixel);
}

GIFSource::GIFSource(const URL& url, const ImageLimits& limits) : ImageSource(url, limits) {
    const InputFile file(url);
    try {
        readInfo(file.get());
    } catch (const CompressionError&) {
        file.throwUnreadable();
    }
}

std::unique_ptr<FrameReader> GIFSource::frames() const {
    return std::make_unique<GIFReader>(url(), info_, covered_, limits());
}

} // namespace tarnwick
