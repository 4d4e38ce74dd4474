#include "Foundation/WorkRegister.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Foundation/UUID.h"

#include <fcntl.h>
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

bool isStillLinked(const FileDescriptor& file, const URL& url) {
    return statusOf(file, url).st_nlink > 0;
}

FileDescriptor createLocked(const URL& note) {
    while (true) {
        FileDescriptor file = createNewFile(note, 0600);
        lock(file, note);
        // A sweep that ran before the lock may have removed the empty note.
        if (isStillLinked(file, note)) {
            return file;
        }
    }
}

void write(const FileDescriptor& file, const URL& note, const URL& item) {
    // The line's end tells a complete path from a truncated one.
    const std::string text = item.path() + "\n";
    writeAll(file, bytesOf(text), note);
    syncFile(file, note);
}

/// The item named in the note; none when the note is incomplete.
std::optional<URL> itemOf(const URL& note) {
    const Bytes bytes = readFilePrefix(note, maximumNoteBytes);
    if (bytes.size() < 2 || bytes.back() != '\n' || bytes.front() != '/') {
        return std::nullopt;
    }
    return URL::file(std::string(bytes.begin(), bytes.end() - 1));
}

/// The kind that the item's name stands for; none when the name does not fit the note's UUID.
std::optional<WorkItem> kindOf(const URL& item, const UUID& id) {
    const std::string name = item.lastPathComponent();
    const auto* const found =
        std::find_if(kinds.begin(), kinds.end(), [&](WorkItem kind) { return nameOf(kind, id) == name; });
    return found == kinds.end() ? std::nullopt : std::optional(*found);
}

/// Whether the item is a real folder or file of the user, and no link.
bool isOurs(const struct stat& status, WorkItem kind) {
    const bool isOfKind = isFolder(kind) ? S_ISDIR(status.st_mode) : S_ISREG(status.st_mode);
    return isOfKind && status.st_uid == ::geteuid();
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

/// The lock on the note proves that its process and the tools started by it have ended.
void sweepItem(const FileDescriptor& file, const URL& note, const UUID& id,
               WorkRegister::SweepResult& result) {
    const std::optional<URL> item = itemOf(note);
    const std::optional<WorkItem> kind = item ? kindOf(*item, id) : std::nullopt;
    // An incomplete note was still being written, so its item was never made.
    if (!kind) {
        removeFile(note);
        return;
    }
    const auto status = statusIfPresent(*item);
    if (status && isOurs(*status, *kind)) {
        removeItem(*item, *kind);
        ++result.removed;
    } else if (!isLongAbsent(file, note)) {
        return;
    }
    removeFile(note);
}

/// None when the note is gone.
FileDescriptor openNote(const URL& note) {
    FileDescriptor file(::open(note.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!file && errno != ENOENT) {
        throw FileSystemError("无法打开文件", note, errno);
    }
    return file;
}

UUID idOf(const URL& note) {
    return *UUID::parse(note.lastPathComponent());
}

void sweepNote(const URL& note, const UUID& id, WorkRegister::SweepResult& result) {
    const FileDescriptor file = openNote(note);
    if (!file) {
        return;
    }
    if (!tryLock(file, note)) {
        result.held.push_back(itemOf(note).value_or(URL()));
    } else if (isStillLinked(file, note)) { // Its owner may have removed it after it was opened here.
        try {
            sweepItem(file, note, id, result);
        } catch (const FileSystemError& error) {
            result.problems.push_back(errorDescription(error));
        }
    }
}

} // namespace

WorkRegister::WorkRegister(std::optional<URL> folder)
    : folder_(folder ? std::move(*folder) : applicationSupportDirectory().appending("Tarnwick/Work")) {}

WorkRegister::SweepResult WorkRegister::sweep() const {
    SweepResult result;
    for (const URL& note : notes()) {
        try {
            sweepNote(note, idOf(note), result);
        } catch (const FileSystemError& error) {
            result.isCertain = false;
            result.problems.push_back(errorDescription(error));
        }
    }
    return result;
}

std::vector<URL> WorkRegister::heldItems() const {
    std::vector<URL> held;
    for (const URL& note : notes()) {
        if (const FileDescriptor file = openNote(note); file && !tryLock(file, note)) {
            held.push_back(itemOf(note).value_or(URL()));
        }
    }
    return held;
}

std::vector<URL> WorkRegister::notes() const {
    std::vector<URL> found = itemExists(folder_) ? entries(folder_) : std::vector<URL>();
    std::erase_if(found, [](const URL& file) {
        const auto id = UUID::parse(file.lastPathComponent());
        return !id || id->text() != file.lastPathComponent();
    });
    return found;
}

bool hasItemIn(const URL& folder, const std::vector<URL>& items) {
    return std::any_of(items.begin(), items.end(),
                       [&](const URL& item) { return item.deletingLastPathComponent() == folder; });
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
    unfinished.commit();
}

WorkNote::~WorkNote() {
    struct stat status {};
    if (::lstat(item_.c_str(), &status) != 0 && errno == ENOENT) {
        ::unlink(note_.c_str());
    }
}

NotedFile::NotedFile(const URL& folder, WorkItem kind) : folder_(folder) {
    try {
        url_ = note_.emplace(folder, kind).item();
    } catch (const FileSystemError&) {
        url_ = folder.appending(nameOf(kind, UUID::random()));
    }
}

NotedFile::~NotedFile() {
    ::unlink(folder_.item(url_.lastPathComponent()).c_str());
}

} // namespace tarnwick
