#include "ImageIO/ImageSource.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/Text.h"
#include "ImageIO/BigEndian.h"
#include "ImageIO/Bitmap.h"
#include "ImageIO/GIFSource.h"
#include "ImageIO/HEIFSource.h"
#include "ImageIO/InvalidImage.h"
#include "ImageIO/JPEGSource.h"
#include "ImageIO/PNGSource.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace tarnwick {
namespace {

using namespace std::string_view_literals;

/// Enough for an ftyp box with a few dozen compatible brands.
constexpr std::size_t sniffedBytes = 256;

struct Signature {
    std::size_t offset;
    std::string_view bytes;
    std::string_view type;
};

constexpr std::array signatures = {
    Signature{0, "\x89PNG\r\n\x1A\n"sv, "public.png"sv},
    Signature{0, "\xFF\xD8\xFF"sv, "public.jpeg"sv},
    Signature{0, "GIF87a"sv, "com.compuserve.gif"sv},
    Signature{0, "GIF89a"sv, "com.compuserve.gif"sv},
    Signature{8, "WEBP"sv, "org.webmproject.webp"sv},
    Signature{0, "II*\0"sv, "public.tiff"sv},
    Signature{0, "MM\0*"sv, "public.tiff"sv},
    Signature{0, "BM"sv, "com.microsoft.bmp"sv},
    Signature{0, "\xFF\x0A"sv, "public.jpeg-xl"sv},
    Signature{0, "\0\0\0\x0CJXL \r\n\x87\n"sv, "public.jpeg-xl"sv},
    Signature{0, "\0\0\0\x0CjP  \r\n\x87\n"sv, "public.jpeg-2000"sv},
    Signature{0, "8BPS"sv, "com.adobe.photoshop-image"sv},
};

struct Brand {
    std::string_view name;
    std::string_view type;
};

/// Brands of the ISO base media file format. The first of a file's brands (the major one, then the compatible
/// ones) that is listed gives its type. The structural brands say only how the file is built, so they count
/// last.
constexpr std::array specificBrands = {
    Brand{"heic", "public.heic"}, Brand{"heix", "public.heic"}, Brand{"heim", "public.heic"},
    Brand{"heis", "public.heic"}, Brand{"hevc", "public.heic"}, Brand{"hevx", "public.heic"},
    Brand{"avif", "public.avif"}, Brand{"avis", "public.avif"},
};
constexpr std::array structuralBrands = {
    Brand{"mif1", "public.heif"},
    Brand{"mif2", "public.heif"},
    Brand{"msf1", "public.heif"},
};

std::optional<std::string> typeOfBrand(std::string_view ftyp, std::span<const Brand> brands) {
    constexpr std::size_t majorBrand = 8;
    constexpr std::size_t minorVersion = 12;
    for (std::size_t at = majorBrand; at + 4 <= ftyp.size(); at += 4) {
        if (at == minorVersion) {
            continue;
        }
        const auto* brand =
            std::find_if(brands.data(), brands.data() + brands.size(),
                         [&](const Brand& candidate) { return candidate.name == ftyp.substr(at, 4); });
        if (brand != brands.data() + brands.size()) {
            return std::string(brand->type);
        }
    }
    return std::nullopt;
}

std::optional<std::string> baseMediaType(std::span<const std::uint8_t> start) {
    if (start.size() < 16 || !startsWith(start.subspan(4), "ftyp")) {
        return std::nullopt;
    }
    const auto box = start.first(std::min<std::size_t>(bigEndian(start.first(4)), start.size()));
    const std::string ftyp(box.begin(), box.end());
    auto type = typeOfBrand(ftyp, specificBrands);
    return type ? type : typeOfBrand(ftyp, structuralBrands);
}

} // namespace

bool ImageLimits::allow(std::int64_t width, std::int64_t height, bool buffered) const noexcept {
    if (width < 1 || height < 1 || width > std::min(maximumDimension, maximumRowPixels) ||
        height > maximumDimension) {
        return false;
    }
    return width <= (buffered ? maximumBufferedPixels : maximumPixels) / height;
}

ImageSource::ImageSource(URL url, const ImageLimits& limits) : url_(std::move(url)), limits_(limits) {}

void ImageSource::setDecodingMemory(std::int64_t bytes) {
    decodingMemory_ = bytes;
    memory_ = limits_.memoryFor(fileSize(url_));
    requireImage(decodingMemory_ <= memory_ - info_.width * bytesPerPixel);
}

ReducedFrames ImageSource::reducedFrames(std::int64_t /*width*/, std::int64_t /*height*/) const {
    return {.width = info_.width, .height = info_.height, .reader = frames()};
}

std::optional<std::string> containerType(const URL& url) {
    const Bytes prefix = readFilePrefix(url, sniffedBytes);
    const std::string start(prefix.begin(), prefix.end());
    for (const Signature& signature : signatures) {
        if (start.compare(std::min(signature.offset, start.size()), signature.bytes.size(),
                          signature.bytes) == 0) {
            return std::string(signature.type);
        }
    }
    return baseMediaType(prefix);
}

std::unique_ptr<ImageSource> ImageSource::open(const URL& url, const ImageLimits& limits) {
    const auto type = containerType(url);
    if (type == "public.png") {
        return std::make_unique<PNGSource>(url, limits);
    }
    if (type == "public.jpeg") {
        return std::make_unique<JPEGSource>(url, limits);
    }
    if (type == "com.compuserve.gif") {
        return std::make_unique<GIFSource>(url, limits);
    }
    if (type == "public.heic" || type == "public.heif") {
        return std::make_unique<HEIFSource>(url, limits);
    }
    throw CompressionError::invalidImage();
}

} // namespace tarnwick
