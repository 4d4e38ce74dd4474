#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarnwick {

using Bytes = std::vector<std::uint8_t>;

/// The whole file. Throws FileSystemError; the code is EFBIG for a file larger than `maximumBytes`.
Bytes readFile(const URL& url, std::size_t maximumBytes);
/// At most the first `maximumBytes` bytes. Throws FileSystemError.
Bytes readFilePrefix(const URL& url, std::size_t maximumBytes);
/// A configuration file of at most 4 MiB; none when it is missing. Throws FileSystemError, also for a
/// dangling link.
std::optional<std::string> readIfPresent(const URL& url);

/// The SHA-256 of the file's bytes as 64 lower-case hexadecimal digits, in constant memory. Throws
/// FileSystemError.
std::string hash(const URL& url);

/// Creates or overwrites a file, not atomically. Throws FileSystemError.
void writeFile(const URL& url, std::span<const std::uint8_t> bytes);
/// Replaces the file at `url`, or a link there, by a file of these bytes in one step: readers, and the disk
/// after a power cut, have the old file or the whole new one. Throws FileSystemError or CompressionError.
void writeFileAtomically(const URL& url, std::span<const std::uint8_t> bytes, mode_t mode = 0600);
/// Like writeFileAtomically(), with mode 0600, but only where there is a file: otherwise it returns false and
/// leaves nothing.
bool rewriteFileAtomically(const URL& url, std::span<const std::uint8_t> bytes);
/// Whether `url` is the temporary file of one of these two functions that did not finish (yet).
bool isUnfinishedWrite(const URL& url);

/// Writes all of `bytes`; `url` only names the file in an error. Throws FileSystemError.
void writeAll(const FileDescriptor& file, std::span<const std::uint8_t> bytes, const URL& url);
/// Returns when the file's bytes and attributes are on the disk. Throws FileSystemError.
void syncFile(const URL& url);
/// The same for an open file; `url` only names it in an error.
void syncFile(const FileDescriptor& file, const URL& url);

} // namespace tarnwick
