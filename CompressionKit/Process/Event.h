#pragma once

#include "Foundation/FileDescriptor.h"

namespace tarnwick {

/// Something that happens once, and can be waited for with poll().
class Event {
public:
    /// Throws std::system_error when the process has no descriptor left.
    Event();

    /// For good. Safe in a signal handler and from any thread.
    void set() const noexcept;
    bool isSet() const noexcept;
    /// Becomes readable, and stays so, once the event was set. Only to be polled.
    int descriptor() const noexcept { return descriptor_.get(); }

private:
    FileDescriptor descriptor_;
};

/// Whether the descriptor is readable now; false for -1.
bool isReadable(int descriptor) noexcept;
/// Blocks until one of the two is readable; -1 never is. Throws std::system_error.
void waitUntilReadable(int first, int second);

} // namespace tarnwick
