#pragma once

#include "Process/Cancellation.h"

namespace tarnwick {

/// SIGINT, SIGTERM and SIGHUP request signalCancellation(), except those that were ignored at the start
/// (nohup). SIGPIPE is ignored, so write() reports a closed pipe. Call once at the start of the program.
void installSignalHandlers();

/// Requested by these signals.
const Cancellation& signalCancellation();

/// Terminates the program with the first of these signals that arrived, so the parent sees the cause. Returns
/// when none arrived.
void endByReceivedSignal();

} // namespace tarnwick
