#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// What stands for a while beside a picture or in the temporary folder; its name is the kind's prefix and a
/// UUID.
enum class WorkItem {
    /// The folder ".tarnwick-<UUID>" of a compression.
    directory,
    /// The folder "tarnwick-links-<UUID>" by which tools reach a picture.
    links,
    /// The file ".tarnwick-restore-<UUID>" that is about to become the restored original.
    restoredFile,
    /// The file "rollback.<UUID>" by which a failed replacement is undone.
    rolledBackFile,
};

/// The list of the user's work items that have not been removed yet, wherever they stand: a file a note,
/// named by the item's UUID, which holds the item's path. A note is locked (flock) before its item is made
/// and until it is gone, so that a note that can be locked is of a process that died.
class WorkRegister {
public:
    /// `folder` is created when first needed; the default is "Tarnwick/Work" in the user's application data.
    explicit WorkRegister(std::optional<URL> folder = std::nullopt);

    const URL& folder() const noexcept { return folder_; }

    struct Sweep {
        /// How many items were removed.
        int removed = 0;
        /// Items that a process still works on; an empty location for one whose note is not complete yet.
        std::vector<URL> held;
        /// Whether each note told if it is held.
        bool isCertain = true;
        /// What could not be removed, and why.
        std::vector<std::string> problems;
    };
    /// Removes the items that no process works on, and their notes. The note of an item that is not there is
    /// kept for thirty days, as its disk may not be there either. One sweep at a time. Throws FileSystemError
    /// when the folder cannot be read.
    Sweep sweep() const;

private:
    URL folder_;
};

/// The note of one work item, in the user's own register.
class WorkNote {
public:
    /// Notes that an item of this kind is about to be made in `folder`. Throws FileSystemError.
    WorkNote(const URL& folder, WorkItem kind);
    WorkNote(const WorkNote&) = delete;
    WorkNote& operator=(const WorkNote&) = delete;
    /// Removes the note, unless the item is still there.
    ~WorkNote();

    /// Where the item is to stand. It is its user's to make and to remove.
    const URL& item() const noexcept { return item_; }
    /// Holds the item for as long as this, or a copy of it that a child process has, is open.
    const FileDescriptor& lock() const noexcept { return lock_; }

private:
    URL note_;
    URL item_;
    FileDescriptor lock_;
};

/// The name of a temporary file beside a picture: what stands there at the end of the scope is removed. It is
/// noted down where that is possible; a full or read-only disk elsewhere must not keep an original from being
/// put back.
class NotedFile {
public:
    NotedFile(const URL& folder, WorkItem kind);
    NotedFile(const NotedFile&) = delete;
    NotedFile& operator=(const NotedFile&) = delete;
    ~NotedFile();

    const URL& url() const noexcept { return url_; }

private:
    std::optional<WorkNote> note_;
    URL url_;
};

} // namespace tarnwick
