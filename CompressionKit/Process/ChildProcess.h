#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"
#include "Process/Cancellation.h"

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace tarnwick {

/// A running program in a process group of its own, without standard input. It never outlives this object.
class ChildProcess {
public:
    /// Starts `executable` with `arguments` (an argument vector, never a shell), the two descriptors as its
    /// output streams, and this process's environment. Of `variables` ("NAME=value"), those are added whose
    /// names the environment does not have. `held`, if it is open, stays open in the child and in all that
    /// the child starts. Throws FileSystemError.
    ChildProcess(const URL& executable, const std::vector<std::string>& arguments,
                 const FileDescriptor& output, const FileDescriptor& errors,
                 const std::vector<std::string>& variables = {}, const FileDescriptor& held = {});
    /// Kills the group and reaps the child when it still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    enum class Wake { exited, timedOut, cancelled };
    /// Blocks until the child has exited, the time is over or the cancellation is requested, whichever is
    /// first.
    Wake wait(std::chrono::duration<double> timeout, const Cancellation& cancellation = {}) const;
    /// Asks the group to end (SIGTERM) and, after `grace`, kills it. Returns once the child has exited.
    void stop(std::chrono::duration<double> grace);
    /// Waits for the exit and reaps: the exit status, or the number of the signal that ended it. What is left
    /// of the group is killed. To be called once.
    int reap();

private:
    pid_t pid_ = -1;
    FileDescriptor pidfd_;
};

} // namespace tarnwick
