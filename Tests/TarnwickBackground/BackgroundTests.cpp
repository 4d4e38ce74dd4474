// The real helper and the real command line, on a session bus of their own that is also their system bus; for
// long waits the helper's part that waits, with a fast clock.

#include "Foundation/FileLock.h"
#include "Support/EnvironmentVariable.h"
#include "Support/FakeTools.h"
#include "Support/HistoryFixture.h"
#include "Support/Pictures.h"
#include "Support/RunCommand.h"
#include "Support/SystemCalls.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "TarnwickBackground/BackupKeeper.h"

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QTest>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <utility>

namespace tarnwick::test {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

constexpr double expired = UndoStore::backupRetention + 60;
constexpr int limit = 60'000;

bool eventually(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, limit);
}

/// Its timers take a hundredth of their time.
class FastClock final : public Clock {
public:
    Date now() const override { return clock_.now(); }
    Registration startTimer(double seconds, std::function<void()> handler) override {
        return clock_.startTimer(seconds / 100, std::move(handler));
    }

private:
    SystemClock clock_;
};

class BackgroundTest : public HistoryFixture {
protected:
    BackgroundTest() {
        store = UndoStore(folder / "data/Tarnwick/Undo");
        tools.script("oxipng", {{"output", test::picture("photo-small.png").path()}});
    }
    ~BackgroundTest() override {
        store.removeAll();
        notifications.post(NotificationName::undoDidChange);
        EXPECT_TRUE(eventually([] { return !FileLock::isHeld(helperLockFile()); })) << "a helper still runs";
    }

