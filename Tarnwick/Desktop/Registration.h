#pragma once

#include <functional>
#include <utility>

namespace tarnwick {

/// Something that was asked for and lasts as long as this object: an observation, a timer. Ending it from
/// within the handler that it stands for is fine.
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
