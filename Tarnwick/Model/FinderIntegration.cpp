#include "Tarnwick/Model/FinderIntegration.h"

#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Desktop/FinderServices.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <QDebug>
#include <utility>
#include <variant>

namespace tarnwick {

FinderIntegration::FinderIntegration(const Services& services, const ApplicationBundle& bundle,
                                     const URL& pluginKitDirectory)
    : services_(services), budget_([] { return ToolBudget::Capacity{}; }),
      registration_(bundle, services.launchServices, ToolRunner(pluginKitDirectory, cancellation_, budget_),
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
        [&registration = registration_, enable] {
            registration.run(enable);
            return std::monostate();
        },
        [this, enable, reportFailure](const std::exception_ptr& error, std::monostate) {
            finish(enable, reportFailure, error);
        });
}

void FinderIntegration::registerAtStartUp() {
    registerExtension(!services_.defaults.boolean(completedKey), false);
}

void FinderIntegration::enableFromMenu() {
    registerExtension(true, true);
}

void FinderIntegration::finish(bool enable, bool reportFailure, const std::exception_ptr& error) {
    if (error) {
        const QString failure = errorText(error);
        qWarning().noquote() << "Tarnwick Finder 注册失败：" + failure;
        if (reportFailure) {
            report(failure);
            return;
        }
    } else if (enable) {
        services_.defaults.setBoolean(completedKey, true);
    }
    isInProgress_ = false;
}

void FinderIntegration::report(const QString& failure) {
    const Alert alert = {.message = "Finder 右键菜单暂未启用",
                         .informativeText = "自动启用未通过系统校验。可打开系统设置检查扩展。\n" + failure,
                         .firstButton = "打开系统设置",
                         .secondButton = "稍后"};
    services_.alerts.show(alert, [this](bool isFirstButton) {
        isInProgress_ = false;
        if (isFirstButton) {
            services_.management.showExtensionManagementInterface();
        }
    });
}

} // namespace tarnwick
