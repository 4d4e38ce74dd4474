#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <stop_token>
#include <string>

namespace tarnwick {

/// The right to work on one file, valid across processes: its holder alone works on the file `key`, and at
/// most `capacity` holders work at a time among all processes that use the same directory and capacity.
///
/// It is made of flock locks on files in `directory`, which are never deleted; only the lock on them counts.
/// The kernel frees the locks of a process that ends, however it ends, and child processes don't inherit
/// them.
class ExecutionPermit final {
public:
    /// Blocks until the permit is held: first for the file, in the order of arrival, then for one of the
    /// slots. Creates `directory` where it is missing. A capacity of 0 waits for a stop; a negative one
    /// aborts the process.
    ///
    /// Throws FileSystemError when the directory cannot be created, CompressionError::fileOperation when a
    /// lock cannot be created or taken, and std::system_error of std::errc::operation_canceled when `stop`
    /// was requested before the permit was held.
    ExecutionPermit(const URL& directory, const std::string& key, int capacity,
                    const std::stop_token& stop = {});
    ExecutionPermit(const ExecutionPermit&) = delete;
    ExecutionPermit& operator=(const ExecutionPermit&) = delete;
    ~ExecutionPermit() = default;

private:
    FileDescriptor fileDescriptor_;
    // Destroyed first: whoever gets the file next finds a slot free.
    FileDescriptor capacityDescriptor_;
};

} // namespace tarnwick
