#include "Process/ChildProcess.h"

#include "Foundation/FileSystemError.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <iterator>
#include <limits>
#include <system_error>

namespace tarnwick {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr auto launchAttempt = "无法启动压缩组件";

class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&actions_); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    posix_spawn_file_actions_t* get() { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

class SpawnAttributes {
public:
    SpawnAttributes() { posix_spawnattr_init(&attributes_); }
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    posix_spawnattr_t* get() { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

/// Standard input is empty, because a tool must not read the input of this program. Further descriptors are
/// closed: libraries may open them without close-on-exec, and this process may have inherited some.
int prepareDescriptors(SpawnActions& actions, const FileDescriptor& output, const FileDescriptor& errors,
                       const FileDescriptor& held) {
    int code = posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    code = code != 0 ? code : posix_spawn_file_actions_adddup2(actions.get(), output.get(), STDOUT_FILENO);
    code = code != 0 ? code : posix_spawn_file_actions_adddup2(actions.get(), errors.get(), STDERR_FILENO);
    int next = STDERR_FILENO + 1;
    if (held) {
        // Last, because it may overwrite the source of another dup2.
        code = code != 0 ? code : posix_spawn_file_actions_adddup2(actions.get(), held.get(), next);
        ++next;
    }
    return code != 0 ? code : posix_spawn_file_actions_addclosefrom_np(actions.get(), next);
}

/// A new process group, and default handling of signals that this process may ignore or block.
int prepareGroupAndSignals(SpawnAttributes& attributes) {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    int code = posix_spawnattr_setpgroup(attributes.get(), 0);
    code = code != 0 ? code : posix_spawnattr_setsigmask(attributes.get(), &none);
    code = code != 0 ? code : posix_spawnattr_setsigdefault(attributes.get(), &all);
    const auto flags = POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    return code != 0 ? code : posix_spawnattr_setflags(attributes.get(), static_cast<short>(flags));
}

/// The pointers refer to the given texts.
std::vector<char*> argumentVector(const URL& executable, const std::vector<std::string>& arguments) {
    std::vector<char*> vector = {const_cast<char*>(executable.c_str())};
    std::transform(arguments.begin(), arguments.end(), std::back_inserter(vector),
                   [](const std::string& argument) { return const_cast<char*>(argument.c_str()); });
    vector.push_back(nullptr);
    return vector;
}

pid_t spawn(const URL& executable, const std::vector<std::string>& arguments, const FileDescriptor& output,
            const FileDescriptor& errors, const FileDescriptor& held) {
    std::vector<char*> vector = argumentVector(executable, arguments);
    SpawnActions actions;
    SpawnAttributes attributes;
    pid_t pid = -1;
    int code = prepareDescriptors(actions, output, errors, held);
    code = code != 0 ? code : prepareGroupAndSignals(attributes);
    code = code != 0 ? code
                     : ::posix_spawn(&pid, executable.c_str(), actions.get(), attributes.get(), vector.data(),
                                     environ);
    if (code != 0) {
        throw FileSystemError(launchAttempt, executable, code);
    }
    return pid;
}

/// glibc 2.36 declares pidfd_open without C linkage, so C++ cannot link it.
int openProcess(pid_t pid) {
    return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
}

/// The remaining time for poll(), rounded up so that the loop does not spin at the end.
int remainingMilliseconds(Clock::time_point start, Seconds timeout) {
    const std::chrono::duration<double, std::milli> left = timeout - (Clock::now() - start);
    return static_cast<int>(
        std::clamp(std::ceil(left.count()), 0.0, double{std::numeric_limits<int>::max()}));
}

} // namespace

ChildProcess::ChildProcess(const URL& executable, const std::vector<std::string>& arguments,
                           const FileDescriptor& output, const FileDescriptor& errors,
                           const FileDescriptor& held)
    : pid_(spawn(executable, arguments, output, errors, held)), pidfd_(openProcess(pid_)) {
    if (!pidfd_) {
        const int code = errno;
        ::kill(-pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        throw FileSystemError(launchAttempt, executable, code);
    }
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0) {
        ::kill(-pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
}

ChildProcess::Wake ChildProcess::wait(Seconds timeout, const Cancellation& cancellation) const {
    const auto start = Clock::now();
    std::array<pollfd, 2> events = {pollfd{pidfd_.get(), POLLIN, 0},
                                    pollfd{cancellation.descriptor(), POLLIN, 0}};
    while (true) {
        const int milliseconds = remainingMilliseconds(start, timeout);
        const int ready = ::poll(events.data(), events.size(), milliseconds);
        if (ready < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
        if (ready > 0) {
            return events[0].revents != 0 ? Wake::exited : Wake::cancelled;
        }
        if (ready == 0 && milliseconds == 0) {
            return Wake::timedOut;
        }
    }
}

void ChildProcess::stop(Seconds grace) {
    ::kill(-pid_, SIGTERM);
    if (wait(grace) != Wake::exited) {
        ::kill(-pid_, SIGKILL);
        // The kernel may need time to free the child's resources.
        while (wait(Seconds(60)) != Wake::exited) {
        }
    }
}

int ChildProcess::reap() {
    siginfo_t status{};
    const auto id = static_cast<id_t>(pid_);
    while (::waitid(P_PID, id, &status, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    // Before reaping the child: its number cannot be reused yet, so the signal reaches only its descendants.
    ::kill(-pid_, SIGKILL);
    while (::waitid(P_PID, id, &status, WEXITED) != 0 && errno == EINTR) {
    }
    pid_ = -1;
    return status.si_status;
}

} // namespace tarnwick
