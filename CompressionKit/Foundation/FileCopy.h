#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// Copies a file to a name where nothing stands yet: bytes (shared with the source where the file system can)
/// and attributes, durably. On failure no file is left there. Throws FileSystemError.
void copyFile(const URL& source, const URL& destination);

/// Gives `destination` the mode, owner and group where permitted, access and modification times, access
/// control list and user extended attributes of `source`. What the file system or the user's rights cannot
/// carry is left out. Throws FileSystemError.
void copyFileAttributes(const URL& source, const URL& destination);

} // namespace tarnwick
