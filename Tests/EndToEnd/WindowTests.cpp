// The window with the real tools on real pictures, in a real window system (Xvfb will do). With
// TARNWICK_SCREENSHOTS set to a folder it leaves pictures of the window there.

#include "Engine/CompressionEngine.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileOperations.h"
#include "Process/Cancellation.h"
#include "Scheduling/CompressionQueue.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "Tarnwick/Desktop/DesktopFileRevealer.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/QtSupport/QtConversions.h"
#include "Tarnwick/Views/MainWindow.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QPalette>
#include <QProcess>
#include <QQuickItem>
#include <QTest>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

namespace tarnwick {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

std::atomic<int> warnings = 0;

void noteMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
    std::cerr << message.toStdString() << '\n';
    if (type != QtDebugMsg && type != QtInfoMsg) {
        ++warnings;
    }
}

fs::path samples() {
    const char* folder = std::getenv("TARNWICK_TESTDATA");
    return folder != nullptr ? folder : "/usr/share/libjxl-testdata";
}

QPalette nightPalette() {
    QPalette night;
    night.setColor(QPalette::Window, Qt::black);
    night.setColor(QPalette::WindowText, Qt::white);
    return night;
}

URL sample(const TemporaryFolder& folder, const std::string& path, const std::string& name) {
    fs::copy_file(samples() / path, (folder / name).path());
    return folder / name;
}

class WindowEndToEndTests : public testing::Test {
protected:
    WindowEndToEndTests() {
        window().resize(560, 640);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window()));
    }
    ~WindowEndToEndTests() override { EXPECT_EQ(warnings, 0) << "see above"; }

    QQuickWindow& window() const { return *mainWindow_.window(); }

    QQuickItem& item(const char* name) const {
        auto* found = window().findChild<QQuickItem*>(name);
        EXPECT_NE(found, nullptr) << name;
        return *found;
    }
    QQuickItem& row(int index) const { return rowOf(item("list"), index); }
    static QQuickItem& rowOf(QQuickItem& list, int index) {
        QQuickItem* found = nullptr;
        EXPECT_TRUE(QTest::qWaitFor([&] {
            QMetaObject::invokeMethod(&list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, found),
                                      Q_ARG(int, index));
            return found != nullptr;
        }));
        return *found;
    }
    static QPoint middle(const QQuickItem& item) {
        return item.mapToScene({item.width() / 2, item.height() / 2}).toPoint();
    }
    void point(const QQuickItem& item) const {
        QTest::mouseMove(&window(), middle(item));
        QTest::qWait(400);
    }
    void click(const QQuickItem& item) const {
        point(item);
        QTest::mouseClick(&window(), Qt::LeftButton, {}, middle(item));
    }
    /// The window takes the files as if they were dropped on it.
    void drop(const QList<QUrl>& files) const {
        QMimeData data;
        data.setUrls(files);
        QDragEnterEvent enter({200, 200}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window(), &enter);
        QDropEvent event(QPointF(200, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window(), &event);
    }
    void shoot(const QString& name) const { shoot(name, window()); }
    static void shoot(const QString& name, QQuickWindow& shot) {
        QTest::qWait(500);
        const QImage image = shot.grabWindow();
        EXPECT_FALSE(image.isNull());
        const QString folder = qEnvironmentVariable("TARNWICK_SCREENSHOTS");
        if (!folder.isEmpty()) {
            EXPECT_TRUE(image.save(folder + "/" + name + ".png"));
        }
    }
    void addOldRows(const URL& picture, int count) {
        std::vector<ImageTask> tasks;
        for (int number = 0; number < count; ++number) {
            UndoRecord record{.id = UUID::random(),
                              .sessionID = UUID::random(),
                              .createdAt = Date::now(),
                              .originalPath = picture.path(),
                              .backupName = "backup.jpg",
                              .originalBytes = 1'000'000 + number * 9'973,
                              .replacementBytes = 319'000 + number * 1'313,
                              .replacementHash = {},
                              .originalHash = {},
                              .state = UndoRecord::State::committed,
                              .convertedPath = {}};
            tasks.push_back(ImageTask::fromHistory(record, true));
        }
        model.tasks()->insert(model.tasks()->count(), std::move(tasks));
    }

    TemporaryFolder pictures;
    TemporaryFolder home;
    DBusNotifications notifications;
    LogindWakeMonitor wake;
    BundleHelperLauncher helper{home / "absent"};
    QuickFileChooser chooser;
    QuickAlertPresenter alerts;
    FileManagerMenus menus{home / "Tarnwick",
                           {.data = home / "data",
                            .configuration = home / "config",
                            .systemConfiguration = {},
                            .executables = {home / "bin"},
                            .libraries = {}}};
    ExtensionSettings extensionSettings{menus};
    DesktopFileRevealer revealer;
    SystemClock clock;
    Cancellation cancellation;
    CompressionQueue queue{4, home / "Locks"};
    AppModel model{
        {queue, notifications, wake, helper, chooser, revealer, clock},
        CompressionEngine(URL::file(TARNWICK_TOOLS), UndoStore(home / "Undo"), 60, 70, 70, cancellation),
        cancellation};

private:
    MainWindow mainWindow_{MainWindow::Models{model, chooser, alerts, extensionSettings}};
};

