#pragma once

#include "Foundation/URL.h"

#include <cstdint>
#include <string>

namespace tarnwick {

/// Moves `source` over `destination` in one step, replacing what stands there. Both must be on one volume.
/// Throws CompressionError::fileOperation.
void atomicRename(const URL& source, const URL& destination);

/// Moves `source` to `destination` in one step where nothing stands there. Returns false, and changes
/// nothing, when something does. Throws CompressionError::fileOperation.
bool atomicRenameIfAbsent(const URL& source, const URL& destination);

/// Has those who watch the folder look at the file again, and changes nothing of it. Thunar takes a file that
/// was replaced out of another folder for gone until then. Nothing depends on it, so failures are not told.
void nudgeWatchers(const URL& url) noexcept;

/// The file's size in bytes. Throws FileSystemError.
std::int64_t fileSize(const URL& url);

/// The SHA-256 of the file's bytes as 64 lower-case hexadecimal digits, in constant memory. Throws
/// FileSystemError.
std::string hash(const URL& url);

} // namespace tarnwick
