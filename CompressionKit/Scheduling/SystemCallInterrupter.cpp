#include "Scheduling/SystemCallInterrupter.h"

#include <chrono>
#include <system_error>
#include <thread>

namespace tarnwick {
namespace {

// Ignored by default, so a late one is harmless, also in a child that reset its handlers.
constexpr int interruptingSignal = SIGURG;
constexpr auto repetitionInterval = std::chrono::milliseconds(1);

extern "C" void doNothing(int /*signal*/) {}

/// Without a handler the signal would not interrupt, and with SA_RESTART the call would be resumed.
void installHandler() {
    struct sigaction action {};
    action.sa_handler = doNothing;
    if (::sigaction(interruptingSignal, &action, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), "sigaction");
    }
}

sigset_t unblockSignal() {
    sigset_t signals{};
    sigset_t previous{};
    sigemptyset(&signals);
    sigaddset(&signals, interruptingSignal);
    ::pthread_sigmask(SIG_UNBLOCK, &signals, &previous);
    return previous;
}

} // namespace

SystemCallInterrupter::SystemCallInterrupter(const std::stop_token& stop) : thread_(::pthread_self()) {
    [[maybe_unused]] static const bool isInstalled = (installHandler(), true);
    previousMask_ = unblockSignal();
    onStop_.emplace(stop, [this] { interruptUntilDestroyed(); });
}

SystemCallInterrupter::~SystemCallInterrupter() {
    isLeaving_ = true;
    onStop_.reset();
    ::pthread_sigmask(SIG_SETMASK, &previousMask_, nullptr);
}

// A signal just before the system call has no effect on it, hence the repetition.
void SystemCallInterrupter::interruptUntilDestroyed() const {
    // The constructor of the callback calls this if the stop was requested before: nothing to interrupt yet.
    if (::pthread_equal(::pthread_self(), thread_) != 0) {
        return;
    }
    while (!isLeaving_) {
        ::pthread_kill(thread_, interruptingSignal);
        std::this_thread::sleep_for(repetitionInterval);
    }
}

} // namespace tarnwick
