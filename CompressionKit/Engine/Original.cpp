#include "Engine/Original.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"

namespace tarnwick {

bool isUnchanged(const Original& original, const URL& url) {
    const FileVersion current = FileVersion::of(url);
    return current.device == original.version.device && current.inode == original.version.inode &&
           hash(url) == original.hash;
}

void requireUnchanged(const Original& original) {
    if (!isUnchanged(original, original.url)) {
        throw CompressionError::changedDuringCompression();
    }
}

} // namespace tarnwick
