#pragma once

#include "Tarnwick/Views/Dialogs/QuickAlertPresenter.h"
#include "Tarnwick/Views/Dialogs/QuickFileChooser.h"

#include <QObject>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

namespace tarnwick {

class AppModel;
class ExtensionSettings;

/// The window, those that belong to it, and their engine. Lives on the main thread.
class MainWindow : public QObject {
    Q_OBJECT

public:
    /// What the window shows and works with; all of it must outlive the window.
    struct Models {
        AppModel& model;
        QuickFileChooser& chooser;
        QuickAlertPresenter& alerts;
        ExtensionSettings& extensionSettings;
    };

    explicit MainWindow(const Models& models, QObject* parent = nullptr);

    /// What every process that shows the window sets before it, once its QGuiApplication is there: the style
    /// of the controls and the fonts.
    static void prepareApplication();
    /// What an engine needs for the window's QML.
    static void prepareEngine(QQmlEngine& engine);

    /// Whether the window could be made; it is shown then.
    bool isOpen() const { return window_ != nullptr; }
    QQuickWindow* window() const { return window_; }
    /// Brings the window to the front; `activationToken` is what the desktop lets it do so with.
    void raise(const QString& activationToken = {});

signals:
    /// The user wants the file managers' menus enabled.
    void finderEnableRequested();
    /// The user wants to set them up.
    void finderSettingsRequested();

private:
    QQmlApplicationEngine engine_;
    QPointer<QQuickWindow> window_;
};

} // namespace tarnwick
