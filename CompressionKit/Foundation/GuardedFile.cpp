#include "Foundation/GuardedFile.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Foundation/UUID.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <utility>

namespace tarnwick {
namespace {

URL temporaryBeside(const URL& url, const char* prefix) {
    return url.deletingLastPathComponent().appending(prefix + UUID::random().text());
}

GuardedFile guarded(const URL& url, const std::string& expected) {
    return {url, temporaryBeside(url, ".tarnwick-exchange-"),
            [expected](const URL& file) { return readIfPresent(file) == expected; }};
}

} // namespace

bool atomicExchange(const URL& a, const URL& b) {
    if (::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0) {
        return true;
    }
    if (errno == EINVAL || errno == ENOSYS || errno == ENOTSUP || errno == ENOENT) {
        return false;
    }
    throw CompressionError::fileOperation("替换文件失败：" + systemErrorText(errno));
}

bool replaceText(const URL& url, const std::optional<std::string>& expected, const std::string& text,
                 mode_t mode) {
    const ScopedFile source(temporaryBeside(url, ".tarnwick-text-"));
    writeFileAtomically(source.url(), bytesOf(text), mode);
    return expected ? guarded(url, *expected).replace(source.url(), hash(source.url()))
                    : atomicRenameIfAbsent(source.url(), url);
}

bool removeText(const URL& url, const std::string& expected) {
    return guarded(url, expected).remove();
}

GuardedFile::GuardedFile(const URL& file, const URL& slot, Expectation isExpected)
    : folder_(file.deletingLastPathComponent()), file_(folder_.item(file.lastPathComponent())),
      slot_(folder_.item(slot.lastPathComponent())), isExpected_(std::move(isExpected)) {}

bool GuardedFile::replace(const URL& source, const std::string& sourceHash) const {
    if (!isExpectedAt(file_)) {
        return false;
    }
    moveToSlot(source);
    ScopedFile slot(slot_);
    syncFile(slot_);
    if (hash(slot_) != sourceHash) {
        throw CompressionError::validationFailed();
    }
    if (atomicExchange(slot_, file_)) {
        if (!isExpectedAt(slot_)) {
            slot.commit();
            putBack(sourceHash);
            return false;
        }
    } else if (isExpectedAt(file_)) {
        atomicRename(slot_, file_);
    } else {
        return false;
    }
    syncDirectory(file_.deletingLastPathComponent());
    return true;
}

bool GuardedFile::remove() const {
    if (!isExpectedAt(file_)) {
        return false;
    }
    moveToSlot(file_);
    if (isExpectedAt(slot_)) {
        removeFile(slot_);
        return true;
    }
    atomicRenameIfAbsent(slot_, file_);
    return false;
}

bool GuardedFile::isExpectedAt(const URL& url) const noexcept {
    try {
        return isExpected_(url);
    } catch (const std::exception&) {
        return false;
    }
}

void GuardedFile::moveToSlot(const URL& source) const {
    if (!atomicRenameIfAbsent(source, slot_)) {
        throw FileSystemError("无法创建文件", slot_, EEXIST);
    }
}

void GuardedFile::putBack(const std::string& sourceHash) const {
    if (!atomicExchange(slot_, file_)) {
        // Another program removed the file meanwhile.
        atomicRenameIfAbsent(slot_, file_);
        return;
    }
    // What another program wrote between the two exchanges is newer than the displaced file.
    if (hash(slot_) == sourceHash || atomicExchange(slot_, file_)) {
        removeFile(slot_);
    }
}

} // namespace tarnwick
