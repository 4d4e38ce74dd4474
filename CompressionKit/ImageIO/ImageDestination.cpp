#include "ImageIO/ImageDestination.h"

#include "Foundation/FileContents.h"
#include "Foundation/FileDescriptor.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/Bitmap.h"
#include "ImageIO/InvalidImage.h"
#include "ImageIO/LibPNG.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <exception>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace tarnwick {
namespace {

/// The size of the IDAT chunks, and so of the writes.
constexpr std::size_t dataChunkBytes = std::size_t{1} << 17U;

using Options = ImageDestination::Options;

const Options& checked(const Options& options) {
    const auto holds = [](std::int64_t length) { return length >= 1 && length <= PNG_UINT_31_MAX; };
    requireImage(holds(options.width) && holds(options.height));
    return options;
}

FileDescriptor createOrOverwrite(const URL& url) {
    FileDescriptor file(::open(url.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file) {
        throw FileSystemError("无法创建文件", url, errno);
    }
    return file;
}

Bytes codePointsData(const CodePoints& code) {
    // The pixels are RGB, so the matrix is the identity.
    return {static_cast<std::uint8_t>(code.primaries), static_cast<std::uint8_t>(code.transfer), 0, 1};
}

Bytes profileData(const Bytes& icc) {
    constexpr std::string_view name("ICC Profile\0\0", 13);
    uLongf length = compressBound(static_cast<uLong>(icc.size()));
    Bytes data(name.begin(), name.end());
    data.resize(name.size() + length);
    if (compress2(data.data() + name.size(), &length, icc.data(), static_cast<uLong>(icc.size()),
                  Z_BEST_COMPRESSION) != Z_OK) {
        throw std::bad_alloc();
    }
    data.resize(name.size() + length);
    return data;
}

} // namespace

class ImageDestination::Writer {
public:
    Writer(const URL& url, const Options& options);

    void writeRows(std::span<const std::uint8_t> rows);
    void commit();

private:
    static Writer& of(png_structp png) { return *static_cast<Writer*>(png_get_io_ptr(png)); }
    static void write(png_structp png, png_bytep bytes, std::size_t count);
    static void flush(png_structp /*png*/) {}

    template <typename Body>
    void run(Body body);
    void writeHeader(const Options& options);
    void writeProfile(const ColorProfile& profile);
    void writeChunk(const char* type, const Bytes& data);

    URL url_;
    std::size_t rowBytes_;
    std::size_t rowsLeft_;
    FileDescriptor file_;
    /// None for what is no regular file: a device must not be removed.
    std::optional<ScopedFile> unfinished_;
    std::exception_ptr writeFailure_;
    ErrorJump errors_;
    PNGWriteStructs structs_;
};

ImageDestination::Writer::Writer(const URL& url, const Options& options)
    : url_(url), rowBytes_(static_cast<std::size_t>(checked(options).width * bytesPerPixel)),
      rowsLeft_(static_cast<std::size_t>(options.height)), file_(createOrOverwrite(url)) {
    if (isRegularFile(url)) {
        unfinished_.emplace(url);
    }
    run([this] {
        structs_.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &errors_, leavePNG, ignorePNGWarning);
        structs_.info = png_create_info_struct(structs_.png);
        png_set_write_fn(structs_.png, this, write, flush);
    });
    writeHeader(options);
    if (options.tagsProfile) {
        writeProfile(options.profile);
    }
}

void ImageDestination::Writer::write(png_structp png, png_bytep bytes, std::size_t count) {
    Writer& self = of(png);
    try {
        writeAll(self.file_, {bytes, count}, self.url_);
        return;
    } catch (...) {
        self.writeFailure_ = std::current_exception();
    }
    self.errors_.leave();
}

template <typename Body>
void ImageDestination::Writer::run(Body body) {
    if (!errors_.attempt(body)) {
        if (writeFailure_) {
            std::rethrow_exception(writeFailure_);
        }
        throw CompressionError::invalidImage();
    }
}

void ImageDestination::Writer::writeHeader(const Options& options) {
    run([png = structs_.png, info = structs_.info, &options] {
        const bool small = options.effort == Effort::small;
        png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_compression_level(png, small ? Z_BEST_COMPRESSION : Z_BEST_SPEED);
        png_set_compression_buffer_size(png, dataChunkBytes);
        png_set_filter(png, PNG_FILTER_TYPE_BASE, small ? PNG_ALL_FILTERS : PNG_FILTER_SUB);
        png_set_IHDR(png, info, static_cast<png_uint_32>(options.width),
                     static_cast<png_uint_32>(options.height), 8,
                     options.hasAlpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        if (!options.hasAlpha) {
            png_set_filler(png, 0, PNG_FILLER_AFTER);
        }
    });
}

/// Writes plain chunks: some versions of libpng do not know cICP, and libpng refuses ICC profiles that other
/// readers accept.
void ImageDestination::Writer::writeProfile(const ColorProfile& profile) {
    const Bytes icc = profile.iccForRGB();
    if (!icc.empty()) {
        writeChunk("iCCP", profileData(icc));
    } else if (profile.isSRGB()) {
        writeChunk("sRGB", {PNG_sRGB_INTENT_PERCEPTUAL});
    } else if (const auto& code = profile.codePoints();
               code && code->primaries <= 0xFF && code->transfer <= 0xFF) {
        writeChunk("cICP", codePointsData(*code));
    }
}

void ImageDestination::Writer::writeChunk(const char* type, const Bytes& data) {
    run([png = structs_.png, type, bytes = data.data(), count = data.size()] {
        png_write_chunk(png, reinterpret_cast<png_const_bytep>(type), bytes, count);
    });
}

void ImageDestination::Writer::writeRows(std::span<const std::uint8_t> rows) {
    const std::size_t count = rows.size() / rowBytes_;
    if (rows.size() % rowBytes_ != 0 || count > rowsLeft_) {
        throw std::logic_error("no such rows to write");
    }
    run([png = structs_.png, rows, step = rowBytes_] {
        for (std::size_t at = 0; at < rows.size(); at += step) {
            png_write_row(png, rows.data() + at);
        }
    });
    rowsLeft_ -= count;
}

void ImageDestination::Writer::commit() {
    if (rowsLeft_ != 0 || !file_) {
        throw std::logic_error("the picture is not whole, or was committed already");
    }
    run([png = structs_.png] { png_write_end(png, nullptr); });
    // Some file systems report a failed write only now.
    if (::close(file_.release()) != 0) {
        throw FileSystemError("无法写入文件", url_, errno);
    }
    if (unfinished_) {
        unfinished_->commit();
    }
}

ImageDestination::ImageDestination(const URL& url, const Options& options)
    : writer_(std::make_unique<Writer>(url, options)) {}

ImageDestination::~ImageDestination() = default;

void ImageDestination::writeRows(std::span<const std::uint8_t> rows) {
    writer_->writeRows(rows);
}

void ImageDestination::commit() {
    writer_->commit();
}

} // namespace tarnwick
