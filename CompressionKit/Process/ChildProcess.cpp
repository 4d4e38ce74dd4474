#include "Process/ChildProcess.h"

#include "Foundation/FileSystemError.h"
#include "Process/Cage.h"
#include "Process/ChildLaunch.h"

#include <fcntl.h>
#include <poll.h>
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

/// The pointers refer to the given texts.
std::vector<char*> argumentVector(const URL& executable, const std::vector<std::string>& arguments) {
    std::vector<char*> vector = {const_cast<char*>(executable.c_str())};
    std::transform(arguments.begin(), arguments.end(), std::back_inserter(vector),
                   [](const std::string& argument) { return const_cast<char*>(argument.c_str()); });
    vector.push_back(nullptr);
    return vector;
}

/// A tool must not read the input of this program.
FileDescriptor emptyInput() {
    return FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

FileDescriptor aboveStandardAndHeld(const FileDescriptor& held) {
    return FileDescriptor(held ? ::fcntl(held.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 2) : -1);
}

pid_t spawn(const URL& executable, const std::vector<std::string>& arguments, const FileDescriptor& output,
            const FileDescriptor& errors, const FileDescriptor& held, Cage* cage) {
    const std::vector<char*> vector = argumentVector(executable, arguments);
    const FileDescriptor input = emptyInput();
    const FileDescriptor lifted = aboveStandardAndHeld(held);
    if (!input || (held && !lifted)) {
        throw FileSystemError(launchAttempt, executable, errno);
    }
    const LaunchResult result = launch({.program = executable.c_str(),
                                        .arguments = vector.data(),
                                        .environment = environ,
                                        .input = input.get(),
                                        .output = output.get(),
                                        .errors = errors.get(),
                                        .held = lifted.get(),
                                        .cage = cage});
    if (result.error != 0) {
        throw FileSystemError(launchAttempt, executable, result.error);
    }
    return result.pid;
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
                           const FileDescriptor& held, Cage* cage)
    : pid_(spawn(executable, arguments, output, errors, held, cage)), pidfd_(openProcess(pid_)) {
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
