#include "Tarnwick/Views/MainWindow.h"
#include "Tarnwick/Views/World.h"

#include <QtQuickTest/quicktest.h>

#include <QQmlEngine>

/// Gives the test cases what main() gives the application.
class Setup : public QObject {
    Q_OBJECT

public slots:
    void applicationAvailable() { tarnwick::MainWindow::prepareApplication(); }
    void qmlEngineAvailable(QQmlEngine* engine) {
        tarnwick::MainWindow::prepareEngine(*engine);
        qmlRegisterType<tarnwick::test::World>("TarnwickTests", 1, 0, "World");
    }
};

QUICK_TEST_MAIN_WITH_SETUP(Window, Setup)

#include "WindowTests.moc"
