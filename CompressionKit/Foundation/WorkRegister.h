#pragma once

#include "Foundation/Directory.h"
#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// The kinds of temporary items beside a picture or in the temporary folder; the name is the kind's prefix
/// and a UUID.
enum class WorkItem {
    /// The folder ".tarnwick-<UUID>" of a compression.
    directory,
    /// The folder "tarnwick-links-<UUID>" with links through which tools reach a picture.
    links,
    /// The file ".tarnwick-restore-<UUID>", renamed to the restored original.
    restoredFile,
    /// The file "rollback.<UUID>", renamed to the original when a replacement fails.
    rolledBackFile,
};

/// The list of the user's work items that still exist. Each has a note: a file named by the item's UUID that
/// contains the item's path. The note is locked (flock) from before the item is made until it is removed, so
/// a note that can be locked belongs to a process that died.
class WorkRegister {
public:
    /// `folder` is created when first needed; the default is "Tarnwick/Work" in the user's application data.
    explicit WorkRegister(std::optional<URL> folder = std::nullopt);

    const URL& folder() const noexcept { return folder_; }

    struct SweepResult {
        /// The number of items removed.
        int removed = 0;
        /// Items of live processes; an empty location where the note is not complete yet.
        std::vector<URL> held;
        /// False when it is unknown for some note whether it is held.
        bool isCertain = true;
        /// Texts about items that could not be removed.
        std::vector<std::string> problems;
    };
    /// Removes the items of dead processes, and their notes. The note of a missing item is kept for thirty
    /// days, because its disk may be missing too. Only one sweep may run at a time. Throws FileSystemError
    /// when the folder cannot be read.
    SweepResult sweep() const;
    /// Whether there is no note at all. Throws FileSystemError.
    bool isEmpty() const { return notes().empty(); }
    /// The items of live processes. Throws FileSystemError when it is unknown for some note whether it is
    /// held.
    std::vector<URL> heldItems() const;

private:
    std::vector<URL> notes() const;

    URL folder_;
};

/// Whether one of the items is directly in `folder`.
bool hasItemIn(const URL& folder, const std::vector<URL>& items);

/// The note of one work item, in the user's own register.
class WorkNote {
public:
    /// Writes the note before an item of this kind is made in `folder`. Throws FileSystemError.
    WorkNote(const URL& folder, WorkItem kind);
    WorkNote(const WorkNote&) = delete;
    WorkNote& operator=(const WorkNote&) = delete;
    /// Removes the note unless the item still exists.
    ~WorkNote();

    /// The location of the item, which the caller makes and removes.
    const URL& item() const noexcept { return item_; }
    /// The item counts as held while this descriptor, or a copy in a child process, is open.
    const FileDescriptor& lock() const noexcept { return lock_; }

private:
    URL note_;
    URL item_;
    FileDescriptor lock_;
};

/// The name of a temporary file beside a picture, which the destructor removes. The file has a note where one
/// can be written: a full or read-only disk elsewhere must not prevent the return of an original.
class NotedFile {
public:
    /// Throws FileSystemError when the folder is missing.
    NotedFile(const URL& folder, WorkItem kind);
    NotedFile(const NotedFile&) = delete;
    NotedFile& operator=(const NotedFile&) = delete;
    ~NotedFile();

    const URL& url() const noexcept { return url_; }

private:
    std::optional<WorkNote> note_;
    URL url_;
    PinnedFolder folder_;
};

} // namespace tarnwick
