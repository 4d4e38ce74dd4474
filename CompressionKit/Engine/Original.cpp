#include "Engine/Original.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"

namespace tarnwick {

void requireUnchanged(const Original& original) {
    if (hash(original.url) != original.hash) {
        throw CompressionError::changedDuringCompression();
    }
}

} // namespace tarnwick
