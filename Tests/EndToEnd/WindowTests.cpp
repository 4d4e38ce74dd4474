// The window with the real tools on real pictures, in a real window system (Xvfb will do). With
// TARNWICK_SCREENSHOTS set to a folder it leaves pictures of the window there.

#include "Engine/CompressionEngine.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Process/Cancellation.h"
#include "Scheduling/CompressionQueue.h"
#include "Support/HEIFMaker.h"
#include "Support/TemporaryFolder.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusNotifications.h"
#include "Tarnwick/Desktop/DesktopFileRevealer.h"
#include "Tarnwick/Desktop/LogindWakeMonitor.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/Conversions.h"
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
    QQuickItem& row(int index) const {
        QQuickItem* found = nullptr;
        EXPECT_TRUE(QTest::qWaitFor([&] {
            QMetaObject::invokeMethod(&item("list"), "itemAtIndex", Q_RETURN_ARG(QQuickItem*, found),
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
    void shoot(const QString& name) const {
        QTest::qWait(500);
        const QImage image = window().grabWindow();
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
    DesktopFileRevealer revealer;
    SystemClock clock;
    Cancellation cancellation;
    CompressionQueue queue{4, home / "Locks"};
    AppModel model{
        {queue, notifications, wake, helper, chooser, revealer, clock},
        CompressionEngine(URL::file(TARNWICK_TOOLS), UndoStore(home / "Undo"), 60, 70, 70, cancellation),
        cancellation};

private:
    MainWindow mainWindow_{model, chooser};
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
    test::writeHEIF(pictures / "IMG_0007.heic", {.width = 512, .height = 384});
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

    QPalette night;
    night.setColor(QPalette::Window, Qt::black);
    night.setColor(QPalette::WindowText, Qt::white);
    const QPalette day = QGuiApplication::palette();
    QGuiApplication::setPalette(night);
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

/// The application as it is installed; its files and its history are in a folder of the test.
TEST(ApplicationTests, aSecondStartHandsItsFilesToTheFirst) {
    const TemporaryFolder folder;
    const URL picture = sample(folder, "jxl/flower/flower_cropped.jpg", "photo.jpg");
    const auto bytes = fileSize(picture);
    qputenv("XDG_DATA_HOME", (folder / "data").path().c_str());
    QProcess first;
    first.setProcessChannelMode(QProcess::ForwardedChannels);
    first.start(TARNWICK_APPLICATION, QStringList());
    auto* bus = QDBusConnection::sessionBus().interface();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return bus->isServiceRegistered("app.tarnwick.Tarnwick").value(); }, 30'000));
    QProcess second;
    second.setWorkingDirectory(toQString(folder.url().path()));
    second.start(TARNWICK_APPLICATION, {"photo.jpg"});
    ASSERT_TRUE(second.waitForFinished(30'000));
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return fileSize(picture) < bytes; }, 60'000));
    first.terminate();
    EXPECT_TRUE(first.waitForFinished(10'000));
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
