#pragma once

#include "Foundation/URL.h"
#include "ImageIO/BitmapContext.h"
#include "Inspection/ReadingQueue.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tarnwick {

/// A picture decoded for display: its primary image, turned as it is to be shown, in sRGB. Any thread may
/// read it, and passing it on copies no pixel.
using DisplayImage = std::shared_ptr<const Bitmap>;

/// Both at full size. Two null pointers until it is filled.
struct ComparisonImages {
    DisplayImage original;
    DisplayImage compressed;
};

/// Decodes pictures for display. decode(), comparisonImage() and thumbnail() block the calling thread; the
/// other functions work on ReadingQueue::shared() and complete as its run() does.
class ImageRendering {
public:
    /// Runs `body` on one of the two threads of the process that read pictures, and completes with what it
    /// returns or throws.
    template <typename Body, typename CompletionToken>
    static auto read(ReadingPriority priority, Body body, CompletionToken&& token) {
        return ReadingQueue::shared().run(priority, std::move(body), std::forward<CompletionToken>(token));
    }

    /// The picture, its longer side at most `maximumPixelSize` pixels, or at full size; never enlarged.
    /// Throws CompressionError::invalidImage for whatever is no whole picture, or a maximum below 1.
    static DisplayImage decode(const URL& url, std::optional<std::int64_t> maximumPixelSize);
    /// The picture at full size. Throws CompressionError::fileOperation for a location that is no file, else
    /// as decode().
    static DisplayImage comparisonImage(const URL& url);
    /// Throws CompressionError::invalidImage, also for a location that is no file.
    static DisplayImage thumbnail(const URL& url, std::int64_t maximumPixelSize);

    /// Reads both files at high priority and completes with ComparisonImages. Fails with
    /// CompressionError::fileOperation when a file has another hash than the one given, or was changed while
    /// it was read; with what hash() throws; else as comparisonImage().
    template <typename CompletionToken>
    static auto comparisonImages(const URL& original, const URL& compressed,
                                 std::optional<std::string> originalHash,
                                 std::optional<std::string> replacementHash, CompletionToken&& token) {
        auto body = [original, compressed, originalHash = std::move(originalHash),
                     replacementHash = std::move(replacementHash)] {
            return readBoth(original, compressed, originalHash, replacementHash);
        };
        return read(ReadingPriority::high, std::move(body), std::forward<CompletionToken>(token));
    }

private:
    static ComparisonImages readBoth(const URL& original, const URL& compressed,
                                     const std::optional<std::string>& originalHash,
                                     const std::optional<std::string>& replacementHash);
};

} // namespace tarnwick
