#include "Foundation/Directory.h"
#include "Foundation/FileLock.h"
#include "Support/EnvironmentVariable.h"
#include "Support/TemporaryFolder.h"
#include "Tarnwick/Desktop/ApplicationBundle.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "Tarnwick/Desktop/DesktopFileRevealer.h"
#include "Tarnwick/Desktop/DesktopLaunchServices.h"
#include "Tarnwick/Desktop/SettingsFile.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "Tarnwick/ModelFixture.h"

#include <gmock/gmock.h>
#include <sys/prctl.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTest>
#include <csignal>
#include <filesystem>
#include <memory>

namespace tarnwick::test {
namespace {

using testing::IsEmpty;

/// One private bus for the process, which takes it for both the session's and the system's. It lives as long
/// as the process: Qt connects to a bus once and for all.
class DesktopTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        if (daemon != nullptr) {
            return;
        }
        daemon = new QProcess;
        daemon->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        daemon->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        daemon->start("dbus-daemon", {"--session", "--nofork", "--nopidfile", "--print-address"});
        ASSERT_TRUE(daemon->waitForReadyRead()) << daemon->errorString().toStdString();
        const QByteArray address = daemon->readLine().trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    }
    static std::unique_ptr<QProcess> peer(const QString& command) {
        auto process = std::make_unique<QProcess>();
        process->start(TARNWICK_DESKTOP_PEER, {command});
        return process;
    }
    static bool hasPrinted(QProcess& process, const QByteArray& words) {
        return waitUntil([&] { return process.canReadLine() && process.readLine().trimmed() == words; });
    }
    static void send(bool beforeSleep) {
        QDBusMessage signal = QDBusMessage::createSignal("/org/freedesktop/login1",
                                                         "org.freedesktop.login1.Manager", "PrepareForSleep");
        signal << beforeSleep;
        QDBusConnection::systemBus().send(signal);
    }

    static QProcess* daemon;
};

QProcess* DesktopTest::daemon = nullptr;

TEST_F(DesktopTest, ProcessesHearEachOther) {
    DBusNotifications notifications;
    int heard = 0;
    Registration observation;
    observation = notifications.observe(NotificationName::historyDidChange, [&] {
        ++heard;
        observation = {};
    });
    const Registration other = notifications.observe(NotificationName::undoDidChange, [] {});
    for (int run = 0; run < 2; ++run) {
        const auto poster = peer("post");
        ASSERT_TRUE(poster->waitForFinished());
        EXPECT_EQ(poster->exitCode(), 0);
        EXPECT_EQ(poster->readAllStandardError(), "");
        EXPECT_TRUE(waitUntil([&] { return heard == 1; })) << "run " << run;
    }
    QTest::qWait(100);
    EXPECT_EQ(heard, 1) << "heard after the end of the observation";

    const auto observer = peer("observe");
    ASSERT_TRUE(hasPrinted(*observer, "ready"));
    notifications.post(NotificationName::historyDidChange);
    notifications.post(NotificationName::undoDidChange);
    EXPECT_TRUE(hasPrinted(*observer, "heard"));
    EXPECT_TRUE(waitUntil([&] { return observer->state() == QProcess::NotRunning; }));
}

TEST_F(DesktopTest, WithoutABusPostsGoNowhere) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    process.setProcessEnvironment(environment);
    process.start(TARNWICK_DESKTOP_PEER, {"post"});
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(process.readAllStandardError(), "");
}

TEST_F(DesktopTest, HearsOfAWakeButNotOfSleep) {
    LogindWakeMonitor monitor;
    int wakes = 0;
    const Registration observation = monitor.observeWake([&] { ++wakes; });
    send(true);
    send(false);
    EXPECT_TRUE(waitUntil([&] { return wakes > 0; }));
    EXPECT_EQ(wakes, 1);
}

/// Answers as a file manager does.
class FileManager : public QDBusVirtualObject {
public:
    FileManager() {
        bus.registerVirtualObject("/org/freedesktop/FileManager1", this);
        bus.registerService("org.freedesktop.FileManager1");
    }
    ~FileManager() override { QDBusConnection::disconnectFromBus("file manager"); }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        shown = message.member() + " " + message.arguments().value(0).toStringList().join(" ");
        return connection.send(message.createReply());
    }

    QString shown;
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "file manager");
};

TEST_F(DesktopTest, RevealsInTheFileManagerOrOpensTheFolder) {
    const TemporaryFolder folder;
    const URL opener = folder.file("xdg-open", "#!/bin/sh\necho \"$1\" >\"$0.log\"\n");
    std::filesystem::permissions(opener.path(), std::filesystem::perms::owner_all);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QByteArray::fromStdString(folder.url().path()) + ":" + path);
    DesktopFileRevealer revealer;
    {
        FileManager manager;
        revealer.reveal(URL::file("/pictures/a b\xFF.png"));
        EXPECT_TRUE(waitUntil([&] { return !manager.shown.isEmpty(); }));
        EXPECT_EQ(manager.shown, "ShowItems file:///pictures/a%20b%FF.png");
    }
    revealer.reveal(URL::file("/pictures/a b.png"));
    const URL log = folder / "xdg-open.log";
    EXPECT_TRUE(waitUntil([&] { return itemExists(log) && !contents(log).empty(); }));
    EXPECT_EQ(contents(log), "file:///pictures\n");
    qputenv("PATH", path);
}

