#include "Tarnwick/Views/Dialogs/QuickAlertPresenter.h"

#include <tuple>
#include <utility>

namespace tarnwick {

void QuickAlertPresenter::show(const Alert& alert, Answer answer) {
    waiting_.emplace_back(alert, std::move(answer));
    showNext();
}

void QuickAlertPresenter::setHeld(bool isHeld) {
    isHeld_ = isHeld;
    showNext();
}

void QuickAlertPresenter::finish(bool isFirstButton) {
    if (const Answer answer = std::exchange(answer_, nullptr)) {
        emit changed();
        answer(isFirstButton);
    }
}

void QuickAlertPresenter::dialogClosed() {
    finish(false);
    isOnScreen_ = false;
    showNext();
}

void QuickAlertPresenter::showNext() {
    if (isOnScreen_ || isHeld_ || waiting_.empty()) {
        return;
    }
    isOnScreen_ = true;
    std::tie(alert_, answer_) = std::move(waiting_.front());
    waiting_.pop_front();
    emit changed();
}

} // namespace tarnwick
