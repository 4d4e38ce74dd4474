#include "Foundation/WorkRegister.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/DurableDirectory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Foundation/UUID.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tarnwick {
namespace {

constexpr std::array kinds = {WorkItem::directory, WorkItem::links, WorkItem::restoredFile,
                              WorkItem::rolledBackFile};
constexpr auto longestAbsence = std::time_t{30} * 86'400;
constexpr std::size_t maximumNoteBytes = 65'536;

std::string nameOf(WorkItem kind, const UUID& id) {
    switch (kind) {
    case WorkItem::directory:
        return ".tarnwick-" + id.text();
    case WorkItem::links:
        return "tarnwick-links-" + id.text();
    case WorkItem::restoredFile:
        return ".tarnwick-restore-" + id.text();
    case WorkItem::rolledBackFile:
        break;
    }
    return "rollback." + id.text();
}

bool isFolder(WorkItem kind) {
    return kind == WorkItem::directory || kind == WorkItem::links;
}

struct stat statusOf(const FileDescriptor& file, const URL& url) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        throw FileSystemError("无法读取文件信息", url, errno);
    }
    return status;
}

bool hasName(const FileDescriptor& file, const URL& url) {
    return statusOf(file, url).st_nlink > 0;
}

FileDescriptor createLocked(const URL& note) {
    while (true) {
        FileDescriptor file = createNewFile(note, 0600);
        while (::flock(file.get(), LOCK_EX) != 0) {
            if (errno != EINTR) {
                throw FileSystemError("无法锁定文件", note, errno);
            }
        }
        // A sweep that came before the lock took the empty note for a dead process's.
        if (hasName(file, note)) {
            return file;
        }
    }
}

void write(const FileDescriptor& file, const URL& note, const URL& item) {
    // The line's end tells a whole path from a torn one.
    const std::string text = item.path() + "\n";
    writeAll(file, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, note);
    syncFile(note);
}

/// The item that a whole note tells of.
std::optional<URL> itemOf(const URL& note) {
    const Bytes bytes = readFilePrefix(note, maximumNoteBytes);
    if (bytes.size() < 2 || bytes.back() != '\n' || bytes.front() != '/') {
        return std::nullopt;
    }
    return URL::file(std::string(bytes.begin(), bytes.end() - 1));
}

/// The kind of the item, if its name is of one that the note of this name may tell of.
std::optional<WorkItem> kindOf(const URL& item, const UUID& id) {
    const std::string name = item.lastPathComponent();
    const auto* const found =
        std::find_if(kinds.begin(), kinds.end(), [&](WorkItem kind) { return nameOf(kind, id) == name; });
    return found == kinds.end() ? std::nullopt : std::optional(*found);
}

enum class Standing { ours, absent, foreign };

Standing standingOf(const URL& item, WorkItem kind) {
    struct stat status {};
    if (::lstat(item.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return Standing::absent;
        }
        throw FileSystemError("无法读取文件信息", item, errno);
    }
    const bool isOfKind = isFolder(kind) ? S_ISDIR(status.st_mode) : S_ISREG(status.st_mode);
    return isOfKind && status.st_uid == ::geteuid() ? Standing::ours : Standing::foreign;
}

/// Links in the folder are removed, never followed.
void removeItem(const URL& item, WorkItem kind) {
    if (!isFolder(kind)) {
        removeFile(item);
        return;
    }
    std::error_code error;
    std::filesystem::remove_all(item.path(), error);
    if (error) {
        throw FileSystemError("无法删除文件夹", item, error.value());
    }
}

bool isLongAbsent(const FileDescriptor& note, const URL& url) {
    return std::time(nullptr) - statusOf(note, url).st_mtim.tv_sec > longestAbsence;
}

/// The note is locked, so that its process is dead and so are the tools that it started.
void sweepItem(const FileDescriptor& lock, const URL& note, const UUID& id, WorkRegister::Sweep& sweep) {
    const std::optional<URL> item = itemOf(note);
    const std::optional<WorkItem> kind = item ? kindOf(*item, id) : std::nullopt;
    // A torn note was still being written: its item was never made.
    if (!kind) {
        removeFile(note);
        return;
    }
    const Standing standing = standingOf(*item, *kind);
    if (standing == Standing::ours) {
        removeItem(*item, *kind);
        ++sweep.removed;
    } else if (!isLongAbsent(lock, note)) {
        return;
    }
    removeFile(note);
}

void sweepNote(const URL& note, const UUID& id, WorkRegister::Sweep& sweep) {
    const FileDescriptor lock(::open(note.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!lock) {
        if (errno != ENOENT) {
            throw FileSystemError("无法打开文件", note, errno);
        }
    } else if (!tryLock(lock, note)) {
        sweep.held.push_back(itemOf(note).value_or(URL()));
    } else if (hasName(lock, note)) { // Its owner may have removed it since it was opened.
        try {
            sweepItem(lock, note, id, sweep);
        } catch (const FileSystemError& error) {
            sweep.problems.push_back(errorDescription(error));
        }
    }
}

} // namespace

WorkRegister::WorkRegister(std::optional<URL> folder)
    : folder_(folder ? std::move(*folder) : applicationSupportDirectory().appending("Tarnwick/Work")) {}

WorkRegister::Sweep WorkRegister::sweep() const {
    Sweep sweep;
    if (!itemExists(folder_)) {
        return sweep;
    }
    for (const URL& note : entries(folder_)) {
        const std::string name = note.lastPathComponent();
        const auto id = UUID::parse(name);
        if (!id || id->text() != name) {
            continue;
        }
        try {
            sweepNote(note, *id, sweep);
        } catch (const FileSystemError& error) {
            sweep.isCertain = false;
            sweep.problems.push_back(errorDescription(error));
        }
    }
    return sweep;
}

WorkNote::WorkNote(const URL& folder, WorkItem kind) {
    const URL notes = WorkRegister().folder();
    const UUID id = UUID::random();
    note_ = notes.appending(id.text());
    item_ = folder.appending(nameOf(kind, id));
    createDurably(notes);
    lock_ = createLocked(note_);
    ScopedFile unfinished(note_);
    write(lock_, note_, item_);
    unfinished.release();
}

WorkNote::~WorkNote() {
    struct stat status {};
    if (::lstat(item_.c_str(), &status) != 0 && errno == ENOENT) {
        ::unlink(note_.c_str());
    }
}

NotedFile::NotedFile(const URL& folder, WorkItem kind) {
    try {
        url_ = note_.emplace(folder, kind).item();
    } catch (const FileSystemError&) {
        url_ = folder.appending(nameOf(kind, UUID::random()));
    }
}

NotedFile::~NotedFile() {
    ::unlink(url_.c_str());
}

} // namespace tarnwick
