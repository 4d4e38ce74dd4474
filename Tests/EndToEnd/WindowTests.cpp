// The application with the real tools on real pictures, in a real window system (Xvfb will do).

#include "Foundation/FileContents.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileOperations.h"
#include "History/UndoStore.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"
#include "Tarnwick/QtSupport/QtConversions.h"
#include "Tarnwick/TarnwickApp.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QQuickItem>
#include <QTest>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iostream>

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

/// A copy of one of the sample pictures.
URL sample(const TemporaryFolder& folder, const std::string& path, const std::string& name) {
    const char* samples = std::getenv("TARNWICK_TESTDATA");
    fs::copy_file(fs::path(samples != nullptr ? samples : "/usr/share/libjxl-testdata") / path,
                  (folder / name).path());
    return folder / name;
}

/// The history and the settings are in folders of the test.
void useFolders(const TemporaryFolder& folder) {
    qputenv("XDG_DATA_HOME", (folder / "data").path().c_str());
    qputenv("XDG_CONFIG_HOME", (folder / "configuration").path().c_str());
}

QQuickItem* rowOf(QQuickItem& list, int index) {
    QQuickItem* found = nullptr;
    EXPECT_TRUE(QTest::qWaitFor([&] {
        QMetaObject::invokeMethod(&list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, found), Q_ARG(int, index));
        return found != nullptr;
    }));
    return found;
}

void drop(QWindow& window, const QList<QUrl>& files) {
    QMimeData data;
    data.setUrls(files);
    QDragEnterEvent enter({200, 200}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    QDropEvent event(QPointF(200, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &event);
}

TEST(TarnwickApp, CompressesComparesAndRestoresPicturesOfAllKinds) {
    const TemporaryFolder folder;
    useFolders(folder);
    // This bundle holds nothing: the tools come from Vendor/Bin, and no helper is started.
    TarnwickApp app(ApplicationBundle(folder / "Tarnwick.app/Contents/Linux/Tarnwick"));
    QQuickWindow& window = *app.window().window();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    auto& list = *window.findChild<QQuickItem*>("list");

    const URL photo = sample(folder, "jxl/flower/flower_cropped.jpg", "海边的花.jpg");
    const std::string original = hash(photo);
    drop(window,
         {toQUrl(photo),
          toQUrl(sample(folder, "external/wesaturate/500px/u76c0g_bliznaca_srgb8.png", "a.png")),
          toQUrl(sample(folder, "jxl/animation_patches.gif", "animation.gif")),
          toQUrl(sample(folder, "external/wesaturate/500px/tmshre_riaphotographs_alpha.png", "alpha.png")),
          toQUrl(test::copyPicture("large.heic", folder / "IMG_0007.heic"))});
    EXPECT_TRUE(app.model().isCompressing());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !app.model().isCompressing(); }, 240'000));
    EXPECT_EQ(app.model().doneCount(), 5);
    for (int index = 0; index < 5; ++index) {
        EXPECT_FALSE(rowOf(list, index)->property("isFailed").toBool())
            << rowOf(list, index)->property("statusText").toString().toStdString();
    }
    EXPECT_NE(hash(photo), original);

    list.forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&window, Qt::Key_Home);
    QTest::keyClick(&window, Qt::Key_Space);
    const QQuickItem* canvas = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            canvas = window.findChild<QQuickItem*>("canvas");
            return canvas != nullptr && canvas->isVisible();
        },
        30'000));
    QTest::keyClick(&window, Qt::Key_Escape);
    const auto& restore = *rowOf(list, 0)->findChild<QQuickItem*>("restoreAction");
    ASSERT_TRUE(QTest::qWaitFor([&] { return restore.isVisible(); }));
    QTest::mouseClick(&window, Qt::LeftButton, {}, restore.mapToScene({10, 10}).toPoint());
    ASSERT_TRUE(QTest::qWaitFor([&] { return hash(photo) == original; }, 30'000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return rowOf(list, 0)->property("statusText") == "已恢复原图"; }));
    EXPECT_EQ(warnings, 0) << "see above";
}

TEST(TarnwickApplication, HandsTheFilesOfASecondStartToTheFirst) {
    const TemporaryFolder folder;
    useFolders(folder);
    const URL picture = sample(folder, "jxl/flower/flower_cropped.jpg", "photo.jpg");
    const URL opened = sample(folder, "jxl/flower/flower_cropped.jpg", "opened.jpg");
    const auto bytes = fileSize(picture);
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
    EXPECT_TRUE(QTest::qWaitFor(isKept, 30'000)) << "no helper keeps the backup";
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
