#pragma once

#include "Foundation/FileDescriptor.h"

namespace tarnwick {

/// A one-time event that poll() can wait for.
class Event {
public:
    /// Throws std::system_error when the process has no descriptor left.
    Event();

    /// Cannot be taken back. Safe in a signal handler and from any thread.
    void set() const noexcept;
    bool isSet() const noexcept;
    /// For poll() only: readable from set() on.
    int descriptor() const noexcept { return descriptor_.get(); }

private:
    FileDescriptor descriptor_;
};

/// Whether the descriptor is readable now; false for -1.
bool isReadable(int descriptor) noexcept;
/// Blocks until one of the two is readable; -1 is ignored. Throws std::system_error.
void waitUntilReadable(int first, int second);

} // namespace tarnwick
