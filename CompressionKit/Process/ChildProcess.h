#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"
#include "Process/Cancellation.h"

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace tarnwick {

class Cage;

/// A running program in a process group of its own, with empty standard input. It does not outlive this
/// object.
class ChildProcess {
public:
    /// Starts `executable` with `arguments` (an argument vector, never a shell), the two descriptors as its
    /// output streams, and this process's environment. A valid `held` stays open in the child and in its
    /// children. The child is confined by `cage`, which serves this child only and is needed no longer.
    /// Throws FileSystemError.
    ChildProcess(const URL& executable, const std::vector<std::string>& arguments,
                 const FileDescriptor& output, const FileDescriptor& errors, const FileDescriptor& held = {},
                 Cage* cage = nullptr);
    /// Kills the group and reaps the child if it is still running.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    enum class Wake { exited, timedOut, cancelled };
    /// Blocks until the child has exited, the timeout is over or cancellation is requested.
    Wake wait(std::chrono::duration<double> timeout,
              const Cancellation& cancellation = Cancellation::never()) const;
    /// Sends SIGTERM to the group, and SIGKILL after `grace`. Returns when the child has exited.
    void stop(std::chrono::duration<double> grace);
    /// Waits for the exit, kills the rest of the group, and reaps the child. Returns the exit status, or the
    /// number of the signal that ended the child. Call it once.
    int reap();

private:
    pid_t pid_ = -1;
    FileDescriptor pidfd_;
};

} // namespace tarnwick
