#include "Engine/Original.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"

namespace tarnwick {

void requireUnchanged(const Original& original) {
    const FileVersion current = FileVersion::of(original.url);
    if (current.device != original.version.device || current.inode != original.version.inode ||
        hash(original.url) != original.hash) {
        throw CompressionError::changedDuringCompression();
    }
}

} // namespace tarnwick
