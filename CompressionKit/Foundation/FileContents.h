#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarnwick {

using Bytes = std::vector<std::uint8_t>;

/// The whole file. Throws FileSystemError; a file larger than `maximumBytes` is refused as EFBIG.
Bytes readFile(const URL& url, std::size_t maximumBytes);
/// At most the first `maximumBytes` bytes. Throws FileSystemError.
Bytes readFilePrefix(const URL& url, std::size_t maximumBytes);

/// Creates or overwrites a file, not atomically. Throws FileSystemError.
void writeFile(const URL& url, std::span<const std::uint8_t> bytes);
/// Puts a file of these bytes at `url` in one step: readers, and the disk after a power cut, have the old
/// file or the new one whole. Throws FileSystemError or CompressionError.
void writeFileAtomically(const URL& url, std::span<const std::uint8_t> bytes);

/// Writes all of `bytes`; `url` only names the file in an error. Throws FileSystemError.
void writeAll(const FileDescriptor& file, std::span<const std::uint8_t> bytes, const URL& url);

/// Returns when the file's bytes and attributes are on the disk. Throws FileSystemError.
void syncFile(const URL& url);
/// Returns when the folder's entries are on the disk. Throws FileSystemError.
void syncDirectory(const URL& url);

} // namespace tarnwick
