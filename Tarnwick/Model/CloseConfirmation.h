#pragma once

#include <functional>

namespace tarnwick {

class AlertPresenter;
class AppModel;

/// Asks before the application ends while pictures are in work. Belongs to the main thread.
class CloseConfirmation {
public:
    /// The references must outlive the object. `end` ends the application.
    CloseConfirmation(AppModel& model, AlertPresenter& alerts, std::function<void()> end);

    /// Ends at once when nothing is in work. Otherwise asks; does nothing while the question is open.
    void request();

private:
    AppModel& model_;
    AlertPresenter& alerts_;
    std::function<void()> end_;
    bool isAsking_ = false;
};

} // namespace tarnwick