TEST_F(WindowEndToEndTests, compressesRestoresAndComparesPicturesOfAllKinds) {
    shoot("first");
    const URL photo = sample(pictures, "jxl/flower/flower_cropped.jpg", "海边的花.jpg");
    const std::string original = hash(photo);
    const URL long1 = sample(pictures, "external/wesaturate/500px/u76c0g_bliznaca_srgb8.png",
                             "screenshot-2026-11-21-with-a-very-long-name-that-does-not-fit.png");
    const URL animation = sample(pictures, "jxl/animation_patches.gif", "animation.gif");
    const URL alpha =
        sample(pictures, "external/wesaturate/500px/tmshre_riaphotographs_alpha.png", "logo.png");
    test::copyPicture("large.heic", pictures / "IMG_0007.heic");
    drop(
        {toQUrl(photo), toQUrl(long1), toQUrl(animation), toQUrl(alpha), toQUrl(pictures / "IMG_0007.heic")});
    EXPECT_TRUE(model.isCompressing());
    QTest::qWait(600);
    shoot("working");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isCompressing(); }, 240'000));
    EXPECT_EQ(model.doneCount(), 5);
    for (int index = 0; index < 5; ++index) {
        EXPECT_FALSE(row(index).property("isFailed").toBool())
            << row(index).property("statusText").toString().toStdString();
    }
    EXPECT_NE(hash(photo), original);
    point(row(0));
    QTest::qWait(2000);
    shoot("done");

    item("list").forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&window(), Qt::Key_Home);
    QTest::keyClick(&window(), Qt::Key_Space);
    const auto* canvas = [&] {
        EXPECT_TRUE(QTest::qWaitFor([&] { return window().findChild<QQuickItem*>("canvas") != nullptr; }));
        return window().findChild<QQuickItem*>("canvas");
    }();
    ASSERT_NE(canvas, nullptr);
    ASSERT_TRUE(QTest::qWaitFor([&] { return canvas->isVisible(); }, 30'000));
    window().resize(880, 620);
    shoot("comparison");
    QTest::keyClick(&window(), Qt::Key_Escape);
    window().resize(560, 640);
    ASSERT_TRUE(QTest::qWaitFor([&] { return row(0).width() < 560; }));

    click(*row(0).findChild<QQuickItem*>("restoreAction"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return hash(photo) == original; }, 30'000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return row(0).property("statusText") == "已恢复原图"; }));

    drop({toQUrl(pictures.file("note.txt", "text"))});
    shoot("alert");
    QTest::keyClick(&window(), Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([&] { return model.alertMessage().isEmpty(); }));

    const QPalette day = QGuiApplication::palette();
    QGuiApplication::setPalette(nightPalette());
    point(row(3));
    shoot("dark");
    QGuiApplication::setPalette(day);
    window().resize(420, 480);
    shoot("small");
    addOldRows(photo, 500);
    window().resize(560, 640);
    item("list").forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&window(), Qt::Key_End);
    EXPECT_EQ(item("list").property("currentIndex"), 504);
    shoot("hundreds");
}

TEST_F(WindowEndToEndTests, switchesTheEntriesOfTheFileManagers) {
    auto* settings = window().findChild<QQuickWindow*>("extensionSettings");
    ASSERT_NE(settings, nullptr);
    extensionSettings.showExtensionManagementInterface();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(settings));
    ASSERT_TRUE(QTest::qWaitFor([&] { return extensionSettings.isLoaded(); }));
    EXPECT_EQ(extensionSettings.count(), 0);
    shoot("settings-none", *settings);

    createDirectories(home / "bin");
    for (const char* program : {"nautilus", "nemo", "caja", "thunar", "dolphin"}) {
        fs::copy_file("/bin/true", (home / "bin").appending(program).path());
    }
    extensionSettings.reload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return extensionSettings.count() == 5; }));
    QTest::qWait(200);
    shoot("settings", *settings);
    auto* first = rowOf(*settings->findChild<QQuickItem*>("extensionList"), 0)
                      .findChild<QQuickItem*>("extensionSwitch");
    ASSERT_NE(first, nullptr);
    QTest::mouseClick(settings, Qt::LeftButton, {}, middle(*first));
    EXPECT_TRUE(QTest::qWaitFor([&] { return menus.states().front().isEnabled; }));
    shoot("settings-enabled", *settings);

    // The next entry's folder cannot be made.
    home.file("data/nemo", "in the way");
    extensionSettings.setEnabled(1, true);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !extensionSettings.failure().isEmpty(); }));
    shoot("settings-failure", *settings);
    const QPalette day = QGuiApplication::palette();
    QGuiApplication::setPalette(nightPalette());
    shoot("settings-dark", *settings);
    alerts.show({.message = "Finder 右键菜单暂未启用",
                 .informativeText = "自动启用未通过系统校验。可打开系统设置检查扩展。\n"
                                    "macOS 尚未确认此安装位置的 Finder 扩展已启用。",
                 .firstButton = "打开系统设置",
                 .secondButton = "稍后"},
                [](bool) {});
    shoot("question-dark");
    QGuiApplication::setPalette(day);
    shoot("question");
    alerts.finish(false);
}

