#pragma once

#include "Tarnwick/Model/CloseConfirmation.h"
#include "Tarnwick/Model/CompressionConfirmation.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

namespace tarnwick {

class AlertPresenter;
class AppModel;
class ApplicationInstance;
class ExtensionManagement;
class MainWindow;

/// Does what the desktop asks of the application. Lives on the main thread.
class TarnwickAppDelegate : public QObject {
public:
    /// All of them must outlive the delegate.
    struct Parts {
        MainWindow& window;
        AppModel& model;
        AlertPresenter& alerts;
        ExtensionManagement& extensionSettings;
    };

    explicit TarnwickAppDelegate(const Parts& parts);

    /// Does what arrives at the instance from now on.
    void listenTo(ApplicationInstance& instance);

    /// Imports the files; asks the user first unless `isAskedFor` says that the user wants them compressed.
    void open(const QList<QUrl>& urls, bool isAskedFor);
    /// Brings the window to the front, with the permission that the desktop gave for it.
    void activate(const QString& activationToken);
    /// Performs an action of the desktop entry. An unknown one does nothing.
    void perform(const QString& action);
    /// The user closed the window: ends the application, after a question while pictures are in work.
    void close();
    /// Stops all work and ends the application's event loop.
    void end();

    /// Watches for the end of the desktop's session.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Parts parts_;
    QPointer<ApplicationInstance> instance_;
    CompressionConfirmation opened_;
    CloseConfirmation closing_;
};

} // namespace tarnwick
