#include "Tarnwick/Model/FinderIntegration.h"

#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Desktop/FinderServices.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <QDebug>
#include <utility>

namespace tarnwick {

FinderIntegration::FinderIntegration(const Services& services, const ApplicationBundle& bundle,
                                     const URL& pluginKitDirectory)
    : services_(services), budget_([] { return ToolBudget::Capacity{}; }),
      // It writes in many folders of the user, but needs no network and no further program.
      registration_(bundle, services.launchServices,
                    ToolRunner(pluginKitDirectory, cancellation_, budget_).confinedTo({}),
                    services.pluginKitTimeout, services.sleep),
      worker_(mainThread_.executor()) {}

FinderIntegration::~FinderIntegration() {
    cancellation_.request();
}

void FinderIntegration::registerExtension(bool enable, bool reportFailure) {
    if (std::exchange(isInProgress_, true)) {
        return;
    }
    worker_.run(
        [&registration = registration_, enable] { return registration.run(enable); },
        [this, enable, reportFailure](const std::exception_ptr& error, const std::string& failedMenus) {
            finish(enable, reportFailure, error, failedMenus);
        });
}

void FinderIntegration::registerAtStartUp() {
    registerExtension(!services_.defaults.boolean(completedKey), false);
}

void FinderIntegration::enableFromMenu() {
    registerExtension(true, true);
}

void FinderIntegration::finish(bool enable, bool reportFailure, const std::exception_ptr& error,
                               const std::string& failedMenus) {
    if (!error && enable) {
        services_.defaults.setBoolean(completedKey, true);
    }
    const QString failure = error ? errorText(error) : toQString(failedMenus);
    if (!failure.isEmpty()) {
        qWarning().noquote() << "Tarnwick Finder 注册失败：" + failure;
    }
    if (failure.isEmpty() || !reportFailure) {
        isInProgress_ = false;
    } else if (error) {
        report("Finder 右键菜单暂未启用", "自动启用未通过系统校验。可打开系统设置检查扩展。\n" + failure);
    } else {
        report("部分文件管理器的右键菜单未启用", failure);
    }
}

void FinderIntegration::report(const QString& message, const QString& text) {
    const Alert alert = {
        .message = message, .informativeText = text, .firstButton = "打开系统设置", .secondButton = "稍后"};
    services_.alerts.show(alert, [this](bool isFirstButton) {
        isInProgress_ = false;
        if (isFirstButton) {
            services_.management.showExtensionManagementInterface();
        }
    });
}

} // namespace tarnwick
