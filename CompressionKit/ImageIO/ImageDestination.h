#pragma once

#include "Foundation/URL.h"
#include "ImageIO/ColorProfile.h"

#include <cstdint>
#include <memory>
#include <span>

namespace tarnwick {

/// Writes one picture as a PNG file, row by row. The file is kept by commit(), else the destructor removes
/// it. Belongs to one thread.
class ImageDestination {
public:
    /// Fast for temporary files, small for those that the user keeps.
    enum class Effort { fast, small };
    struct Options {
        std::int64_t width = 0;
        std::int64_t height = 0;
        bool hasAlpha = false;
        ColorProfile profile;
        /// Whether to state the colour space: an ICC profile, an sRGB chunk or a cICP chunk.
        bool tagsProfile = true;
        Effort effort = Effort::fast;
    };

    /// Creates or overwrites the file. Throws FileSystemError, or CompressionError::invalidImage for a size
    /// that PNG cannot hold.
    ImageDestination(const URL& url, const Options& options);
    ~ImageDestination();
    ImageDestination(const ImageDestination&) = delete;
    ImageDestination& operator=(const ImageDestination&) = delete;

    /// Appends whole rows of straight RGBA, 8 bits a component, width × 4 bytes each; alpha is dropped when
    /// the picture has none. Throws FileSystemError (a full disk), or CompressionError::invalidImage.
    void writeRows(std::span<const std::uint8_t> rows);
    /// Completes the file. All rows must have been written. Throws as writeRows().
    void commit();

private:
    class Writer;
    std::unique_ptr<Writer> writer_;
};

} // namespace tarnwick
