#include "Inspection/GIFFrameExport.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/Bitmap.h"
#include "ImageIO/ImageDestination.h"
#include "ImageIO/ImageSource.h"
#include "ImageIO/InvalidImage.h"

#include <memory>

namespace tarnwick {
namespace {

bool isOpaque(std::span<const std::uint8_t> rgba) {
    for (std::size_t i = 3; i < rgba.size(); i += 4) {
        if (rgba[i] != 255) {
            return false;
        }
    }
    return true;
}

std::unique_ptr<ImageDestination> createFrameFile(const URL& file, const ImageDestination::Options& options) {
    try {
        return std::make_unique<ImageDestination>(file, options);
    } catch (const FileSystemError& error) {
        if (error.isOutOfSpace()) {
            throw;
        }
        throw CompressionError::fileOperation("无法创建动图验证帧");
    }
}

/// An opaque frame is written without alpha: the scorer judges a picture with alpha twice, on two
/// backgrounds.
void writeFrame(const URL& file, std::span<const std::uint8_t> rgba, const ImageInfo& info) {
    const auto destination = createFrameFile(file, {.width = info.width,
                                                    .height = info.height,
                                                    .hasAlpha = !isOpaque(rgba),
                                                    .profile = {},
                                                    .tagsProfile = false});
    destination->writeRows(rgba);
    destination->commit();
}

} // namespace

std::vector<URL> exportGIFFrames(const URL& source, const URL& directory) {
    const auto container = unreadableAsInvalidImage([&] { return ImageSource::open(source); });
    const ImageInfo& info = container->info();
    createDirectories(directory);
    const auto frames = container->frames();
    std::vector<std::uint8_t> canvas(static_cast<std::size_t>(info.width * info.height * bytesPerPixel));
    std::vector<URL> files;
    for (std::int64_t i = 0; i < info.imageCount; ++i) {
        requireImage(frames->next());
        frames->readRows(canvas);
        files.push_back(directory.appending("frame-" + std::to_string(i) + ".png"));
        writeFrame(files.back(), canvas, info);
    }
    return files;
}

} // namespace tarnwick
