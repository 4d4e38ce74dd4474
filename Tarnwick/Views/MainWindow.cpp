#include "Tarnwick/Views/MainWindow.h"

#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/Views/Icons/LucideIcons.h"

#include <QFont>
#include <QGuiApplication>
#include <QQuickStyle>

extern void qml_register_types_Tarnwick();

namespace tarnwick {

namespace {

/// Used where the desktop's own font has no Chinese. Without it the glyphs of another region may be chosen.
constexpr auto chineseFont = "Noto Sans CJK SC";

} // namespace

void MainWindow::prepareApplication() {
    QQuickStyle::setStyle("Basic");
    QFont font = QGuiApplication::font();
    font.setFamilies({font.family(), chineseFont});
    QGuiApplication::setFont(font);
}

void MainWindow::prepareEngine(QQmlEngine& engine) {
    // The linker leaves out a static library's registration when nothing refers to it.
    volatile auto registration = &qml_register_types_Tarnwick;
    Q_UNUSED(registration);
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.addImageProvider(QStringLiteral("icon"), new LucideIcons);
}

MainWindow::MainWindow(const Models& models) {
    prepareEngine(engine_);
    engine_.setInitialProperties({{"model", QVariant::fromValue(&models.model)},
                                  {"chooser", QVariant::fromValue(&models.chooser)},
                                  {"alerts", QVariant::fromValue(&models.alerts)},
                                  {"extensionSettings", QVariant::fromValue(&models.extensionSettings)},
                                  {"viewState", QVariant::fromValue(&viewState_)}});
    // Imported by name, because a file's own folder does not provide the types that are written in C++.
    engine_.loadData("import Tarnwick\nMain {}", QUrl(QStringLiteral("qrc:/Tarnwick.qml")));
    if (!engine_.rootObjects().isEmpty()) {
        window_ = qobject_cast<QQuickWindow*>(engine_.rootObjects().constFirst());
    }
}

void MainWindow::raise(const QString& activationToken) {
    if (window_ == nullptr) {
        return;
    }
    // The Wayland platform takes the token from here when it activates a window.
    if (!activationToken.isEmpty()) {
        qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    }
    if (window_->visibility() == QWindow::Minimized) {
        window_->showNormal();
    }
    window_->show();
    window_->raise();
    window_->requestActivate();
}

} // namespace tarnwick
