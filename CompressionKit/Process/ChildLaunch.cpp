#include "Process/ChildLaunch.h"

#include "Process/InChild.h"

#include <sched.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <limits>
#include <vector>

/// The C library's clone(). A sanitizer may have its own clone(), which takes the child for a copy of this
/// process.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __clone(int (*child)(void*), void* stack, int flags, void* argument, ...);

namespace tarnwick {
namespace {

constexpr std::size_t stackBytes = 65'536;
constexpr int lastSignal = 64;
constexpr int failedStatus = 127;

struct Child {
    const ChildLaunch& plan;
    int error;
};

TARNWICK_IN_CHILD bool setDescriptors(const ChildLaunch& plan) noexcept {
    int next = STDERR_FILENO + 1;
    // The descriptor 3 comes last, because it may be the source of another.
    if (::syscall(SYS_dup3, plan.input, STDIN_FILENO, 0) < 0 ||
        ::syscall(SYS_dup3, plan.output, STDOUT_FILENO, 0) < 0 ||
        ::syscall(SYS_dup3, plan.errors, STDERR_FILENO, 0) < 0 ||
        (plan.held >= 0 && ::syscall(SYS_dup3, plan.held, next++, 0) < 0)) {
        return false;
    }
    return ::syscall(SYS_close_range, next, std::numeric_limits<unsigned>::max(), 0) == 0;
}

/// struct sigaction as the kernel has it.
struct KernelSignalAction {
    unsigned long handler;
    unsigned long flags;
    unsigned long restorer;
    unsigned long mask;
};

/// All signals are blocked until none can reach a handler of the parent.
TARNWICK_IN_CHILD bool resetSignals() noexcept {
    const unsigned long none = 0;
    const KernelSignalAction byDefault = {none, none, none, none};
    for (int signal = 1; signal <= lastSignal; ++signal) {
        ::syscall(SYS_rt_sigaction, signal, &byDefault, nullptr, sizeof(none));
    }
    return ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &none, nullptr, sizeof(none)) == 0;
}

/// Returns an errno value when the program cannot be executed.
TARNWICK_IN_CHILD int execute(const ChildLaunch& plan) noexcept {
    if (::syscall(SYS_setpgid, 0, 0) != 0 || !resetSignals()) {
        return errno;
    }
    // Before its descriptor is closed, and after the last call that it refuses.
    if (const int error = plan.cage != nullptr ? plan.cage->enter(plan.program) : 0; error != 0) {
        return error;
    }
    if (setDescriptors(plan)) {
        ::syscall(SYS_execve, plan.program, plan.arguments, plan.environment);
    }
    return errno;
}

TARNWICK_IN_CHILD int run(void* argument) noexcept {
    auto& child = *static_cast<Child*>(argument);
    child.error = execute(child.plan);
    ::syscall(SYS_exit_group, failedStatus);
    return failedStatus;
}

/// Blocks all signals of this thread: the child must not run a handler of this process.
class BlockedSignals {
public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t before_{};
};

} // namespace

LaunchResult launch(const ChildLaunch& plan) {
    std::vector<std::max_align_t> stack(stackBytes / sizeof(std::max_align_t));
    Child child = {plan, 0};
    const BlockedSignals blocked;
    const pid_t pid = ::__clone(run, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, &child);
    if (pid < 0) {
        return {.error = errno};
    }
    if (child.error == 0) {
        return {.pid = pid};
    }
    ::waitpid(pid, nullptr, 0);
    return {.error = child.error};
}

} // namespace tarnwick
