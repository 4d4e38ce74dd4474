#pragma once

#include "Engine/Original.h"
#include "Foundation/URL.h"

#include <mutex>
#include <vector>

namespace tarnwick {

/// The frames of the original GIF, the reference for scoring its candidates. Thread-safe.
class GIFReference {
public:
    /// `original` must outlive this object; the frames are written into `folder`.
    GIFReference(const Original& original, URL folder);

    /// The frames as PNG files "frame-0.png" and so on, written by the first call. Throws what
    /// exportWorkFrames() throws.
    std::vector<URL> frames();

private:
    const Original& original_;
    const URL folder_;
    std::mutex mutex_;
};

} // namespace tarnwick
