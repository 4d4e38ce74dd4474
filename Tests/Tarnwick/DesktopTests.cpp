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

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <array>
#include <cstdio>
#include <filesystem>
#include <map>

namespace tarnwick::test {
namespace {

using namespace testing;

/// A private bus, which serves as the session's and the system's. It lasts as long as the process, since Qt
/// connects to a bus only once.
class DesktopTest : public Test {
protected:
    static void SetUpTestSuite() {
        static const QByteArray address = addressOfNewBus();
        ASSERT_FALSE(address.isEmpty());
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    }

private:
    /// QProcess would use vfork, after which the thread sanitizer sees no lock of this thread.
    static QByteArray addressOfNewBus() {
        std::FILE* daemon = ::popen( // NOLINT(cert-env33-c)
            "exec setpriv --pdeathsig TERM dbus-daemon --session --nofork --nopidfile --print-address", "r");
        std::array<char, 256> line{};
        const bool isRead = std::fgets(line.data(), static_cast<int>(line.size()), daemon) != nullptr;
        return isRead ? QByteArray(line.data()).trimmed() : QByteArray();
    }
};

TEST_F(DesktopTest, PassesNotificationsWhileTheyAreObserved) {
    DBusNotifications notifications;
    std::map<std::string, int> heard;
    Registration once;
    once = notifications.observe(NotificationName::historyDidChange, [&] {
        ++heard["once"];
        once = {};
    });
    const Registration history =
        notifications.observe(NotificationName::historyDidChange, [&] { ++heard["history"]; });
    const Registration undo =
        notifications.observe(NotificationName::undoDidChange, [&] { ++heard["undo"]; });
    notifications.post(NotificationName::historyDidChange);
    notifications.post(NotificationName::historyDidChange);
    notifications.post(NotificationName::undoDidChange);
    EXPECT_TRUE(runUntil([&] { return heard.contains("undo"); }));
    EXPECT_THAT(heard, ElementsAre(Pair("history", 2), Pair("once", 1), Pair("undo", 1)));
}

TEST_F(DesktopTest, ReportsAWakeButNoSleep) {
    LogindWakeMonitor monitor;
    int wakes = 0;
    const Registration observation = monitor.observeWake([&] { ++wakes; });
    for (const bool beforeSleep : {true, false}) {
        QDBusConnection::systemBus().send(QDBusMessage::createSignal("/org/freedesktop/login1",
                                                                     "org.freedesktop.login1.Manager",
                                                                     "PrepareForSleep")
                                          << beforeSleep);
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

TEST(BundleHelperLauncherTest, LogsAFailureUnlessAHelperRuns) {
    const TemporaryFolder data;
    const EnvironmentVariable home("XDG_DATA_HOME", data.url().path());
    createDirectories(data / "Tarnwick");
    const Log log;
    BundleHelperLauncher(data / "absent").launch();
    BundleHelperLauncher broken(data.file("broken", "no program"));
    {
        const auto lock = FileLock::tryAcquire(helperLockFile());
        broken.launch();
    }
    EXPECT_EQ(Log::lines, "");
    broken.launch();
    EXPECT_THAT(Log::lines, StartsWith("Tarnwick 备份清理程序启动失败："));
}

TEST(DesktopOutputTest, KeepsSettingsAndLogsFailuresOnlyOnDemand) {
    const TemporaryFolder folder;
    const auto settings = [&](const std::string& path) {
        return SettingsFile(QString::fromStdString((folder / path).path()));
    };
    const auto linesOfFailures = [&](bool isOn) {
        const Log log(isOn);
        DesktopLaunchServices().registerBundle(folder.url());
        DesktopLaunchServices().registerBundle(folder / "absent");
        settings("blocked/Settings.ini").setBoolean("Done", true);
        return Log::lines;
    };
    EXPECT_FALSE(settings("new/Settings.ini").boolean("Done"));
    settings("new/Settings.ini").setBoolean("Done", true);
    EXPECT_TRUE(settings("new/Settings.ini").boolean("Done"));
    const EnvironmentVariable relative("XDG_CONFIG_HOME", "relative");
    const EnvironmentVariable home("HOME", folder.url().path());
    EXPECT_EQ(SettingsFile::userPath().toStdString(), (folder / ".config/Tarnwick/Settings.ini").path());
    folder.file("blocked", "");
    EXPECT_EQ(linesOfFailures(false), "");
    EXPECT_THAT(linesOfFailures(true),
                AllOf(StartsWith("无法读取 "), HasSubstr("/absent："), HasSubstr("\n无法保存设置：")));
}

TEST(SystemClockTest, RunsATimerOnceUnlessItIsEnded) {
    SystemClock clock;
    int fired = 0;
    bool isOver = false;
    Registration timer = clock.startTimer(0.005, [&] { fired += 100; });
    timer = clock.startTimer(0.01, [&] {
        ++fired;
        timer = {};
    });
    const Registration last = clock.startTimer(0.05, [&] { isOver = true; });
    EXPECT_TRUE(runUntil([&] { return isOver; }));
    EXPECT_EQ(fired, 1);
}

} // namespace
} // namespace tarnwick::test
