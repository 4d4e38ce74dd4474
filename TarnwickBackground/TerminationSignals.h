#pragma once

#include "Foundation/FileDescriptor.h"

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace tarnwick {

/// SIGINT and SIGTERM as calls in the event loop. To be made before the program's first further thread, which
/// would get the signals otherwise.
class TerminationSignals {
public:
    /// Throws std::system_error.
    TerminationSignals();

    /// Calls the handler on this thread for every signal from now on; one that came before counts.
    void observe(std::function<void()> handler);

private:
    FileDescriptor file_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace tarnwick
