#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// Creates a private folder (mode 0700) and the folders above it that are missing; their names outlast a
/// power cut as surely as what they will hold. Whoever creates a folder that the store lies in does it so:
/// the store takes one that is there for one that lasts. Throws FileSystemError.
void createDurably(const URL& folder);

} // namespace tarnwick
