#pragma once

#include "Foundation/URL.h"
#include "ImageIO/ColorProfile.h"
#include "ImageIO/ImageLimits.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarnwick {

/// What a picture file states. Sizes are in pixels, as stored: not corrected for orientation.
struct ImageInfo {
    std::int64_t width = 0;
    std::int64_t height = 0;
    /// The images in the file: 1 for a still picture; the frames of an animated GIF or PNG.
    std::int64_t imageCount = 1;
    /// Of the first (HEIF: the primary) image.
    bool hasAlpha = false;
    /// Bits a component as stored.
    int bitsPerComponent = 8;
    /// The EXIF orientation, 1 to 8, when the file gives one. HEIF: from its rotation and mirroring.
    std::optional<int> orientation;
    ColorProfile profile;
    /// GIF: the number of repetitions, when the file gives one; 0 means endless.
    std::optional<std::int64_t> loopCount;
    /// GIF: seconds each frame is shown, one entry a frame, 0 where the file gives none. Empty for other
    /// kinds.
    std::vector<double> frameDelays;
};

/// One forward pass over the pixels of a source's images, in their order: the picture itself, or each frame
/// of an animated GIF composited on the full canvas. Every failure throws CompressionError::invalidImage, so
/// does a file that ends early. Belongs to one thread.
class FrameReader {
public:
    virtual ~FrameReader() = default;
    FrameReader() = default;
    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;

    /// Goes to the next image, the first one at the first call; false after the last. Unread rows of the
    /// previous image are skipped.
    virtual bool next() = 0;
    /// Decodes the next rows of the image, from the top: straight (not premultiplied) RGBA, 8 bits a
    /// component, rows of width × 4 bytes without padding. rows.size() must be a whole number of rows and at
    /// most the rows that are left. Values are those of the file, without any colour conversion; deeper
    /// samples are reduced to 8 bits, grey becomes RGB, CMYK becomes RGB by the simple formula. Reading the
    /// last row also checks what must follow it.
    virtual void readRows(std::span<std::uint8_t> rows) = 0;
};

/// A pass over images that the decoder itself reduces: to `eighths` of their size, rounded up, so that the
/// last pixels may cover less of the picture than the others.
struct ReducedFrames {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t eighths = 8;
    std::unique_ptr<FrameReader> reader;
};

/// An opened picture file. Immutable; several passes may run at once.
class ImageSource {
public:
    /// Opens the file by what it contains, whatever its name. Throws CompressionError::invalidImage for
    /// content that no decoder knows, a malformed header, or dimensions beyond the limits; FileSystemError
    /// when it cannot be read.
    static std::unique_ptr<ImageSource> open(const URL& url, const ImageLimits& limits = {});

    virtual ~ImageSource() = default;
    ImageSource(const ImageSource&) = delete;
    ImageSource& operator=(const ImageSource&) = delete;

    const ImageInfo& info() const noexcept { return info_; }
    /// The most bytes of memory that a pass takes beside the rows that it returns.
    std::int64_t decodingMemory() const noexcept { return decodingMemory_; }
    /// The most bytes of memory that decoding and showing this file may take.
    std::int64_t memory() const noexcept { return memory_; }
    /// Starts a pass. Throws CompressionError::invalidImage or FileSystemError.
    virtual std::unique_ptr<FrameReader> frames() const = 0;
    /// Starts a pass for a display of this size, at least 1 and at most the picture's own. The images are
    /// reduced as far as the decoder saves time by it, but never below this size, not even before rounding.
    /// By default nothing is reduced. Throws as frames().
    virtual ReducedFrames reducedFrames(std::int64_t width, std::int64_t height) const;

protected:
    explicit ImageSource(URL url, const ImageLimits& limits);

    const URL& url() const noexcept { return url_; }
    const ImageLimits& limits() const noexcept { return limits_; }
    /// For the format's own constructor, once the size is known. Throws CompressionError::invalidImage when
    /// the file may not take as much, and a row; FileSystemError.
    void setDecodingMemory(std::int64_t bytes);
    /// For the format's own constructor to fill.
    ImageInfo info_;

private:
    URL url_;
    ImageLimits limits_;
    std::int64_t decodingMemory_ = 0;
    std::int64_t memory_ = 0;
};

/// The container's type by the file's first bytes: "public.png", "public.jpeg", "com.compuserve.gif",
/// "public.heic", "public.heif", or that of another picture format, such as "org.webmproject.webp". None for
/// all other content. Throws FileSystemError.
std::optional<std::string> containerType(const URL& url);

} // namespace tarnwick
