// Programs that link this are linked with --wrap for each call below, which sends the library's calls here.

#include "Support/SystemCalls.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <system_error>

namespace tarnwick::test {
namespace {

std::atomic<SystemCallObserver*> current = nullptr;
std::mutex oneAtATime;
thread_local bool isObserving = false;

class Observing {
public:
    Observing() { isObserving = true; }
    ~Observing() { isObserving = false; }
    Observing(const Observing&) = delete;
    Observing& operator=(const Observing&) = delete;
};

std::string pathOf(int descriptor) {
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
    return {path.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

/// `fail` makes the call's failure of an errno value, `succeeded` reads its result.
template <typename CarryOut, typename Fail, typename Succeeded>
auto observed(const SystemCall& call, CarryOut carryOut, Fail fail, Succeeded succeeded) {
    SystemCallObserver* const observer = current;
    if (observer == nullptr || isObserving) {
        return carryOut();
    }
    const Observing guard;
    const std::lock_guard lock(oneAtATime);
    if (const int code = observer->before(call); code != 0) {
        return fail(code);
    }
    const auto result = carryOut();
    const int code = errno;
    observer->after(call, succeeded(result));
    errno = code;
    return result;
}

/// For the many calls that return -1 and set errno.
template <typename CarryOut>
auto observed(const SystemCall& call, CarryOut carryOut) {
    using Result = decltype(carryOut());
    return observed(
        call, carryOut,
        [](int code) {
            errno = code;
            return static_cast<Result>(-1);
        },
        [](Result result) { return result >= 0; });
}

} // namespace

Observation::Observation(SystemCallObserver& observer) {
    if (current.exchange(&observer) != nullptr) {
        throw std::logic_error("two observers");
    }
}

Observation::~Observation() {
    current = nullptr;
}

} // namespace tarnwick::test

using tarnwick::test::observed;
using tarnwick::test::pathOf;

struct error_context;
namespace fs = std::filesystem;

namespace {

int observedOpen(int (*open)(const char*, int, ...), const char* path, int flags, mode_t mode) {
    constexpr int changing = O_CREAT | O_TRUNC | O_WRONLY | O_RDWR;
    const auto carryOut = [&] { return open(path, flags, mode); };
    return (flags & changing) == 0 ? carryOut() : observed({"open", path, ""}, carryOut);
}

mode_t modeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

#define REMOVE_ALL _ZNSt10filesystem10remove_allERKNS_7__cxx114pathERSt10error_code
#define JOINED(a, b) a##b
#define NAMED(prefix, name) JOINED(prefix, name)

// The linker gives these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_open64(const char* path, int flags, ...);
ssize_t __real_write(int file, const void* bytes, size_t count);
ssize_t __real_copy_file_range(int in, loff_t* inAt, int out, loff_t* outAt, size_t count, unsigned flags);
int __real_fsync(int file);
int __real_fchmod(int file, mode_t mode);
int __real_rename(const char* from, const char* to);
int __real_renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags);
int __real_link(const char* from, const char* to);
int __real_symlink(const char* target, const char* path);
void __real_sync();
int __real_unlink(const char* path);
int __real_rmdir(const char* path);
int __real_mkdir(const char* path, mode_t mode);
int __real_lchown(const char* path, uid_t owner, gid_t group);
int __real_utimensat(int folder, const char* path, const timespec* times, int flags);
int __real_perm_copy_file(const char* from, const char* to, error_context* context);
int __real_attr_copy_file(const char* from, const char* to, int (*check)(const char*, error_context*),
                          error_context* context);
int __real_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment);
std::uintmax_t NAMED(__real_, REMOVE_ALL)(const fs::path& path, std::error_code& error);

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return observedOpen(__real_open, path, flags, mode);
}

int __wrap_open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return observedOpen(__real_open64, path, flags, mode);
}

ssize_t __wrap_write(int file, const void* bytes, size_t count) {
    return observed({"write", pathOf(file), ""}, [&] { return __real_write(file, bytes, count); });
}

ssize_t __wrap_copy_file_range(int in, loff_t* inAt, int out, loff_t* outAt, size_t count, unsigned flags) {
    return observed({"copy_file_range", pathOf(in), pathOf(out)},
                    [&] { return __real_copy_file_range(in, inAt, out, outAt, count, flags); });
}

int __wrap_fsync(int file) {
    return observed({"fsync", pathOf(file), ""}, [&] { return __real_fsync(file); });
}

int __wrap_fchmod(int file, mode_t mode) {
    return observed({"fchmod", pathOf(file), ""}, [&] { return __real_fchmod(file, mode); });
}

int __wrap_rename(const char* from, const char* to) {
    return observed({"rename", from, to}, [&] { return __real_rename(from, to); });
}

int __wrap_renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    return observed({"renameat2", from, to},
                    [&] { return __real_renameat2(fromFolder, from, toFolder, to, flags); });
}

int __wrap_link(const char* from, const char* to) {
    return observed({"link", from, to}, [&] { return __real_link(from, to); });
}

int __wrap_symlink(const char* target, const char* path) {
    return observed({"symlink", target, path}, [&] { return __real_symlink(target, path); });
}

void __wrap_sync() {
    observed({"sync", "", ""}, [&] {
        __real_sync();
        return 0;
    });
}

int __wrap_unlink(const char* path) {
    return observed({"unlink", path, ""}, [&] { return __real_unlink(path); });
}

int __wrap_rmdir(const char* path) {
    return observed({"rmdir", path, ""}, [&] { return __real_rmdir(path); });
}

int __wrap_mkdir(const char* path, mode_t mode) {
    return observed({"mkdir", path, ""}, [&] { return __real_mkdir(path, mode); });
}

int __wrap_lchown(const char* path, uid_t owner, gid_t group) {
    return observed({"lchown", path, ""}, [&] { return __real_lchown(path, owner, group); });
}

int __wrap_utimensat(int folder, const char* path, const timespec* times, int flags) {
    return observed({"utimensat", path, ""}, [&] { return __real_utimensat(folder, path, times, flags); });
}

int __wrap_perm_copy_file(const char* from, const char* to, error_context* context) {
    return observed({"perm_copy_file", from, to}, [&] { return __real_perm_copy_file(from, to, context); });
}

int __wrap_attr_copy_file(const char* from, const char* to, int (*check)(const char*, error_context*),
                          error_context* context) {
    return observed({"attr_copy_file", from, to},
                    [&] { return __real_attr_copy_file(from, to, check, context); });
}

int __wrap_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments,
                       char* const* environment) {
    return observed(
        {"posix_spawn", path, ""},
        [&] { return __real_posix_spawn(pid, path, actions, attributes, arguments, environment); },
        [](int code) { return code; }, [](int result) { return result == 0; });
}

std::uintmax_t NAMED(__wrap_, REMOVE_ALL)(const fs::path& path, std::error_code& error) {
    return observed(
        {"remove_all", path.native(), ""}, [&] { return NAMED(__real_, REMOVE_ALL)(path, error); },
        [&](int code) {
            error.assign(code, std::generic_category());
            return static_cast<std::uintmax_t>(-1);
        },
        [&](std::uintmax_t /*removed*/) { return !error; });
}
}
// NOLINTEND(bugprone-reserved-identifier)
