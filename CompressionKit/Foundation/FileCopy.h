#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// Copies the bytes (shared with the source where the file system supports it) and attributes of a file to a
/// free name, and flushes the copy to the disk. After a failure, no copy is left. Throws FileSystemError.
void copyFile(const URL& source, const URL& destination);

/// Gives `destination` the mode, owner and group where permitted, access and modification times, access
/// control list and user extended attributes of `source`. Attributes that the file system or the user's
/// rights do not allow are left out. Throws FileSystemError.
void copyFileAttributes(const URL& source, const URL& destination);

} // namespace tarnwick
