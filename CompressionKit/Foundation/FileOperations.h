#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <sys/stat.h>

#include <cstdint>
#include <optional>

/// Status, renaming and removal of single files. Unless a function says otherwise, it looks at a link itself
/// and does not follow it.
namespace tarnwick {

/// Throws FileSystemError, which names `url`.
struct stat statusOf(const FileDescriptor& file, const URL& url);
/// Throws FileSystemError, also when the item is missing.
struct stat statusOf(const URL& url);
/// None when the item is missing. Throws FileSystemError.
std::optional<struct stat> statusIfPresent(const URL& url);

/// The file's size in bytes. Throws FileSystemError.
std::int64_t fileSize(const URL& url);
/// The permission bits of the file, or `otherwise` when there is none. Follows links.
mode_t modeOfFile(const URL& url, mode_t otherwise) noexcept;
/// Whether an item of any kind exists; a dangling link counts. Throws FileSystemError when that is unknown.
bool itemExists(const URL& url);
bool isRegularFile(const URL& url) noexcept;
bool isDirectory(const URL& url) noexcept;
/// `url` with all links in its path followed; missing components stay as they are. Throws FileSystemError.
URL resolvingLinks(const URL& url);

/// Moves `source` over `destination` in one step and replaces what is there. Both must be on one volume.
/// Throws CompressionError::fileOperation.
void atomicRename(const URL& source, const URL& destination);
/// Moves `source` to `destination` in one step if `destination` is free. Returns false, and changes nothing,
/// if it is taken. Throws CompressionError::fileOperation.
bool atomicRenameIfAbsent(const URL& source, const URL& destination);
/// Makes programs that watch the folder look at the file again, without changing it: Thunar treats a file
/// that was replaced from another folder as removed until then. Nothing depends on it, so failures are
/// ignored.
void nudgeWatchers(const URL& url) noexcept;

/// Removes a file; a missing file is no error. Throws FileSystemError.
void removeFile(const URL& url);

/// The name of a file that is being made: the destructor removes the file unless commit() was called.
class ScopedFile {
public:
    explicit ScopedFile(URL url);
    ScopedFile(const ScopedFile&) = delete;
    ScopedFile& operator=(const ScopedFile&) = delete;
    ~ScopedFile();

    const URL& url() const noexcept { return url_; }
    /// Keeps the file.
    void commit() noexcept { committed_ = true; }

private:
    URL url_;
    bool committed_ = false;
};

} // namespace tarnwick
