#pragma once

#include "Process/Cancellation.h"

namespace tarnwick {

/// Turns SIGINT, SIGTERM and SIGHUP into a request on interruption(), but for those that were ignored from
/// the start (nohup), and has a closed pipe reported by write() instead of SIGPIPE. To be called once, early.
void installSignalHandlers();

/// The request that those signals make.
const Cancellation& interruption();

/// Ends the program by the first of those signals that came, so that the caller sees how it ended; returns
/// when none came.
void endByReceivedSignal();

} // namespace tarnwick
