#pragma once

#include "Foundation/URL.h"
#include "ImageIO/Bitmap.h"
#include "Inspection/ReadingQueue.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tarnwick {

/// The primary image of a file, decoded for display: upright and in sRGB. Any thread may read it; copies
/// share the pixels.
using DisplayImage = std::shared_ptr<const Bitmap>;

/// Both in the same size: the full one, unless that takes too much memory. Null pointers until they are
/// decoded.
struct ComparisonImages {
    DisplayImage original;
    DisplayImage compressed;
};

/// Decodes pictures for display. decode(), comparisonImage() and thumbnail() block the calling thread; the
/// other functions work on ReadingQueue::shared() and complete as its run() does.
class ImageRendering {
public:
    /// Runs `body` on one of the process's two picture-reading threads, and completes with its result or
    /// exception.
    template <typename Body, typename CompletionToken>
    static auto read(ReadingPriority priority, Body body, CompletionToken&& token) {
        return ReadingQueue::shared().run(priority, std::move(body), std::forward<CompletionToken>(token));
    }

    /// The picture, its longer side at most `maximumPixelSize` pixels, or at full size; never enlarged, and
    /// smaller when it would take more memory than its file may take (ImageLimits). Throws
    /// CompressionError::invalidImage for a file that is not a complete picture, or a maximum below 1.
    static DisplayImage decode(const URL& url, std::optional<std::int64_t> maximumPixelSize);
    /// The picture at full size, or as decode() limits it. Throws CompressionError::fileOperation for a URL
    /// that is no file URL, else as decode().
    static DisplayImage comparisonImage(const URL& url,
                                        std::optional<std::int64_t> maximumPixelSize = std::nullopt);
    /// Throws CompressionError::invalidImage, also for a URL that is no file URL.
    static DisplayImage thumbnail(const URL& url, std::int64_t maximumPixelSize);

    /// Reads both files at high priority and completes with ComparisonImages. Fails with
    /// CompressionError::fileOperation when a file does not have the given hash, or was changed while it was
    /// read; else as hash() and comparisonImage().
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
