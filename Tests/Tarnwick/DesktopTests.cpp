#include "Foundation/FileLock.h"
#include "Support/EnvironmentVariable.h"
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
#include <csignal>
#include <filesystem>

namespace tarnwick::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// Another process posts historyDidChange. Returns what it prints, and its exit status.
std::string post() {
    QProcess peer;
    peer.start(TARNWICK_DESKTOP_PEER);
    peer.waitForFinished();
    return peer.readAllStandardError().toStdString() + std::to_string(peer.exitCode());
}

/// A private bus, which serves as the session's and the system's. It lasts as long as the process, since Qt
/// connects to a bus only once.
class DesktopTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        static auto* const daemon = new QProcess;
        if (daemon->state() != QProcess::NotRunning) {
            return;
        }
        daemon->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        daemon->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        daemon->start("dbus-daemon", {"--session", "--nofork", "--nopidfile", "--print-address"});
        ASSERT_TRUE(daemon->waitForReadyRead()) << daemon->errorString().toStdString();
        const QByteArray address = daemon->readLine().trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    }
};

TEST_F(DesktopTest, PassesNotificationsBetweenProcesses) {
    DBusNotifications notifications;
    int first = 0;
    int changes = 0;
    int undos = 0;
    Registration observation;
    observation = notifications.observe(NotificationName::historyDidChange, [&] {
        ++first;
        observation = {};
    });
    const Registration all = notifications.observe(NotificationName::historyDidChange, [&] { ++changes; });
    const Registration other = notifications.observe(NotificationName::undoDidChange, [&] { ++undos; });
    EXPECT_EQ(post(), "0");
    EXPECT_TRUE(runUntil([&] { return first == 1 && changes == 1; }));
    notifications.post(NotificationName::historyDidChange);
    notifications.post(NotificationName::undoDidChange);
    EXPECT_TRUE(runUntil([&] { return undos == 1; }));
    EXPECT_EQ(first, 1) << "called after the observation ended";
    EXPECT_EQ(changes, 2);
    const EnvironmentVariable noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    EXPECT_EQ(post(), "0");
}

