#include "Foundation/Environment.h"
#include "Process/Signals.h"
#include "Tarnwick/Desktop/ApplicationInstance.h"
#include "Tarnwick/TarnwickApp.h"

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <QSocketNotifier>
#include <cstdlib>

namespace {

struct Request {
    QList<QUrl> files;
    /// The user asked for the files to be compressed, and did not only open them.
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

int runWindow(tarnwick::ApplicationInstance& instance, const Request& request) {
    tarnwick::MainWindow::prepareApplication();
    tarnwick::TarnwickApp app(tarnwick::ApplicationBundle::running());
    if (!app.window().isOpen()) {
        return EXIT_FAILURE;
    }
    QSocketNotifier termination(tarnwick::signalCancellation().descriptor(), QSocketNotifier::Read);
    QObject::connect(&termination, &QSocketNotifier::activated, &app.delegate(), [&] {
        termination.setEnabled(false);
        app.delegate().end();
    });
    app.delegate().listenTo(instance);
    app.finder().registerAtStartUp();
    app.delegate().open(request.files, request.isAskedFor);
    return QGuiApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    tarnwick::prepareEnvironment();
    tarnwick::installSignalHandlers();
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("Tarnwick"));
    QGuiApplication::setApplicationVersion(QStringLiteral(TARNWICK_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("app.tarnwick.Tarnwick"));
    const Request request = requestOf(application);
    tarnwick::ApplicationInstance instance;
    if (instance.start(request.files, request.isAskedFor) == tarnwick::ApplicationInstance::Role::second) {
        return EXIT_SUCCESS;
    }
    return runWindow(instance, request);
}
