#include "Engine/CompressionEngine.h"
#include "Scheduling/CompressionQueue.h"
#include "Support/FakeTools.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/QtSupport/QtConversions.h"
#include "Tarnwick/Views/MainWindow.h"

#include <QtQuickTest/quicktest.h>

#include <QDir>
#include <QDragEnterEvent>
#include <QFile>
#include <QMimeData>
#include <QMouseEvent>
#include <QQmlEngine>
#include <QQuickItem>
#include <algorithm>

namespace tarnwick::test {

/// A real model on real files with fake tools, for one window.
class World : public QObject, private FileRevealer {
    Q_OBJECT
    /// The window's initial properties.
    Q_PROPERTY(QVariantMap windowProperties READ windowProperties CONSTANT)
    /// The answers to alerts, "1" for the first button and "2" for the second.
    Q_PROPERTY(QString answers MEMBER answers_)
    /// The last file that was to be shown in the file manager.
    Q_PROPERTY(QString revealed MEMBER revealed_)

public:
    World() {
        tools_.scores({"90"});
        for (const char* tool : {"pngquant", "oxipng"}) {
            tools_.script(tool, {{"wait-for", (home_ / "go").path()},
                                 {"output", test::picture("large-small.png").path()}});
        }
        release();
    }

    QVariantMap windowProperties() {
        return {{"model", QVariant::fromValue(&model_)},
                {"chooser", QVariant::fromValue(&chooser_)},
                {"alerts", QVariant::fromValue(&alerts_)},
                {"extensionSettings", QVariant::fromValue(&extensionSettings_)},
                {"viewState", QVariant::fromValue(&viewState_)}};
    }

    /// A new picture that the tools make smaller.
    Q_INVOKABLE QUrl picture(const QString& name) const {
        return toQUrl(copyPicture("large.png", home_ / name.toStdString()));
    }
    Q_INVOKABLE QUrl text(const QString& name) const {
        return toQUrl(home_.file(name.toStdString(), "no picture"));
    }
    Q_INVOKABLE bool isOriginal(const QUrl& picture) const {
        return contents(fromQUrl(picture)) == pictureText("large.png");
    }
    /// Compressions wait in their first tool until they are released.
    Q_INVOKABLE void hold() const { QFile::remove(path("go")); }
    Q_INVOKABLE void release() const { home_.file("go", ""); }

    /// Makes these programs the file managers of the machine.
    Q_INVOKABLE void install(const QStringList& fileManagers) const {
        QDir(path("bin")).removeRecursively();
        QDir().mkpath(path("bin"));
        for (const QString& name : fileManagers) {
            QFile::copy("/bin/true", path("bin/" + name));
        }
    }
    Q_INVOKABLE bool isEnabled(const QString& fileManager) const {
        const auto states = menus_.states();
        return std::any_of(states.begin(), states.end(), [&](const auto& state) {
            return QString::fromStdString(name(state.fileManager)).startsWith(fileManager) && state.isEnabled;
        });
    }
    /// Puts a file where a folder for the file managers' entries is to be made.
    Q_INVOKABLE void blockFolder(const QString& name) const {
        QDir().mkpath(path("data"));
        home_.file("data/" + name.toStdString(), "in the way");
    }
    Q_INVOKABLE void alert() {
        alerts_.show({.message = "<img src='x' width='9' height='900'>启用？",
                      .informativeText = "",
                      .firstButton = "是",
                      .secondButton = "否"},
                     [this](bool isFirstButton) { answers_ += isFirstButton ? "1" : "2"; });
    }

    Q_INVOKABLE void dragOver(QWindow* window, const QList<QUrl>& files) const {
        sendDrag<QDragEnterEvent>(window, files);
    }
    Q_INVOKABLE void dragAway(QWindow* window) const {
        QDragLeaveEvent event;
        QCoreApplication::sendEvent(window, &event);
    }
    Q_INVOKABLE void drop(QWindow* window, const QList<QUrl>& files) const {
        dragOver(window, files);
        sendDrag<QDropEvent>(window, files);
    }
    /// Two clicks in quick succession. QtTest's own clicks are too far apart in time.
    Q_INVOKABLE void doubleClick(QQuickItem* item, qreal x, qreal y) {
        const QPointF place = item->mapToScene({x, y});
        QWindow* window = item->window();
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            const auto held = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
            QMouseEvent event(type, place, window->mapToGlobal(place), Qt::LeftButton, held, Qt::NoModifier);
            event.setTimestamp(clickTime_ += 10);
            QCoreApplication::sendEvent(window, &event);
        }
        clickTime_ += 10'000;
    }

private:
    void reveal(const URL& file) override { revealed_ = toQString(file.path()); }
    QString path(const QString& name) const { return toQString(home_.url().path()) + "/" + name; }
    template <typename Event>
    void sendDrag(QWindow* window, const QList<QUrl>& files) const {
        QMimeData data;
        data.setUrls(files);
        Event event(QPoint(window->width() / 2, window->height() / 2), Qt::CopyAction, &data, Qt::LeftButton,
                    Qt::NoModifier);
        QCoreApplication::sendEvent(window, &event);
    }

    TemporaryFolder home_;
    FakeTools tools_;
    DBusNotifications notifications_;
    LogindWakeMonitor wake_;
    BundleHelperLauncher helper_{home_ / "absent"};
    QuickFileChooser chooser_;
    QuickAlertPresenter alerts_;
    FileManagerMenus menus_{home_ / "Tarnwick",
                            {.data = home_ / "data",
                             .configuration = home_ / "config",
                             .systemConfiguration = {},
                             .executables = {home_ / "bin"},
                             .libraries = {}}};
    ExtensionSettings extensionSettings_{menus_};
    MainWindowViewState viewState_;
    SystemClock clock_;
    CompressionQueue queue_{2, home_ / "Locks"};
    AppModel model_{{queue_, notifications_, wake_, helper_, chooser_, *this, clock_, alerts_},
                    CompressionEngine(tools_.folder(), UndoStore(home_ / "Undo"), 60, 70, 70)};
    QString revealed_;
    QString answers_;
    quint64 clickTime_ = 1'000'000;
};

/// Prepares the test cases as main() prepares the application.
class Setup : public QObject {
    Q_OBJECT

public slots:
    void applicationAvailable() { MainWindow::prepareApplication(); }
    void qmlEngineAvailable(QQmlEngine* engine) {
        MainWindow::prepareEngine(*engine);
        qmlRegisterType<World>("TarnwickTests", 1, 0, "World");
    }
};

} // namespace tarnwick::test

QUICK_TEST_MAIN_WITH_SETUP(Window, tarnwick::test::Setup)

#include "WindowTests.moc"