TEST_F(DesktopTest, ReportsAWakeButNoSleep) {
    LogindWakeMonitor monitor;
    int wakes = 0;
    const Registration observation = monitor.observeWake([&] { ++wakes; });
    for (const bool beforeSleep : {true, false}) {
        auto signal = QDBusMessage::createSignal("/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                                                 "PrepareForSleep");
        signal << beforeSleep;
        QDBusConnection::systemBus().send(signal);
    }
    EXPECT_TRUE(runUntil([&] { return wakes > 0; }));
    EXPECT_EQ(wakes, 1);
}

class FakeFileManager : public QDBusVirtualObject {
public:
    FakeFileManager() {
        bus.registerVirtualObject("/org/freedesktop/FileManager1", this);
        bus.registerService("org.freedesktop.FileManager1");
    }
    ~FakeFileManager() override { QDBusConnection::disconnectFromBus("file manager"); }

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
    const URL opener =
        folder.file("xdg-open", "#!/bin/sh\necho \"$1\" >\"$0.part\"\nmv \"$0.part\" \"$0.log\"\n");
    std::filesystem::permissions(opener.path(), std::filesystem::perms::owner_all);
    const EnvironmentVariable path("PATH", folder.url().path() + ":" + qgetenv("PATH").toStdString());
    DesktopFileRevealer revealer;
    {
        FakeFileManager manager;
        revealer.reveal(URL::file("/pictures/a b\xFF.png"));
        EXPECT_TRUE(runUntil([&] { return !manager.shown.isEmpty(); }));
        EXPECT_EQ(manager.shown, "ShowItems file:///pictures/a%20b%FF.png");
    }
    revealer.reveal(URL::file("/pictures/a b.png"));
    EXPECT_TRUE(runUntil([&] { return itemExists(folder / "xdg-open.log"); }));
    EXPECT_EQ(contents(folder / "xdg-open.log"), "file:///pictures\n");
}

TEST(ApplicationBundleTest, LocatesItsParts) {
    const TemporaryFolder folder;
    const ApplicationBundle bundle(folder / "Contents/Linux/Tarnwick");
    EXPECT_EQ(bundle.url(), folder.url());
    EXPECT_EQ(bundle.toolDirectory(), URL::file("Vendor/Bin"));
    createDirectories(folder / "Contents/Resources");
    EXPECT_EQ(bundle.toolDirectory(), folder / "Contents/Resources/Tools");
    EXPECT_EQ(bundle.helperExecutable(), folder / ("Contents/Library/LoginItems/TarnwickBackground.app/"
                                                   "Contents/Linux/TarnwickBackground"));
    const URL system = folder / "bin";
    EXPECT_EQ(bundle.pluginKitDirectory(system),
              folder / "Contents/PlugIns/TarnwickFinderSync.appex/Contents/Linux");
    createDirectories(system);
    folder.file("bin/pluginkit", "");
    EXPECT_EQ(bundle.pluginKitDirectory(system), system);
    EXPECT_EQ(ApplicationBundle::running().toolDirectory(), URL::file("Vendor/Bin"));
}

TEST(BundleHelperLauncherTest, StartsTheHelperUnlessItRuns) {
    const TemporaryFolder data;
    const EnvironmentVariable home("XDG_DATA_HOME", data.url().path());
    FakeTools tools;
    tools.script("pluginkit", {});
    // The launcher wants a regular file; the fake tools are links.
    const URL helper = tools.folder().appending("pluginkit");
    const auto program = std::filesystem::canonical(helper.path());
    tools.remove("pluginkit");
    std::filesystem::copy_file(program, helper.path());
    BundleHelperLauncher(helper).launch();
    EXPECT_TRUE(runUntil([&] { return !tools.runs().empty(); }));
    EXPECT_THAT(tools.runs("pluginkit"), ElementsAre(FakeTools::Words{"--maintain-backups"}));

    const Log log;
    BundleHelperLauncher(data / "absent").launch();
    BundleHelperLauncher broken(data.file("broken", "no program"));
    createDirectories(data / "Tarnwick");
    {
        const auto lock = FileLock::tryAcquire(helperLockFile());
        broken.launch();
        EXPECT_EQ(Log::lines, "") << "started a second helper";
    }
    broken.launch();
    EXPECT_THAT(Log::lines, StartsWith("Tarnwick 备份清理程序启动失败："));
}

TEST(SettingsFileTest, KeepsWhatIsStored) {
    const TemporaryFolder folder;
    const auto path = QString::fromStdString((folder / "new/Settings.ini").path());
    SettingsFile settings(path);
    EXPECT_FALSE(settings.boolean("Done"));
    settings.setBoolean("Done", true);
    EXPECT_TRUE(SettingsFile(path).boolean("Done"));
}

TEST(DebugOutputTest, IsOffByDefault) {
    const TemporaryFolder folder;
    const QString blocked = QString::fromStdString(folder.file("blocked", "").path() + "/Settings.ini");
    const auto linesOfFailures = [&](bool isOn) {
        const Log log(isOn);
        DesktopLaunchServices().registerBundle(folder.url());
        DesktopLaunchServices().registerBundle(folder / "absent");
        SettingsFile(blocked).setBoolean("Done", true);
        return Log::lines;
    };
    EXPECT_EQ(linesOfFailures(false), "");
    EXPECT_THAT(linesOfFailures(true),
                AllOf(StartsWith("无法读取 "), HasSubstr("/absent："), HasSubstr("\n无法保存设置：")));
}

TEST(SystemClockTest, RunsATimerOnceUnlessItIsEnded) {
    SystemClock clock;
    int fired = 0;
    bool isOver = false;
    Registration timer;
    timer = clock.startTimer(0.01, [&] {
        ++fired;
        timer = {};
    });
    {
        const Registration ended = clock.startTimer(0.005, [&] { fired += 100; });
    }
    const Registration last = clock.startTimer(0.05, [&] { isOver = true; });
    EXPECT_TRUE(runUntil([&] { return isOver; }));
    EXPECT_EQ(fired, 1);
}

} // namespace
} // namespace tarnwick::test
