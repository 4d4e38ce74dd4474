#pragma once

#include "Process/Cancellation.h"
#include "Process/ToolBudget.h"
#include "Tarnwick/Model/FinderRegistration.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"

#include <QString>
#include <exception>
#include <string>

namespace tarnwick {

class AlertPresenter;
class Defaults;
class ExtensionManagement;

/// Registers and enables the file managers' extension in the background. One per process; belongs to the main
/// thread and needs its event loop.
class FinderIntegration {
public:
    /// The references must outlive the integration.
    struct Services {
        LaunchServices& launchServices;
        Defaults& defaults;
        AlertPresenter& alerts;
        ExtensionManagement& management;
        FinderRegistration::Sleep sleep = &sleepUnlessCancelled;
        /// The seconds that one run of `pluginkit` may take.
        double pluginKitTimeout = 10.0;
    };

    /// The setting that records that enabling has succeeded once, for at least one file manager: what the
    /// user switches off later stays off.
    static constexpr auto completedKey = "FinderIntegrationAutoEnableCompleted";

    /// `pluginKitDirectory` contains the tool `pluginkit`.
    FinderIntegration(const Services& services, const ApplicationBundle& bundle,
                      const URL& pluginKitDirectory);
    /// Cancels a run and drops its result; waits at most the second that a tool has to exit.
    ~FinderIntegration();
    FinderIntegration(const FinderIntegration&) = delete;
    FinderIntegration& operator=(const FinderIntegration&) = delete;

    /// Starts a run unless one is in progress, which includes its alert. A failure, also of a single menu, is
    /// logged, and shown in an alert when `reportFailure` is set.
    void registerExtension(bool enable, bool reportFailure);
    /// Run at every start of the application: enables only until that has succeeded once.
    void registerAtStartUp();
    /// The menu entry "启用 Finder 右键菜单".
    void enableFromMenu();

    bool isInProgress() const noexcept { return isInProgress_; }

private:
    void finish(bool enable, bool reportFailure, const std::exception_ptr& error,
                const std::string& failedMenus);
    void report(const QString& message, const QString& text);

    Services services_;
    Cancellation cancellation_ = Cancellation::make();
    /// A budget of its own, so that registering waits for no encoder.
    ToolBudget budget_;
    FinderRegistration registration_;
    bool isInProgress_ = false;
    MainThreadContext mainThread_;
    BackgroundWorker worker_;
};

} // namespace tarnwick
