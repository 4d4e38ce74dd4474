#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

namespace tarnwick {

/// The file's bytes, none when there is no file. Throws FileSystemError, also for a link to nothing and for a
/// file larger than any that belongs in these places.
std::optional<std::string> readIfPresent(const URL& url);

/// Puts a file of these bytes at `url` in one step, with `mode`; its folder must exist. A link stays, and
/// what it leads to is replaced. Throws FileSystemError or CompressionError.
void replaceFile(const URL& url, std::string_view contents, mode_t mode);

/// The mode of the file, or `otherwise` where there is none.
mode_t modeOfFile(const URL& url, mode_t otherwise);

/// Keeps other processes of the user out of `folder` as far as they ask, until it goes. It is the folder that
/// is locked, so nothing is left behind.
class FolderLock {
public:
    /// Makes the folder where it is missing, and waits for its turn. Throws FileSystemError.
    explicit FolderLock(const URL& folder);

private:
    FileDescriptor folder_;
};

} // namespace tarnwick
