#include "Foundation/FileCopy.h"

#include "Foundation/FileContents.h"
#include "Foundation/FileDescriptor.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"

#include <acl/libacl.h>
#include <attr/error_context.h>
#include <attr/libattr.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

namespace tarnwick {
namespace {

constexpr std::size_t copyStepBytes = 1U << 20U;

/// libattr prints to standard error by default; the error code is enough here.
void ignoreReport(error_context* /*context*/, const char* /*format*/, ...) {}
const char* plainName(error_context* /*context*/, const char* name) {
    return name;
}
void freeName(error_context* /*context*/, const char* /*name*/) {}
error_context silentContext = {ignoreReport, plainName, freeName};

int isUserAttribute(const char* name, error_context* /*context*/) {
    return std::strncmp(name, "user.", 5) == 0 ? 1 : 0;
}

/// Whether the file system or the user's rights do not allow the attribute, or it is too large.
bool isRefusal(int code) {
    constexpr std::array refusals = {ENOTSUP, EPERM, EACCES, ENOSYS, EINVAL, E2BIG, ENOSPC, ERANGE, EDQUOT};
    return std::find(refusals.begin(), refusals.end(), code) != refusals.end();
}

void requireUnlessRefused(int result, const URL& url) {
    if (result != 0 && !isRefusal(errno)) {
        throw FileSystemError("无法设置文件属性", url, errno);
    }
}

void copyByReading(const FileDescriptor& in, const URL& source, const FileDescriptor& out,
                   const URL& destination) {
    std::vector<std::uint8_t> step(copyStepBytes);
    while (true) {
        const ssize_t count = ::read(in.get(), step.data(), step.size());
        if (count == 0) {
            return;
        }
        if (count > 0) {
            writeAll(out, std::span(step).first(static_cast<std::size_t>(count)), destination);
        } else if (errno != EINTR) {
            throw FileSystemError("无法读取文件", source, errno);
        }
    }
}

void copyBytes(const FileDescriptor& in, const URL& source, const FileDescriptor& out,
               const URL& destination) {
    while (true) {
        const ssize_t count = ::copy_file_range(in.get(), nullptr, out.get(), nullptr, copyStepBytes * 64, 0);
        if (count > 0) {
            continue;
        }
        if (count < 0 && (errno == ENOSPC || errno == EDQUOT)) {
            throw FileSystemError("无法写入文件", destination, errno);
        }
        // The end of the file, or a pair of file systems without this call: reading continues at the offset.
        copyByReading(in, source, out, destination);
        return;
    }
}

} // namespace

void copyFileAttributes(const URL& source, const URL& destination) {
    const struct stat status = statusOf(openForReading(source), source);
    const char* to = destination.c_str();
    if (::lchown(to, status.st_uid, status.st_gid) != 0) {
        requireUnlessRefused(::lchown(to, static_cast<uid_t>(-1), status.st_gid), destination);
    }
    requireUnlessRefused(::perm_copy_file(source.c_str(), to, &silentContext), destination);
    requireUnlessRefused(::attr_copy_file(source.c_str(), to, isUserAttribute, &silentContext), destination);
    const std::array<timespec, 2> times = {status.st_atim, status.st_mtim};
    requireUnlessRefused(::utimensat(AT_FDCWD, to, times.data(), AT_SYMLINK_NOFOLLOW), destination);
}

void copyFile(const URL& source, const URL& destination) {
    const FileDescriptor in = openForReading(source);
    // Private until the attributes are copied.
    const FileDescriptor out = createNewFile(destination, 0600);
    ScopedFile unfinished(destination);
    copyBytes(in, source, out, destination);
    if (statusOf(out, destination).st_size != statusOf(in, source).st_size) {
        throw FileSystemError("无法写入文件", destination, EIO);
    }
    copyFileAttributes(source, destination);
    syncFile(out, destination);
    unfinished.commit();
}

} // namespace tarnwick
