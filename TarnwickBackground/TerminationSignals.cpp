#include "TarnwickBackground/TerminationSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace tarnwick {

TerminationSignals::TerminationSignals() {
    sigset_t handled;
    sigemptyset(&handled);
    for (const int signal : {SIGINT, SIGTERM}) {
        sigaddset(&handled, signal);
        // A shell starts background programs with SIGINT ignored, and an ignored signal is never delivered.
        static_cast<void>(std::signal(signal, SIG_DFL));
    }
    ::pthread_sigmask(SIG_SETMASK, &handled, nullptr);
    file_ = FileDescriptor(::signalfd(-1, &handled, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!file_) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

void TerminationSignals::observe(std::function<void()> handler) {
    notifier_ = std::make_unique<QSocketNotifier>(file_.get(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this, handler = std::move(handler)] {
                         signalfd_siginfo signal{};
                         if (::read(file_.get(), &signal, sizeof signal) == sizeof signal) {
                             handler();
                         }
                     });
}

} // namespace tarnwick