    static std::unique_ptr<QProcess> startHelper(const QStringList& arguments = {"--maintain-backups"}) {
        auto process = std::make_unique<QProcess>();
        process->start(TARNWICK_BACKGROUND, arguments);
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }
    /// A helper that has finished its first pass.
    std::unique_ptr<QProcess> startKeeping() {
        const UndoRecord old = replacedBefore(expired);
        auto helper = startHelper();
        EXPECT_TRUE(eventually([&] { return !store.hasBackup(old); }));
        EXPECT_TRUE(FileLock::isHeld(helperLockFile()));
        return helper;
    }
    static int statusOf(QProcess& process) {
        const bool isFinished = process.state() == QProcess::NotRunning || process.waitForFinished(limit);
        return isFinished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    UndoRecord replacedBefore(double seconds) {
        UndoRecord record = replacedElsewhere(seconds);
        enter(record);
        return record;
    }
    /// The record is not in the store yet.
    UndoRecord replacedElsewhere(double seconds) {
        const UndoStore usual = std::exchange(store, elsewhere_);
        const std::string name = "photo" + std::to_string(++count_) + ".png";
        UndoRecord record = aged(replaced(picture(name, static_cast<std::uint8_t>(count_))), seconds);
        store = usual;
        return record;
    }
    /// In one step: a helper would take an unfinished record for that of a killed process.
    void enter(const UndoRecord& record) const {
        createDirectories(store.root());
        atomicRename(elsewhere_.backupURL(record).deletingLastPathComponent(),
                     store.backupURL(record).deletingLastPathComponent());
    }
    Words compressing() const {
        return {"compress", "--tools", tools.folder().path(),
                copyPicture("photo.png", pictures / "large.png").path()};
    }

    FakeTools tools;
    TemporaryFolder pictures;
    EnvironmentVariable data{"XDG_DATA_HOME", (folder / "data").path()};
    /// Qt would complain about this locale on standard error.
    EnvironmentVariable locale{"LC_ALL", "C"};
    DBusNotifications notifications;

private:
    const UndoStore elsewhere_{folder / "elsewhere"};
    int count_ = 0;
};

TEST_F(BackgroundTest, RemovesExpiredBackupsNotifiesAndExits) {
    const UndoRecord old = replacedBefore(expired);
    int heard = 0;
    const Registration observation =
        notifications.observe(NotificationName::historyDidChange, [&] { ++heard; });
    const auto helper = startHelper();
    EXPECT_EQ(statusOf(*helper), 0);
    EXPECT_EQ(helper->readAllStandardError() + helper->readAllStandardOutput(), "");
    EXPECT_FALSE(store.hasBackup(old));
    EXPECT_TRUE(eventually([&] { return heard > 0; }));
    EXPECT_EQ(heard, 1);
    EXPECT_THAT(store.readRecords(), SizeIs(1));
    EXPECT_EQ(statusOf(*startHelper()), 0) << "there is no backup";
}

TEST_F(BackgroundTest, OneHelperRunsUntilASignal) {
    const UndoRecord young = replacedBefore(60);
    for (const int signal : {SIGTERM, SIGINT}) {
        const auto helper = startKeeping();
        EXPECT_EQ(statusOf(*startHelper()), 0) << "a second helper";
        EXPECT_EQ(helper->state(), QProcess::Running);
        ::kill(static_cast<pid_t>(helper->processId()), signal);
        EXPECT_EQ(statusOf(*helper), 0);
        EXPECT_FALSE(FileLock::isHeld(helperLockFile()));
    }
    EXPECT_TRUE(store.hasBackup(young));
}

TEST_F(BackgroundTest, SleepsUntilTheNextBackupExpiresEvenWithoutABus) {
    const std::string noBus = "unix:path=/nonexistent";
    for (const std::string& bus : {qgetenv("DBUS_SESSION_BUS_ADDRESS").toStdString(), noBus}) {
        const EnvironmentVariable session("DBUS_SESSION_BUS_ADDRESS", bus);
        const EnvironmentVariable system("DBUS_SYSTEM_BUS_ADDRESS", noBus);
        const UndoRecord soon = replacedBefore(UndoStore::backupRetention - 2);
        const auto helper = startHelper();
        EXPECT_EQ(statusOf(*helper), 0);
        EXPECT_EQ(helper->readAllStandardError(), "");
        EXPECT_FALSE(store.hasBackup(soon));
    }
}

TEST_F(BackgroundTest, ChecksAgainAfterEventsAndPostsOnlyChanges) {
    QDBusMessage wake = QDBusMessage::createSignal("/org/freedesktop/login1",
                                                   "org.freedesktop.login1.Manager", "PrepareForSleep");
    wake << false;
    const auto postHistory = [&] { notifications.post(NotificationName::historyDidChange); };
    const auto postUndo = [&] { notifications.post(NotificationName::undoDidChange); };
    const UndoRecord kept = replacedBefore(60);
    int heard = 0;
    const Registration observation =
        notifications.observe(NotificationName::historyDidChange, [&] { ++heard; });
    const auto helper = startKeeping();
    const auto postWake = [&] { QDBusConnection::systemBus().send(wake); };
    for (const std::function<void()>& event : {std::function<void()>(postWake), {postHistory}, {postUndo}}) {
        const UndoRecord old = replacedBefore(expired);
        event();
        EXPECT_TRUE(eventually([&] { return !store.hasBackup(old); }));
    }
    store.deleteRecord(kept);
    postUndo();
    EXPECT_EQ(statusOf(*helper), 0) << "the last backup is gone";
    postHistory();
    EXPECT_TRUE(eventually([&] { return heard >= 6; }));
    EXPECT_EQ(heard, 6) << "two notifications of this test, and one for each of four removals";
}

TEST_F(BackgroundTest, ARecordMadeWhileAHelperExitsFindsAHelper) {
    BundleHelperLauncher launcher(URL::file(TARNWICK_BACKGROUND));
    for (int round = 0; round < 9; ++round) {
        const UndoRecord made = replacedElsewhere(UndoStore::backupRetention - 1);
        const auto exiting = startHelper();
        const auto isOver = [&] { return exiting->state() == QProcess::NotRunning; };
        // At its start, with the lock, and at its end.
        EXPECT_TRUE(round % 3 < 1 ||
                    eventually([&] { return FileLock::isHeld(helperLockFile()) || isOver(); }));
        EXPECT_TRUE(round % 3 < 2 || eventually([&] { return !FileLock::isHeld(helperLockFile()); }));
        enter(made);
        launcher.launch();
        EXPECT_TRUE(eventually([&] { return !store.hasBackup(made); })) << "round " << round;
        EXPECT_EQ(statusOf(*exiting), 0);
    }
}

TEST_F(BackgroundTest, RejectsOtherArguments) {
    EXPECT_EQ(statusOf(*startHelper({"--version"})), 0);
    EXPECT_EQ(statusOf(*startHelper({"--help"})), 0);
    for (const QStringList& arguments : {QStringList(), {"--maintain"}, {"--maintain-backups", "x"}}) {
        const auto helper = startHelper(arguments);
        EXPECT_EQ(statusOf(*helper), 2);
        EXPECT_THAT(helper->readAllStandardError().toStdString(), HasSubstr("--maintain-backups"));
    }
}

TEST_F(BackgroundTest, TheCommandLineStartsItForTheUsersOwnStoreWithoutOpenDescriptors) {
    // A helper becomes a child of this process; those of other tests must be gone.
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
    Words other = compressing();
    other.insert(other.end(), {"--store", (folder / "other").path()});
    EXPECT_EQ(runCommand(other).status, 0);
    EXPECT_THAT(UndoStore(folder / "other").records(), SizeIs(1));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a helper was started for another store";
    EXPECT_EQ(errno, ECHILD);

    // The second pipe is an additional descriptor of the command. cat exits when all writers have closed it.
    for (const std::string pipe : {" | timeout 60 cat", " 3>&1 >/dev/null | timeout 60 cat"}) {
        std::string line = "'" TARNWICK_EXECUTABLE "'";
        for (const std::string& word : compressing()) {
            line += " '" + word + "'";
        }
        ASSERT_EQ(std::system((line + pipe).c_str()), 0) << pipe;
        EXPECT_TRUE(eventually([] { return FileLock::isHeld(helperLockFile()); }));
        ASSERT_THAT(store.records(), SizeIs(1));
        runCommand({"clear", "--yes"});
        EXPECT_TRUE(eventually([] { return !FileLock::isHeld(helperLockFile()); })) << "no backup is left";
    }
}

TEST_F(BackgroundTest, SettlesACrashThatNothingToldOfAndEndsBesideABackupThatCannotBeRemoved) {
    const UndoRecord young = replacedBefore(60);
    const UndoRecord old = replacedBefore(expired);
    const UndoRecord stuck = replacedBefore(expired);
    const Fault fault([&](const SystemCall& call) {
        return call.name == "unlink" && call.path == store.backupURL(stuck).path() ? EACCES : 0;
    });
    FastClock clock;
    std::optional<int> status;
    const BackupKeeper keeper(store, helperLockFile(), FileLock::tryAcquire(helperLockFile()).value(), clock,
                              [&](int exitStatus) { status = exitStatus; });
    ASSERT_TRUE(eventually([&] { return !store.hasBackup(old); }));
    const URL photo = picture("crashed.png", 1);
    {
        const WorkNote note(folder.url(), WorkItem::directory);
        createDirectories(note.item());
        store.prepare(photo, picture("winner.png", 200), UUID::random());
        atomicRename(folder / "winner.png", photo);
    }
    EXPECT_TRUE(eventually([&] { return store.records().at(0).state == UndoRecord::State::committed; }));
    EXPECT_FALSE(folder.listing().starts_with(".tarnwick-"));
    store.deleteRecord(store.records().at(0));
    store.deleteRecord(young);
    EXPECT_EQ(status, std::nullopt);
    notifications.post(NotificationName::undoDidChange);
    EXPECT_TRUE(eventually([&] { return status.has_value(); }));
}

TEST_F(BackgroundTest, TheCommandLineTellsWindowsAndHelpersOfRemovals) {
    std::string heard;
    const Registration history =
        notifications.observe(NotificationName::historyDidChange, [&] { heard += "window "; });
    const Registration undo =
        notifications.observe(NotificationName::undoDidChange, [&] { heard += "helper "; });
    const std::string restored = replacedBefore(60).id.text();
    const std::string deleted = replacedBefore(60).id.text();
    for (const Words& command : {Words{"restore", restored}, {"delete", deleted}, {"clear", "--yes"}}) {
        heard.clear();
        EXPECT_EQ(runCommand(command).status, 0);
        EXPECT_TRUE(eventually([&] { return heard == "window helper "; })) << command[0] << ": " << heard;
    }
}

} // namespace
} // namespace tarnwick::test

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", qgetenv("DBUS_SESSION_BUS_ADDRESS"));
    // Tools and helpers whose parent is gone become children of this process.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