TEST(ApplicationBundleTest, KnowsItsParts) {
    const TemporaryFolder folder;
    const ApplicationBundle bundle(folder / "Contents/Linux/Tarnwick");
    EXPECT_EQ(bundle.toolDirectory(), URL::file("Vendor/Bin"));
    createDirectories(folder / "Contents/Resources");
    EXPECT_EQ(bundle.toolDirectory(), folder / "Contents/Resources/Tools");
    EXPECT_EQ(bundle.helperExecutable(), folder / ("Contents/Library/LoginItems/TarnwickBackground.app/"
                                                   "Contents/Linux/TarnwickBackground"));
    EXPECT_EQ(bundle.url(), folder.url());
    EXPECT_EQ(bundle.extension(), folder / "Contents/PlugIns/TarnwickFinderSync.appex");
    const URL system = folder / "bin";
    EXPECT_EQ(bundle.pluginKitDirectory(system), bundle.extension().appending("Contents/Linux"));
    createDirectories(system);
    folder.file("bin/pluginkit", "");
    EXPECT_EQ(bundle.pluginKitDirectory(system), system);
    EXPECT_EQ(ApplicationBundle::running().toolDirectory(), URL::file("Vendor/Bin"));
}

TEST(HelperLauncherTest, StartsOneHelperAtATime) {
    const TemporaryFolder folder;
    const TemporaryFolder data;
    const EnvironmentVariable home("XDG_DATA_HOME", data.url().path());
    const URL helper = folder / "TarnwickBackground";
    const URL log = folder / "TarnwickBackground.log";
    const auto runs = [&] { return itemExists(log) ? contents(log) : ""; };
    BundleHelperLauncher launcher(helper);
    launcher.launch();
    EXPECT_THAT(folder.listing(), IsEmpty()) << "there is no helper yet";
    std::filesystem::copy_file(TARNWICK_DESKTOP_PEER, helper.path());
    launcher.launch();
    const std::string once = "--maintain-backups\n";
    EXPECT_TRUE(waitUntil([&] { return runs() == once; }));
    launcher.launch();
    QTest::qWait(100);
    EXPECT_EQ(runs(), once);
    const URL stop = folder.file("TarnwickBackground.stop", "");
    EXPECT_TRUE(waitUntil([] { return !FileLock::isHeld(helperLockFile()); }));
    removeFile(stop);
    launcher.launch();
    EXPECT_TRUE(waitUntil([&] { return runs() == once + once; }));
    folder.file("TarnwickBackground.stop", "");
    EXPECT_TRUE(waitUntil([] { return !FileLock::isHeld(helperLockFile()); }));

    const URL broken = folder.file("broken", "no program");
    const Log logged;
    BundleHelperLauncher(broken).launch();
    EXPECT_THAT(Log::lines(), testing::StartsWith("Tarnwick 备份清理程序启动失败："));
}

TEST(SettingsFileTest, KeepsWhatIsStored) {
    const TemporaryFolder folder;
    const auto path = QString::fromStdString((folder / "new/Settings.ini").path());
    {
        SettingsFile settings(path);
        EXPECT_FALSE(settings.boolean("Done"));
        settings.setBoolean("Done", true);
        EXPECT_TRUE(SettingsFile(path).boolean("Done")) << "before the first is gone";
    }
    EXPECT_TRUE(SettingsFile(path).boolean("Done"));
    folder.file("blocked", "no folder");
    const Log logged(true);
    SettingsFile blocked(QString::fromStdString((folder / "blocked/Settings.ini").path()));
    blocked.setBoolean("Done", true);
    EXPECT_THAT(Log::lines(), testing::StartsWith("无法保存设置："));
}

TEST(DesktopLaunchServicesTest, LogsABundleThatCannotBeRead) {
    const TemporaryFolder folder;
    DesktopLaunchServices services;
    for (const bool withDebugOutput : {false, true}) {
        const Log log(withDebugOutput);
        services.registerBundle(folder.url());
        EXPECT_EQ(Log::lines(), "");
        services.registerBundle(folder / "absent");
        EXPECT_EQ(Log::lines().empty(), !withDebugOutput);
    }
    const Log log(true);
    services.registerBundle(folder / "absent");
    EXPECT_THAT(Log::lines(), testing::AllOf(testing::StartsWith("无法读取 "), testing::HasSubstr("absent")));
}

TEST(SystemClockTest, ATimerRunsOnceUnlessItIsEnded) {
    SystemClock clock;
    int fired = 0;
    Registration timer;
    timer = clock.startTimer(0.01, [&] {
        ++fired;
        timer = {};
    });
    {
        const Registration ended = clock.startTimer(0.005, [&] { fired += 100; });
    }
    EXPECT_TRUE(waitUntil([&] { return fired > 0; }));
    QTest::qWait(50);
    EXPECT_EQ(fired, 1);
}

} // namespace
} // namespace tarnwick::test
