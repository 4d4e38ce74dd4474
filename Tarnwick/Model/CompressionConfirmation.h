#pragma once

#include <QList>
#include <QUrl>

namespace tarnwick {

class AlertPresenter;
class AppModel;

/// Files that the application was started or called with. Those that the desktop merely opened are compressed
/// only when the user says so: a double click is enough where no viewer of pictures was ever chosen. Belongs
/// to the main thread.
class CompressionConfirmation {
public:
    /// Both must outlive the object.
    CompressionConfirmation(AppModel& model, AlertPresenter& alerts) : model_(model), alerts_(alerts) {}

    /// With `isAskedFor` the user asked for their compression; otherwise asks about them, together with
    /// those of a question that is still open.
    void open(const QList<QUrl>& urls, bool isAskedFor);

private:
    void ask();
    void answered(const QList<QUrl>& urls, bool isAgreed);

    AppModel& model_;
    AlertPresenter& alerts_;
    QList<QUrl> asked_;
};

} // namespace tarnwick
