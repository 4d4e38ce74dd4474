#include "Inspection/ImageFacts.h"

#include "Foundation/CompressionError.h"
#include "ImageIO/ImageSource.h"
#include "ImageIO/InvalidImage.h"
#include "Inspection/JPEGMetadata.h"
#include "Inspection/PixelBands.h"

#include <algorithm>
#include <cmath>

namespace tarnwick {
namespace {

constexpr double delayTolerance = 0.000001;
/// Delays are hundredths of a second held as binary fractions: rounding may take their difference above the
/// tolerance.
constexpr double delayRounding = 1e-12;
constexpr std::string_view sRGB = "srgb";
constexpr std::string_view displayP3 = "display-p3";

/// Reads every pixel of the first image, which proves that the file is whole.
void decodeFirstImage(const ImageSource& source) {
    const auto frames = source.frames();
    requireImage(frames->next());
    for (BandWalk walk(source.info().width, source.info().height); walk.next();) {
        frames->readRows(walk.buffer());
    }
}

std::string normalizedProfileName(const std::string& name) {
    const KnownSpace space = spaceNamed(name);
    if (space == KnownSpace::other) {
        return name;
    }
    return std::string(space == KnownSpace::sRGB ? sRGB : displayP3);
}

bool profilesCompatible(const ImageFacts& reference, const ImageFacts& candidate, bool allowSRGBConversion) {
    if (!reference.profileName || !candidate.profileName) {
        return !reference.profileName && !candidate.profileName;
    }
    const std::string from = normalizedProfileName(*reference.profileName);
    const std::string to = normalizedProfileName(*candidate.profileName);
    const bool isAllowedConversion =
        allowSRGBConversion && reference.kind == ImageKind::png && from == displayP3 && to == sRGB;
    return from == to || isAllowedConversion;
}

bool timingsCompatible(const ImageFacts& reference, const ImageFacts& candidate) {
    return reference.gifLoopCount == candidate.gifLoopCount &&
           std::equal(reference.gifFrameDelays.begin(), reference.gifFrameDelays.end(),
                      candidate.gifFrameDelays.begin(), candidate.gifFrameDelays.end(),
                      [](double a, double b) { return std::abs(a - b) <= delayTolerance + delayRounding; });
}

/// Opens the container and decodes its first image.
ImageInfo decodedInfo(const URL& url, ImageKind kind) {
    return unreadableAsInvalidImage([&] {
        const auto type = containerType(url);
        requireImage(type.has_value());
        if (!kind.accepts(*type)) {
            throw CompressionError::formatMismatch();
        }
        const auto source = ImageSource::open(url);
        decodeFirstImage(*source);
        return source->info();
    });
}

} // namespace

ImageFacts ImageFacts::inspect(const URL& url) {
    const auto kind = ImageKind::from(url);
    requireImage(kind.has_value());
    const ImageInfo info = decodedInfo(url, *kind);
    return {.kind = *kind,
            .width = info.width,
            .height = info.height,
            .frameCount = info.imageCount,
            .hasAlpha = info.hasAlpha,
            .profileName = info.profile.name(),
            .orientation = info.orientation.value_or(1),
            .hasJPEGMultiPictureData = *kind == ImageKind::jpeg && JPEGMetadata::hasMultiplePictures(url),
            .gifLoopCount = info.loopCount,
            .gifFrameDelays = *kind == ImageKind::gif ? info.frameDelays : std::vector<double>()};
}

bool ImageFacts::compatible(const ImageFacts& other, bool allowSRGBConversion) const {
    if (kind != other.kind || width != other.width || height != other.height ||
        frameCount != other.frameCount) {
        return false;
    }
    if (kind == ImageKind::gif) {
        return timingsCompatible(*this, other);
    }
    return profilesCompatible(*this, other, allowSRGBConversion) && orientation == other.orientation;
}

} // namespace tarnwick
