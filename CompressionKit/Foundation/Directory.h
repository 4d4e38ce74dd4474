#pragma once

#include "Foundation/URL.h"

#include <vector>

namespace tarnwick {

/// Creates a folder and the folders above it that are missing; an existing folder is fine. New folders get
/// `mode` (less the umask). Throws FileSystemError.
void createDirectories(const URL& url, unsigned mode = 0777);

/// What stands directly in the folder, sorted by name. Throws FileSystemError.
std::vector<URL> entries(const URL& directory);

/// Whether something, of any kind, stands at `url`; a dangling link counts. Throws FileSystemError when it
/// cannot be told.
bool itemExists(const URL& url);
/// Whether a regular file, and no link to one, stands at `url`.
bool isRegularFile(const URL& url) noexcept;
/// Whether a folder, and no link to one, stands at `url`.
bool isDirectory(const URL& url) noexcept;

/// Removes a file; one that is missing is no failure. Throws FileSystemError.
void removeFile(const URL& url);

/// The folder for temporary files: $TMPDIR, else /tmp.
URL temporaryDirectory();
/// The folder for the user's application data: $XDG_DATA_HOME, else ~/.local/share.
URL applicationSupportDirectory();
/// The folder for the user's settings: $XDG_CONFIG_HOME, else ~/.config.
URL configurationDirectory();

/// A temporary file's name: what stands there at the end of the scope is removed, unless it was released.
class ScopedFile {
public:
    explicit ScopedFile(URL url);
    ScopedFile(const ScopedFile&) = delete;
    ScopedFile& operator=(const ScopedFile&) = delete;
    ~ScopedFile();

    const URL& url() const noexcept { return url_; }
    void release() noexcept { released_ = true; }

private:
    URL url_;
    bool released_ = false;
};

/// A private folder (mode 0700), made on construction and removed with all it holds at the end of the scope.
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
};

} // namespace tarnwick
