#pragma once

#include "Tarnwick/Desktop/ApplicationBundle.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "Tarnwick/Desktop/DesktopFileRevealer.h"
#include "Tarnwick/Desktop/DesktopLaunchServices.h"
#include "Tarnwick/Desktop/SettingsFile.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/Model/FinderIntegration.h"
#include "Tarnwick/TarnwickAppDelegate.h"
#include "Tarnwick/Views/MainWindow.h"

namespace tarnwick {

/// Owns the parts of the application and connects them. Lives on the main thread, after
/// MainWindow::prepareApplication(). The history and the settings are those of the environment's folders.
class TarnwickApp {
public:
    explicit TarnwickApp(const ApplicationBundle& bundle);

    AppModel& model() noexcept { return model_; }
    ExtensionSettings& extensionSettings() noexcept { return extensionSettings_; }
    QuickAlertPresenter& alerts() noexcept { return alerts_; }
    FinderIntegration& finder() noexcept { return finder_; }
    /// Its isOpen() is false if the window could not be created.
    MainWindow& window() noexcept { return window_; }
    TarnwickAppDelegate& delegate() noexcept { return delegate_; }

private:
    DBusNotifications notifications_;
    LogindWakeMonitor wake_;
    BundleHelperLauncher helper_;
    QuickFileChooser chooser_;
    DesktopFileRevealer revealer_;
    SystemClock clock_;
    QuickAlertPresenter alerts_;
    AppModel model_;
    ExtensionSettings extensionSettings_;
    DesktopLaunchServices launchServices_;
    SettingsFile defaults_{SettingsFile::userPath()};
    FinderIntegration finder_;
    MainWindow window_;
    TarnwickAppDelegate delegate_;
};

} // namespace tarnwick
