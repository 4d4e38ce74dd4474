#include "Tarnwick/Views/Dialogs/QuickAlertPresenter.h"

#include <utility>

namespace tarnwick {

void QuickAlertPresenter::show(const Alert& alert, Answer answer) {
    alert_ = alert;
    const Answer earlier = std::exchange(answer_, std::move(answer));
    emit changed();
    if (earlier) {
        earlier(false);
    }
}

void QuickAlertPresenter::finish(bool isFirstButton) {
    if (const Answer answer = std::exchange(answer_, nullptr)) {
        emit changed();
        answer(isFirstButton);
    }
}

} // namespace tarnwick
