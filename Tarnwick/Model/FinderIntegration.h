#pragma once

#include "Process/Cancellation.h"
#include "Process/ToolBudget.h"
#include "Tarnwick/Model/FinderRegistration.h"
#include "Tarnwick/QtSupport/BackgroundWorker.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"

#include <QString>
#include <exception>

namespace tarnwick {

class AlertPresenter;
class Defaults;
class ExtensionManagement;

/// Registers the file managers' extension, and enables it, without the window's waiting for that. One a
/// process; belongs to the main thread, whose event loop it needs.
class FinderIntegration {
public:
    /// All but `sleep` must outlive the integration.
    struct Services {
        LaunchServices& launchServices;
        Defaults& defaults;
        AlertPresenter& alerts;
        ExtensionManagement& management;
        FinderRegistration::Sleep sleep = &sleepUnlessCancelled;
    };

    /// The setting that tells that enabling has succeeded once.
    static constexpr auto completedKey = "FinderIntegrationAutoEnableCompleted";

    /// `pluginKitDirectory` holds the tool `pluginkit`.
    FinderIntegration(const Services& services, const ApplicationBundle& bundle,
                      const URL& pluginKitDirectory);
    /// Ends a run, with at most the second that a tool has to end in; its result is dropped.
    ~FinderIntegration();
    FinderIntegration(const FinderIntegration&) = delete;
    FinderIntegration& operator=(const FinderIntegration&) = delete;

    /// Starts a run, unless one is in progress, up to the answer to its alert. A failure is logged, and told
    /// in an alert when `reportFailure` is set.
    void registerExtension(bool enable, bool reportFailure);
    /// What every start of the application does: enables only until that has succeeded once.
    void registerAtStartUp();
    /// What the user asked for.
    void enableFromMenu();

    bool isInProgress() const noexcept { return isInProgress_; }

private:
    void ended(bool enable, bool reportFailure, const std::exception_ptr& error);
    void report(const QString& failure);

    Services services_;
    Cancellation cancellation_ = Cancellation::make();
    /// Of its own, so that registering waits for no encoder.
    ToolBudget budget_;
    FinderRegistration registration_;
    bool isInProgress_ = false;
    MainThreadContext mainThread_;
    BackgroundWorker worker_;
};

} // namespace tarnwick
