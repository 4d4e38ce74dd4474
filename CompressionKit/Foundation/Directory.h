#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <string>
#include <vector>

namespace tarnwick {

/// Creates a folder in an existing one; an existing folder is fine. A new folder gets `mode` (less the
/// umask). For folders beside a picture: one above them that is missing was renamed. Throws FileSystemError.
void createDirectory(const URL& url, unsigned mode = 0777);
/// Creates a folder and the missing folders above it; an existing folder is fine. New folders get `mode`
/// (less the umask). Throws FileSystemError.
void createDirectories(const URL& url, unsigned mode = 0777);
/// Creates a private folder (mode 0700) and the missing folders above it, and flushes their names to the
/// disk. Every folder above the store must be created this way, because an existing folder is not flushed
/// again. Throws FileSystemError.
void createDurably(const URL& folder);
/// Returns when the folder's entries are on the disk. Throws FileSystemError.
void syncDirectory(const URL& url);

/// The items directly in the folder, sorted by name. Throws FileSystemError.
std::vector<URL> entries(const URL& directory);

/// The folder for temporary files: $TMPDIR, else /tmp.
URL temporaryDirectory();
/// The folder for the user's application data: $XDG_DATA_HOME, else ~/.local/share.
URL applicationSupportDirectory();
/// The folder for the user's settings: $XDG_CONFIG_HOME, else ~/.config.
URL configurationDirectory();

/// An existing folder, which is reached even after it, or a folder above it, was renamed.
class PinnedFolder {
public:
    /// Throws FileSystemError.
    explicit PinnedFolder(const URL& folder);

    /// A path of the item for calls of this process while this object exists; not for users.
    URL item(const std::string& name) const;

private:
    FileDescriptor folder_;
};

/// A private folder (mode 0700): the constructor creates it, the destructor removes it with its contents.
class ScopedDirectory {
public:
    /// Throws FileSystemError.
    explicit ScopedDirectory(URL url);
    ScopedDirectory(const ScopedDirectory&) = delete;
    ScopedDirectory& operator=(const ScopedDirectory&) = delete;
    ~ScopedDirectory();

    const URL& url() const noexcept { return url_; }

private:
    URL url_;
    PinnedFolder parent_;
};

} // namespace tarnwick
