#pragma once

#include "Tarnwick/Model/CompressionConfirmation.h"

#include <QList>
#include <QObject>
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

    explicit TarnwickAppDelegate(const Parts& parts) : parts_(parts), opened_(parts.model, parts.alerts) {}

    /// Does what arrives at the instance from now on.
    void listenTo(ApplicationInstance& instance);

    /// Imports the files; asks the user first unless `isAskedFor` says that the user wants them compressed.
    void open(const QList<QUrl>& urls, bool isAskedFor);
    /// Brings the window to the front, with the permission that the desktop gave for it.
    void activate(const QString& activationToken);
    /// Performs an action of the desktop entry. An unknown one does nothing.
    void perform(const QString& action);
    /// Ends the application's event loop.
    static void end();

private:
    Parts parts_;
    CompressionConfirmation opened_;
};

} // namespace tarnwick
