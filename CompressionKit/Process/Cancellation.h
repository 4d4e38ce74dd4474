#pragma once

#include <exception>
#include <memory>

namespace tarnwick {

/// A request to stop, shared by all copies.
class Cancellation {
public:
    /// One that can never be requested.
    static Cancellation never() noexcept { return {}; }
    /// Throws std::system_error when the process has no descriptor left.
    static Cancellation make();
    /// A child: it can be requested on its own, and is requested with this one. Throws as make().
    Cancellation linked() const;

    /// Cannot be taken back. Safe in a signal handler and from any thread.
    void request() const noexcept;
    bool isRequested() const noexcept;
    /// For poll() only: readable from the request on; -1 when there can be no request.
    int descriptor() const noexcept;

private:
    struct State;
    Cancellation() = default;

    std::shared_ptr<const State> state_;
};

/// Blocks for this time. Throws Cancelled as soon as cancellation is requested; std::system_error.
void sleepUnlessCancelled(double seconds, const Cancellation& cancellation);

/// Thrown by work that stopped on request. It is not a failure of the file, hence no CompressionError.
class Cancelled : public std::exception {
public:
    const char* what() const noexcept override;
};

} // namespace tarnwick
