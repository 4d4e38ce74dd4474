#include "Inspection/GIFFrameExport.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/Bitmap.h"
#include "ImageIO/ImageDestination.h"
#include "ImageIO/ImageSource.h"
#include "ImageIO/InvalidImage.h"
#include "Inspection/PixelBands.h"

#include <memory>

namespace tarnwick {
namespace {

/// Reads the reader's current frame up to the first pixel that is not opaque.
bool isOpaque(FrameReader& frame, const ImageInfo& info) {
    for (BandWalk walk(info.width, info.height); walk.next();) {
        const auto rows = walk.buffer();
        frame.readRows(rows);
        for (std::size_t i = 3; i < rows.size(); i += bytesPerPixel) {
            if (rows[i] != 255) {
                return false;
            }
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
void writeFrame(const URL& file, FrameReader& frame, const ImageInfo& info, bool hasAlpha) {
    const auto destination = createFrameFile(file, {.width = info.width,
                                                    .height = info.height,
                                                    .hasAlpha = hasAlpha,
                                                    .profile = {},
                                                    .tagsProfile = false});
    for (BandWalk walk(info.width, info.height); walk.next();) {
        frame.readRows(walk.buffer());
        destination->writeRows(walk.buffer());
    }
    destination->commit();
}

std::vector<URL> exportFrames(const URL& source, const URL& directory,
                              void (*create)(const URL& url, unsigned mode)) {
    const auto container = unreadableAsInvalidImage([&] { return ImageSource::open(source); });
    const ImageInfo& info = container->info();
    create(directory, 0777);
    // Two passes side by side take less memory than a frame's whole canvas.
    const auto seen = container->frames();
    const auto written = container->frames();
    std::vector<URL> files;
    for (std::int64_t i = 0; i < info.imageCount; ++i) {
        requireImage(seen->next() && written->next());
        files.push_back(directory.appending("frame-" + std::to_string(i) + ".png"));
        writeFrame(files.back(), *written, info, !isOpaque(*seen, info));
    }
    return files;
}

} // namespace

std::vector<URL> exportGIFFrames(const URL& source, const URL& directory) {
    return exportFrames(source, directory, createDirectories);
}

std::vector<URL> exportWorkFrames(const URL& source, const URL& directory) {
    return exportFrames(source, directory, createDirectory);
}

} // namespace tarnwick
