#include "Tarnwick/TarnwickAppDelegate.h"

#include "Tarnwick/Desktop/ApplicationInstance.h"
#include "Tarnwick/Desktop/FinderServices.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Views/MainWindow.h"

#include <QCoreApplication>

namespace tarnwick {

void TarnwickAppDelegate::listenTo(ApplicationInstance& instance) {
    connect(&instance, &ApplicationInstance::filesOpened, this, &TarnwickAppDelegate::open);
    connect(&instance, &ApplicationInstance::activated, this, &TarnwickAppDelegate::activate);
    connect(&instance, &ApplicationInstance::actionRequested, this, &TarnwickAppDelegate::perform);
}

void TarnwickAppDelegate::open(const QList<QUrl>& urls, bool isAskedFor) {
    opened_.open(urls, isAskedFor);
}

void TarnwickAppDelegate::activate(const QString& activationToken) {
    parts_.window.raise(activationToken);
}

void TarnwickAppDelegate::perform(const QString& action) {
    if (action == "open") {
        parts_.model.chooseFiles();
    } else if (action == "settings") {
        parts_.extensionSettings.showExtensionManagementInterface();
    }
}

void TarnwickAppDelegate::end() {
    QCoreApplication::quit();
}

} // namespace tarnwick
