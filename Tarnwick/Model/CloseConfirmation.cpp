#include "Tarnwick/Model/CloseConfirmation.h"

#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Model/AppModel.h"

#include <utility>

namespace tarnwick {

CloseConfirmation::CloseConfirmation(AppModel& model, AlertPresenter& alerts, std::function<void()> end)
    : model_(model), alerts_(alerts), end_(std::move(end)) {}

void CloseConfirmation::request() {
    const int unfinished = model_.tasks()->activeCount();
    if (unfinished == 0) {
        end_();
        return;
    }
    if (std::exchange(isAsking_, true)) {
        return;
    }
    const Alert alert = {.message = QStringLiteral("还有 %1 张图片没有处理完，要停止吗？").arg(unfinished),
                         .informativeText = "停止后，没有处理完的图片保持原样，已完成的结果仍在记录中。",
                         .firstButton = "停止并退出",
                         .secondButton = "继续处理"};
    alerts_.show(alert, [this](bool isFirstButton) {
        isAsking_ = false;
        if (isFirstButton) {
            end_();
        }
    });
}

} // namespace tarnwick
