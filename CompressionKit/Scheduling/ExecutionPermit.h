#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <stop_token>
#include <string>

namespace tarnwick {

/// The exclusive right to work on the file `key`, valid across processes. At most `capacity` permits exist at
/// a time among all processes that use the same directory and capacity.
///
/// A permit is a pair of flock locks on files in `directory`, which are never deleted. The kernel frees the
/// locks when the process ends for any reason; child processes do not inherit them.
class ExecutionPermit final {
public:
    /// Blocks until the permit is held: first for the file, in the order of arrival, then for a slot. Creates
    /// `directory` if it is missing. A capacity of 0 waits until `stop` is requested; a negative one aborts
    /// the process.
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
    // Destroyed first, so that the next permit for the file finds a free slot.
    FileDescriptor capacityDescriptor_;
};

} // namespace tarnwick
