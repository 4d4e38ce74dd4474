// The application with the real tools on real pictures, in a real window system (Xvfb will do).

#include "Foundation/FileContents.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileOperations.h"
#include "History/UndoStore.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"
#include "Support/Waiting.h"
#include "Tarnwick/Desktop/ApplicationInstance.h"
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
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <span>

// Last, because of their macros.
#include <X11/Xlib.h>
#include <X11/keysym.h>

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

/// Gives every window of another process the keyboard, and the event.
void sendToWindows(Display* display, XEvent event) {
    Window root = 0;
    Window* windows = nullptr;
    unsigned count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &root, &windows, &count);
    for (const Window window : std::span(windows, count)) {
        XSetInputFocus(display, window, RevertToPointerRoot, CurrentTime);
        event.xany.window = window;
        XSendEvent(display, window, False, NoEventMask, &event);
    }
    XFree(windows);
    XFlush(display);
}

/// Closes the windows as a window manager does, and then presses the default button until `isOver`.
void closeAndConfirm(const std::function<bool()>& isOver) {
    auto* display = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->display();
    XEvent closing = {.type = ClientMessage};
    closing.xclient.format = 32;
    closing.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    closing.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    sendToWindows(display, closing);
    XEvent key = {.type = KeyPress};
    key.xkey.same_screen = True;
    key.xkey.keycode = XKeysymToKeycode(display, XK_Return);
    EXPECT_TRUE(test::waitUntil(isOver, [&] { sendToWindows(display, key), QTest::qWait(50); }));
}

/// The real application, in folders of its own.
class TarnwickApplication : public testing::Test {
protected:
    TarnwickApplication() {
        useFolders(folder);
        // The graphics libraries leak at their end, after they were unloaded: no suppression knows their
        // names.
        qputenv("ASAN_OPTIONS", "detect_leaks=0");
    }
    ~TarnwickApplication() override {
        UndoStore().removeAll();
        postNotification(NotificationName::undoDidChange);
        EXPECT_TRUE(eventually([&] { return !hasHelper(); })) << "the helper outlives the test";
    }

    static bool eventually(const std::function<bool()>& condition) {
        return QTest::qWaitFor(condition, 60'000);
    }
    static bool hasHelper() { return FileLock::isHeld(helperLockFile()); }
    void start(const QStringList& arguments = {}) {
        first.setProcessChannelMode(QProcess::ForwardedChannels);
        first.start(TARNWICK_APPLICATION, arguments);
        auto* bus = QDBusConnection::sessionBus().interface();
        ASSERT_TRUE(eventually([&] { return bus->isServiceRegistered("app.tarnwick.Tarnwick").value(); }));
    }
    void startAgain(const QStringList& arguments) const {
        QProcess second;
        second.setWorkingDirectory(toQString(folder.url().path()));
        second.start(TARNWICK_APPLICATION, arguments);
        EXPECT_TRUE(second.waitForFinished(30'000));
        EXPECT_EQ(second.exitCode(), 0);
    }

    const TemporaryFolder folder;
    QProcess first;
};

TEST_F(TarnwickApplication, HasTheFilesOfASecondStartUnlessThatTookThemBack) {
    // The last one would take the least time.
    const std::string sizes = "jxl/flower/flower_";
    const URL photo = sample(folder, sizes + "cropped.jpg", "photo.jpg");
    const URL opened = sample(folder, sizes + "cropped.jpg", "opened.jpg");
    const URL takenBack = sample(folder, sizes + "small.q85_444_non_interleaved.jpg", "taken-back.jpg");
    const auto bytes = fileSize(photo);
    const auto bytesTakenBack = fileSize(takenBack);
    start();
    ::kill(static_cast<pid_t>(first.processId()), SIGSTOP);
    EXPECT_EQ(ApplicationInstance().start({toQUrl(takenBack)}, true), ApplicationInstance::Role::first);
    ::kill(static_cast<pid_t>(first.processId()), SIGCONT);
    startAgain({"--open", "opened.jpg"});
    startAgain({"photo.jpg"});
    EXPECT_TRUE(eventually([&] { return fileSize(photo) < bytes; }));
    EXPECT_TRUE(eventually(hasHelper)) << "no helper keeps the backup";
    first.terminate();
    EXPECT_TRUE(first.waitForFinished(10'000));
    EXPECT_EQ(fileSize(opened), bytes) << "compressed without a question";
    EXPECT_EQ(fileSize(takenBack), bytesTakenBack);
}

TEST_F(TarnwickApplication, LeavesNothingBehindWhenItEndsAtWork) {
    const std::string original = hash(sample(folder, "jxl/flower/flower.png", "original.png"));
    for (const bool isClosed : {true, false}) {
        UndoStore().removeAll();
        const TemporaryFolder pictures;
        const URL done = sample(pictures, "jxl/animation_patches.gif", "done.gif");
        start({toQString(done.path())});
        ASSERT_TRUE(eventually([] { return !UndoStore().records().empty(); }));
        QStringList rest;
        for (const std::string name : {"1.png", "2.png"}) {
            rest.append(toQString(sample(pictures, "jxl/flower/flower.png", name).path()));
        }
        startAgain(rest);
        const QStringList tools = {"-f", "Resources/Tools/.*" + toQString(pictures.url().path())};
        ASSERT_TRUE(eventually([&] { return QProcess::execute("pgrep", tools) == 0; }));
        const auto hasEnded = [&] { return first.state() == QProcess::NotRunning; };
        isClosed ? closeAndConfirm(hasEnded) : first.terminate();
        EXPECT_TRUE(eventually(hasEnded));
        EXPECT_EQ(first.exitStatus() + first.exitCode(), 0);
        EXPECT_EQ(QProcess::execute("pgrep", tools), 1) << "a tool still runs";
        EXPECT_EQ(pictures.listing(), "1.png 2.png done.gif");
        EXPECT_EQ(entries(folder / "data/Tarnwick/Work").size(), 1) << "only the sweep's lock";
        EXPECT_EQ(UndoStore().records().size(), 1);
        EXPECT_EQ(UndoStore().records().front().state, UndoRecord::State::committed);
        EXPECT_EQ(UndoStore().records().front().replacementHash, hash(done));
        EXPECT_EQ(hash(pictures / "1.png") + hash(pictures / "2.png"), original + original);
    }
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
