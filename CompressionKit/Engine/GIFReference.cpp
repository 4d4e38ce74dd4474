#include "Engine/GIFReference.h"

#include "Foundation/FileOperations.h"
#include "Inspection/GIFFrameExport.h"

#include <algorithm>
#include <string>
#include <utility>

namespace tarnwick {

GIFReference::GIFReference(const Original& original, URL folder)
    : original_(original), folder_(std::move(folder)) {}

std::vector<URL> GIFReference::frames() {
    const std::lock_guard lock(mutex_);
    std::vector<URL> expected;
    for (std::int64_t i = 0; i < original_.facts.frameCount; ++i) {
        expected.push_back(folder_.appending("frame-" + std::to_string(i) + ".png"));
    }
    const bool isComplete = std::all_of(expected.begin(), expected.end(), isRegularFile);
    return isComplete ? expected : exportWorkFrames(original_.url, folder_);
}

} // namespace tarnwick
