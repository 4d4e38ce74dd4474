#pragma once

#include <functional>
#include <utility>

namespace tarnwick {

/// An observation or a timer, which ends with this object. Its handler may end it.
class [[nodiscard]] Registration {
public:
    Registration() = default;
    explicit Registration(std::function<void()> end) : end_(std::move(end)) {}
    Registration(Registration&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
    Registration& operator=(Registration&& other) noexcept {
        Registration(std::move(other)).end_.swap(end_);
        return *this;
    }
    ~Registration() {
        if (end_) {
            end_();
        }
    }

private:
    std::function<void()> end_;
};

} // namespace tarnwick
