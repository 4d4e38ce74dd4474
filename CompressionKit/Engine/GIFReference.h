#pragma once

#include "Engine/Original.h"
#include "Foundation/URL.h"

#include <mutex>
#include <vector>

namespace tarnwick {

/// The original GIF's frames, by which its candidates are scored. Safe from any thread.
class GIFReference {
public:
    /// `original` must outlive this object; the frames are written into `folder`.
    GIFReference(const Original& original, URL folder);

    /// The frames as PNG files "frame-0.png" and so on, made at the first call. Throws as
    /// ImageFacts::exportGIFFrames.
    std::vector<URL> frames();

private:
    const Original& original_;
    const URL folder_;
    std::mutex mutex_;
};

} // namespace tarnwick
