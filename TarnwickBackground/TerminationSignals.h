#pragma once

#include "Foundation/FileDescriptor.h"

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace tarnwick {

/// Delivers SIGINT and SIGTERM in the event loop. Construct it before the program starts its first thread,
/// which would receive the signals otherwise.
class TerminationSignals {
public:
    /// Throws std::system_error.
    TerminationSignals();

    /// Calls the handler on this thread for each signal, also for one that arrived before.
    void observe(std::function<void()> handler);

private:
    FileDescriptor file_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace tarnwick
