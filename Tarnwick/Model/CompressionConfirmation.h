#pragma once

#include <QList>
#include <QUrl>

namespace tarnwick {

class AlertPresenter;
class AppModel;

/// Asks before it compresses files that the desktop only opened: without a chosen picture viewer a double
/// click may start this application. Belongs to the main thread.
class CompressionConfirmation {
public:
    /// Both must outlive the object.
    CompressionConfirmation(AppModel& model, AlertPresenter& alerts) : model_(model), alerts_(alerts) {}

    /// With `isAskedFor` the user asked for the compression, which starts at once. Otherwise asks about the
    /// files. What arrives while a question is open is the subject of the next one.
    void open(const QList<QUrl>& urls, bool isAskedFor);

private:
    void ask();
    void handleAnswer(bool isAgreed);

    AppModel& model_;
    AlertPresenter& alerts_;
    /// The subject of the open question; empty when none is open.
    QList<QUrl> asked_;
    QList<QUrl> waiting_;
};

} // namespace tarnwick
