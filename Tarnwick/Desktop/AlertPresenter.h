#pragma once

#include <QString>
#include <functional>

namespace tarnwick {

/// A question to the user with two answers.
struct Alert {
    QString message;
    QString informativeText;
    QString firstButton;
    QString secondButton;
};

/// Shows modal alerts.
class AlertPresenter {
public:
    using Answer = std::function<void(bool isFirstButton)>;

    AlertPresenter() = default;
    AlertPresenter(const AlertPresenter&) = delete;
    AlertPresenter& operator=(const AlertPresenter&) = delete;
    virtual ~AlertPresenter() = default;

    /// Shows the alert and returns. `answer` is called once, on the main thread; closing the alert otherwise
    /// counts as its second button, and so does another alert that takes its place.
    virtual void show(const Alert& alert, Answer answer) = 0;
};

} // namespace tarnwick