/// The application as it is installed; its files and its history are in a folder of the test.
TEST(ApplicationTests, aSecondStartHandsItsFilesToTheFirst) {
    const TemporaryFolder folder;
    const URL picture = sample(folder, "jxl/flower/flower_cropped.jpg", "photo.jpg");
    const URL opened = sample(folder, "jxl/flower/flower_cropped.jpg", "opened.jpg");
    const auto bytes = fileSize(picture);
    qputenv("XDG_DATA_HOME", (folder / "data").path().c_str());
    qputenv("XDG_CONFIG_HOME", (folder / "configuration").path().c_str());
    QProcess first;
    first.setProcessChannelMode(QProcess::ForwardedChannels);
    first.start(TARNWICK_APPLICATION, QStringList());
    auto* bus = QDBusConnection::sessionBus().interface();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return bus->isServiceRegistered("app.tarnwick.Tarnwick").value(); }, 30'000));
    const auto startAgain = [&](const QStringList& arguments) {
        QProcess second;
        second.setWorkingDirectory(toQString(folder.url().path()));
        second.start(TARNWICK_APPLICATION, arguments);
        EXPECT_TRUE(second.waitForFinished(30'000));
        EXPECT_EQ(second.exitCode(), 0);
    };
    startAgain({"--open", "opened.jpg"});
    startAgain({"photo.jpg"});
    EXPECT_TRUE(QTest::qWaitFor([&] { return fileSize(picture) < bytes; }, 60'000));
    const auto isKept = [] { return FileLock::isHeld(helperLockFile()); };
    EXPECT_TRUE(QTest::qWaitFor(isKept, 30'000)) << "nobody keeps the backup";
    EXPECT_EQ(fileSize(opened), bytes) << "compressed without a question";
    first.terminate();
    EXPECT_TRUE(first.waitForFinished(10'000));
    UndoStore().removeAll();
    postNotification(NotificationName::undoDidChange);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !isKept(); }, 30'000)) << "the helper outlives the test";
}

} // namespace
} // namespace tarnwick

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QGuiApplication application(argc, argv);
    qInstallMessageHandler(tarnwick::noteMessage);
    tarnwick::MainWindow::prepareApplication();
    return RUN_ALL_TESTS();
}
