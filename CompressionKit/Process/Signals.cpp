#include "Process/Signals.h"

#include <atomic>
#include <csignal>

namespace tarnwick {
namespace {

struct SignalState {
    Cancellation cancellation = Cancellation::make();
    std::atomic<int> signal = 0;
};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait for a lock");

/// A handler can reach its state only through a global. It is never destroyed, since a signal may arrive
/// while the program exits.
SignalState& state() {
    static SignalState& instance = *new SignalState();
    return instance;
}

extern "C" void handleSignal(int signal) {
    int none = 0;
    state().signal.compare_exchange_strong(none, signal);
    state().cancellation.request();
}

void setHandler(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

void installSignalHandlers() {
    state();
    setHandler(SIGPIPE, SIG_IGN);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (!isIgnored(signal)) {
            setHandler(signal, handleSignal);
        }
    }
}

const Cancellation& signalCancellation() {
    return state().cancellation;
}

void endByReceivedSignal() {
    if (const int signal = state().signal; signal != 0) {
        setHandler(signal, SIG_DFL);
        static_cast<void>(std::raise(signal));
    }
}

} // namespace tarnwick
