#include "Scheduling/Interruption.h"

#include <chrono>
#include <system_error>
#include <thread>

namespace tarnwick {
namespace {

// Ignored by default, so one that comes late, or reaches a child that reset its handlers, hurts nobody.
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

Interruption::Interruption(const std::stop_token& stop) : thread_(::pthread_self()) {
    [[maybe_unused]] static const bool isInstalled = (installHandler(), true);
    previousMask_ = unblockSignal();
    onStop_.emplace(stop, [this] { interruptUntilLeft(); });
}

Interruption::~Interruption() {
    hasLeft_ = true;
    onStop_.reset();
    ::pthread_sigmask(SIG_SETMASK, &previousMask_, nullptr);
}

// A signal that arrives just before the system call begins is lost, hence the repetition.
void Interruption::interruptUntilLeft() const {
    // A request older than this object is reported by its own constructor, with nothing to interrupt yet.
    if (::pthread_equal(::pthread_self(), thread_) != 0) {
        return;
    }
    while (!hasLeft_) {
        ::pthread_kill(thread_, interruptingSignal);
        std::this_thread::sleep_for(repetitionInterval);
    }
}

} // namespace tarnwick
