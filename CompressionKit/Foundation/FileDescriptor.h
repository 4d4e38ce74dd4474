#pragma once

#include "Foundation/URL.h"

#include <sys/types.h>

namespace tarnwick {

/// Owns an open file descriptor and closes it.
class FileDescriptor {
public:
    FileDescriptor() noexcept = default;
    explicit FileDescriptor(int descriptor) noexcept : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    int get() const noexcept { return descriptor_; }
    explicit operator bool() const noexcept { return descriptor_ >= 0; }
    /// Returns the descriptor, which the caller must close.
    int release() noexcept;
    void reset() noexcept;

private:
    int descriptor_ = -1;
};

/// Opens a file, close-on-exec. Throws FileSystemError.
FileDescriptor openForReading(const URL& url);
/// Creates a file for reading and writing, close-on-exec; fails if it exists. Throws FileSystemError.
FileDescriptor createNewFile(const URL& url, mode_t mode);

} // namespace tarnwick
