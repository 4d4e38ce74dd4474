#pragma once

#include <exception>
#include <memory>

namespace tarnwick {

/// A request to stop, shared by all copies. Made by make(); a default-constructed one can never be requested.
class Cancellation {
public:
    Cancellation() = default;
    /// Throws std::system_error when the process has no descriptor left.
    static Cancellation make();
    /// One that can be requested by itself, and is when this one is. Throws as make().
    Cancellation linked() const;

    /// Asks all holders to stop; for good. Safe in a signal handler and from any thread.
    void request() const noexcept;
    bool isRequested() const noexcept;
    /// Becomes readable, and stays so, once the request was made; -1 when it never can be. Only to be polled.
    int descriptor() const noexcept;

private:
    struct State;
    std::shared_ptr<const State> state_;
};

/// Blocks for so many seconds. Throws Cancelled as soon as the request is made; std::system_error.
void sleepUnlessCancelled(double seconds, const Cancellation& cancellation);

/// Thrown by work that stopped because it was asked to. Not a failure of the file at hand, so it is no
/// CompressionError and nothing may take it for one.
class Cancelled : public std::exception {
public:
    const char* what() const noexcept override;
};

} // namespace tarnwick
