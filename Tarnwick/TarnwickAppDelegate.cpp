#include "Tarnwick/TarnwickAppDelegate.h"

#include "Tarnwick/Desktop/ApplicationInstance.h"
#include "Tarnwick/Desktop/FinderServices.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Views/MainWindow.h"

#include <QCoreApplication>
#include <QEvent>

namespace tarnwick {

TarnwickAppDelegate::TarnwickAppDelegate(const Parts& parts)
    : parts_(parts), opened_(parts.model, parts.alerts),
      closing_(parts.model, parts.alerts, [this] { end(); }) {
    QCoreApplication::instance()->installEventFilter(this);
}

void TarnwickAppDelegate::listenTo(ApplicationInstance& instance) {
    instance_ = &instance;
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

void TarnwickAppDelegate::close() {
    // A minimized window would hide the question.
    if (parts_.model.isCompressing()) {
        parts_.window.raise();
    }
    closing_.request();
}

void TarnwickAppDelegate::end() {
    if (instance_) {
        instance_->end();
    }
    parts_.model.stop();
    // quit() would ask the window, which does not close by itself.
    QCoreApplication::exit();
}

bool TarnwickAppDelegate::eventFilter(QObject* watched, QEvent* event) {
    // The session's manager ends an application in this way. Nobody is there to answer a question.
    if (event->type() == QEvent::Quit) {
        end();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tarnwick
