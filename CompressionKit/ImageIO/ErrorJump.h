#pragma once

#include "ImageIO/InvalidImage.h"

#include <csetjmp>
#include <type_traits>

namespace tarnwick {

/// Leaves libpng and libjpeg after an error. Their error handlers must not return, and must not throw either,
/// as the libraries may be built without support for exceptions; so they jump. A jump over an object with a
/// destructor is undefined: `body` must own nothing and call only the library.
class ErrorJump {
public:
    ErrorJump() = default;
    ErrorJump(const ErrorJump&) = delete;
    ErrorJump& operator=(const ErrorJump&) = delete;

    /// Makes the library's calls. False after an error, and at every later call: the library's state is
    /// unusable then.
    template <typename Body>
    bool attempt(Body body) {
        static_assert(std::is_trivially_destructible_v<Body>);
        usable_ = usable_ && completes(body);
        return usable_;
    }
    /// Likewise, but throws CompressionError::invalidImage.
    template <typename Body>
    void run(Body body) {
        requireImage(attempt(body));
    }

    /// For the error handler, within attempt() or run() only.
    [[noreturn]] void leave() noexcept { std::longjmp(target_, 1); }

private:
    template <typename Body>
    bool completes(Body& body) {
        if (setjmp(target_) != 0) {
            return false;
        }
        body();
        return true;
    }

    std::jmp_buf target_ = {};
    bool usable_ = true;
};

} // namespace tarnwick
