#pragma once

#include "Tarnwick/Views/Dialogs/QuickAlertPresenter.h"
#include "Tarnwick/Views/Dialogs/QuickFileChooser.h"
#include "Tarnwick/Views/MainWindowViewState.h"

#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

namespace tarnwick {

class AppModel;
class ExtensionSettings;

/// The main window, the windows and dialogs that belong to it, and their QML engine. Lives on the main
/// thread.
class MainWindow {
public:
    /// What the window shows and works with. All of it must outlive the window.
    struct Models {
        AppModel& model;
        QuickFileChooser& chooser;
        QuickAlertPresenter& alerts;
        ExtensionSettings& extensionSettings;
    };

    /// Shows the window.
    explicit MainWindow(const Models& models);

    /// Sets the style of the controls and the fonts. To be called after the QGuiApplication is made and
    /// before the first window.
    static void prepareApplication();
    /// Makes the window's types and icons available in an engine.
    static void prepareEngine(QQmlEngine& engine);

    /// False when the QML could not be loaded.
    bool isOpen() const { return window_ != nullptr; }
    QQuickWindow* window() const { return window_; }
    MainWindowViewState& viewState() { return viewState_; }
    /// Brings the window to the front. `activationToken` is the desktop's permission to do so.
    void raise(const QString& activationToken = {});

private:
    MainWindowViewState viewState_;
    QQmlApplicationEngine engine_;
    QPointer<QQuickWindow> window_;
};

} // namespace tarnwick
