// Programs that link this are linked with --wrap for each call below, which sends the library's calls here.

#include "Support/SystemCalls.h"

#include <fcntl.h>
#include <sys/file.h>
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

/// The path that a user knows, also where the program reaches the item through an open folder.
std::string plain(const std::string& path) {
    const std::string prefix = "/proc/self/fd/";
    const std::size_t end = path.find('/', prefix.size());
    return !path.starts_with(prefix) || end == std::string::npos
               ? path
               : pathOf(std::stoi(path.substr(prefix.size()))) + path.substr(end);
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
    if (const int code = observer->before({call.name, plain(call.path), plain(call.destination)});
        code != 0) {
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

/// For calls that only read. They may block, so others go on meanwhile.
template <typename CarryOut>
auto observedReading(const SystemCall& call, CarryOut carryOut) {
    SystemCallObserver* const observer = current;
    if (observer != nullptr && !isObserving && observer->seesReading()) {
        const Observing guard;
        const std::lock_guard oneByOne(oneAtATime);
        if (const int code = observer->before({call.name, plain(call.path), plain(call.destination)});
            code != 0) {
            errno = code;
            return static_cast<decltype(carryOut())>(-1);
        }
    }
    return carryOut();
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
using tarnwick::test::observedReading;
using tarnwick::test::pathOf;

struct error_context;
namespace fs = std::filesystem;

namespace {

int observedOpen(int (*open)(const char*, int, ...), const char* path, int flags, mode_t mode) {
    constexpr int changing = O_CREAT | O_TRUNC | O_WRONLY | O_RDWR;
    const auto carryOut = [&] { return open(path, flags, mode); };
    return (flags & changing) == 0 ? observedReading({"open", path, ""}, carryOut)
                                   : observed({"open", path, ""}, carryOut);
}

mode_t modeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

#define REMOVE_ALL _ZNSt10filesystem10remove_allERKNS_7__cxx114pathERSt10error_code
#define JOINED(a, b) a##b
#define NAMED(prefix, name) JOINED(prefix, name)

/// Defines what the linker calls instead of a function that returns -1 or fails with a null result: the
/// call's name and paths follow.
#define OBSERVE(how, Result, function, parameters, arguments, ...)                                           \
    Result __real_##function parameters;                                                                     \
    Result __wrap_##function parameters {                                                                    \
        return how({__VA_ARGS__}, [&] { return __real_##function arguments; });                              \
    }

// The linker gives these names.
// NOLINTBEGIN(bugprone-reserved-identifier,cppcoreguidelines-macro-usage,bugprone-macro-parentheses)
extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_open64(const char* path, int flags, ...);
int __real_flock(int file, int operation);
void __real_sync();
std::uintmax_t NAMED(__real_, REMOVE_ALL)(const fs::path& path, std::error_code& error);

OBSERVE(observedReading, ssize_t, read, (int file, void* bytes, size_t count), (file, bytes, count), "read",
        pathOf(file), "")
OBSERVE(observedReading, ssize_t, pread64, (int file, void* bytes, size_t count, off64_t at),
        (file, bytes, count, at), "pread", pathOf(file), "")
OBSERVE(observedReading, int, stat64, (const char* path, struct stat64* status), (path, status), "stat", path,
        "")
OBSERVE(observedReading, int, lstat64, (const char* path, struct stat64* status), (path, status), "lstat",
        path, "")
OBSERVE(observedReading, int, fstat64, (int file, struct stat64* status), (file, status), "fstat",
        pathOf(file), "")
// The program is known to the child alone.
OBSERVE(observed, int, __clone, (int (*child)(void*), void* stack, int flags, void* argument),
        (child, stack, flags, argument), "clone", "/", "")
OBSERVE(observed, ssize_t, write, (int file, const void* bytes, size_t count), (file, bytes, count), "write",
        pathOf(file), "")
OBSERVE(observed, ssize_t, copy_file_range,
        (int in, loff_t* inAt, int out, loff_t* outAt, size_t count, unsigned flags),
        (in, inAt, out, outAt, count, flags), "copy_file_range", pathOf(in), pathOf(out))
OBSERVE(observed, int, fsync, (int file), (file), "fsync", pathOf(file), "")
OBSERVE(observed, int, fchmod, (int file, mode_t mode), (file, mode), "fchmod", pathOf(file), "")
OBSERVE(observed, int, rename, (const char* from, const char* to), (from, to), "rename", from, to)
OBSERVE(observed, int, renameat2,
        (int fromFolder, const char* from, int toFolder, const char* to, unsigned flags),
        (fromFolder, from, toFolder, to, flags), "renameat2", from, to)
OBSERVE(observed, int, link, (const char* from, const char* to), (from, to), "link", from, to)
OBSERVE(observed, int, symlink, (const char* target, const char* path), (target, path), "symlink", target,
        path)
OBSERVE(observed, int, unlink, (const char* path), (path), "unlink", path, "")
OBSERVE(observed, int, rmdir, (const char* path), (path), "rmdir", path, "")
OBSERVE(observed, int, mkdir, (const char* path, mode_t mode), (path, mode), "mkdir", path, "")
OBSERVE(observed, int, lchown, (const char* path, uid_t owner, gid_t group), (path, owner, group), "lchown",
        path, "")
OBSERVE(observed, int, utimensat, (int folder, const char* path, const timespec* times, int flags),
        (folder, path, times, flags), "utimensat", path, "")
OBSERVE(observed, int, perm_copy_file, (const char* from, const char* to, error_context* context),
        (from, to, context), "perm_copy_file", from, to)
OBSERVE(observed, int, attr_copy_file,
        (const char* from, const char* to, int (*check)(const char*, error_context*), error_context* context),
        (from, to, check, context), "attr_copy_file", from, to)

int __wrap_flock(int file, int operation) {
    return observedReading({"flock", pathOf(file), ""}, [&] {
        const bool waits = (operation & LOCK_NB) == 0 && __real_flock(file, operation | LOCK_NB) != 0;
        if (tarnwick::test::SystemCallObserver* const observer = tarnwick::test::current; waits && observer) {
            observer->waits();
        }
        return __real_flock(file, operation);
    });
}

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

void __wrap_sync() {
    observed({"sync", "", ""}, [&] {
        __real_sync();
        return 0;
    });
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
// NOLINTEND(bugprone-reserved-identifier,cppcoreguidelines-macro-usage,bugprone-macro-parentheses)
