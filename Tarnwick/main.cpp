#include "Engine/CompressionEngine.h"
#include "Process/Cancellation.h"
#include "Scheduling/CompressionQueue.h"
#include "Tarnwick/Desktop/ApplicationBundle.h"
#include "Tarnwick/Desktop/ApplicationInstance.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusNotifications.h"
#include "Tarnwick/Desktop/DesktopFileRevealer.h"
#include "Tarnwick/Desktop/DesktopLaunchServices.h"
#include "Tarnwick/Desktop/LogindWakeMonitor.h"
#include "Tarnwick/Desktop/MenuExtensions.h"
#include "Tarnwick/Desktop/SettingsFile.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/Model/FinderIntegration.h"
#include "Tarnwick/Model/OpenedFiles.h"
#include "Tarnwick/Views/MainWindow.h"

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <cstdlib>

namespace {

struct Request {
    QList<QUrl> files;
    /// The user asked for the files' compression, and didn't only open them.
    bool isAskedFor = true;
};

Request requestOf(const QGuiApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("压缩图片，画质不变。"));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("图片"), QStringLiteral("要压缩的图片"),
                                 QStringLiteral("[图片…]"));
    const QCommandLineOption open(QStringLiteral("open"), QStringLiteral("压缩前先询问"));
    parser.addOption(open);
    parser.process(application);
    Request request = {.files = {}, .isAskedFor = !parser.isSet(open)};
    for (const QString& argument : parser.positionalArguments()) {
        request.files.append(QUrl::fromUserInput(argument, QDir::currentPath(), QUrl::AssumeLocalFile));
    }
    return request;
}

void connectInstance(tarnwick::ApplicationInstance& instance, tarnwick::MainWindow& window,
                     tarnwick::AppModel& model, tarnwick::OpenedFiles& openedFiles,
                     tarnwick::ExtensionSettings& extensionSettings) {
    using tarnwick::ApplicationInstance;
    QObject::connect(&instance, &ApplicationInstance::activated, &window, &tarnwick::MainWindow::raise);
    QObject::connect(
        &instance, &ApplicationInstance::filesOpened, &model,
        [&openedFiles](const QList<QUrl>& urls, bool isAskedFor) { openedFiles.open(urls, isAskedFor); });
    // The actions of the desktop entry.
    QObject::connect(&instance, &ApplicationInstance::actionRequested, &model,
                     [&model, &extensionSettings](const QString& name) {
                         if (name == "open") {
                             model.chooseFiles();
                         } else if (name == "settings") {
                             extensionSettings.showExtensionManagementInterface();
                         }
                     });
}

int runWindow(tarnwick::ApplicationInstance& instance, const Request& request) {
    using namespace tarnwick;
    const auto bundle = ApplicationBundle::running();
    DBusNotifications notifications;
    LogindWakeMonitor wake;
    BundleHelperLauncher helper(bundle.helperExecutable());
    QuickFileChooser chooser;
    DesktopFileRevealer revealer;
    SystemClock clock;
    const Cancellation cancellation;
    AppModel model({CompressionQueue::shared(), notifications, wake, helper, chooser, revealer, clock},
                   makeApplicationEngine(bundle.toolDirectory(), cancellation), cancellation);
    MenuExtensions extensions({bundle.executable(), UserDirectories::fromEnvironment()});
    ExtensionSettings extensionSettings(extensions);
    QuickAlertPresenter alerts;
    DesktopLaunchServices launchServices;
    SettingsFile defaults(SettingsFile::userPath());
    FinderIntegration finder({launchServices, defaults, alerts, extensionSettings}, bundle,
                             bundle.pluginKitDirectory());
    MainWindow window({model, chooser, alerts, extensionSettings});
    if (!window.isOpen()) {
        return EXIT_FAILURE;
    }
    QObject::connect(&window, &MainWindow::finderEnableRequested, [&finder] { finder.enableFromMenu(); });
    QObject::connect(&window, &MainWindow::finderSettingsRequested, &extensionSettings,
                     &ExtensionSettings::showExtensionManagementInterface);
    OpenedFiles openedFiles(model, alerts);
    connectInstance(instance, window, model, openedFiles, extensionSettings);
    finder.registerAtStartUp();
    openedFiles.open(request.files, request.isAskedFor);
    return QGuiApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("Tarnwick"));
    QGuiApplication::setApplicationVersion(QStringLiteral(TARNWICK_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("app.tarnwick.Tarnwick"));
    const Request request = requestOf(application);
    tarnwick::ApplicationInstance instance;
    if (instance.start(request.files, request.isAskedFor) == tarnwick::ApplicationInstance::Role::second) {
        return EXIT_SUCCESS;
    }
    tarnwick::MainWindow::prepareApplication();
    return runWindow(instance, request);
}
