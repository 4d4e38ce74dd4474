// The real helper and the real command line, on a session bus of their own that is the system's bus too.

#include "Foundation/CompressionError.h"
#include "Foundation/FileLock.h"
#include "Support/EnvironmentVariable.h"
#include "Support/HistoryFixture.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusSignals.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <csignal>
#include <filesystem>
#include <memory>
#include <sstream>
#include <utility>

namespace tarnwick::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int patience = 60'000;

bool waitUntil(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, patience);
}

class BackgroundTest : public HistoryFixture {
protected:
    BackgroundTest() { store = UndoStore(folder / "data/Tarnwick/Undo"); }
    ~BackgroundTest() override {
        store.removeAll();
        notifications.post(NotificationName::undoDidChange);
        EXPECT_TRUE(waitUntil([] { return !FileLock::isHeld(helperLockFile()); })) << "a helper is left";
    }

    static std::unique_ptr<QProcess> start(const char* program, const QStringList& arguments) {
        auto process = std::make_unique<QProcess>();
        process->start(program, arguments);
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }
    static std::unique_ptr<QProcess> startHelper() {
        return start(TARNWICK_BACKGROUND, {"--maintain-backups"});
    }
    /// A helper whose first pass is over: what is posted only after a record was made shows that.
    std::unique_ptr<QProcess> startKeeping() {
        const UndoRecord expired = replacedBefore(UndoStore::backupRetention + 60);
        auto helper = startHelper();
        EXPECT_TRUE(waitUntil([&] { return !store.hasBackup(expired); }));
        EXPECT_TRUE(FileLock::isHeld(helperLockFile()));
        return helper;
    }
    /// The exit status; a shell's for one that was killed.
    static int statusOf(QProcess& process) {
        if (process.state() != QProcess::NotRunning && !process.waitForFinished(patience)) {
            return -1;
        }
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : 128 + process.exitCode();
    }
    static std::string outputOf(const QStringList& arguments) {
        const auto process = start(TARNWICK_EXECUTABLE, arguments);
        EXPECT_TRUE(process->waitForFinished(patience));
        return process->readAllStandardOutput().toStdString();
    }

    UndoRecord replacedBefore(double seconds) {
        const std::string name = "photo" + std::to_string(++pictures_) + ".png";
        return aged(replaced(picture(name, static_cast<std::uint8_t>(pictures_))), seconds);
    }
    /// A record that bringIn() puts into the store at once, as no compression would have to be known for it.
    UndoRecord madeElsewhere(double seconds) {
        const UndoStore usual = std::exchange(store, UndoStore(folder / "elsewhere"));
        const UndoRecord record = replacedBefore(seconds);
        store = usual;
        return record;
    }
    void bringIn(const UndoRecord& record) const {
        createDirectories(store.root());
        const std::string session = record.sessionID.text();
        atomicRename((folder / "elsewhere").appending(session), store.root().appending(session));
    }
    /// Tools that make any PNG smaller without loss, or all do what `script` says.
    QString tools(const std::string& script = "") const {
        const URL small = picture("small.png", 1);
        writePNG(folder / "small.png", {.compressionLevel = 9});
        createDirectories(folder / "tools");
        for (const std::string name : {"pngquant", "ssimulacra2", "oxipng"}) {
            const std::string usual = name == "oxipng" ? "cp '" + small.path() + "' \"$4\"" : "exit 99";
            const URL tool = folder.file("tools/" + name, "#!/bin/sh\n" + (script.empty() ? usual : script));
            std::filesystem::permissions(tool.path(), std::filesystem::perms::owner_all);
        }
        return QString::fromStdString((folder / "tools").path());
    }
    QString largePicture() const {
        createDirectories(folder / "pictures");
        writePNG(folder / "pictures/large.png", {.compressionLevel = 0});
        return QString::fromStdString((folder / "pictures/large.png").path());
    }
    std::string workFolders() const {
        std::string names;
        for (const URL& item : entries(folder / "pictures")) {
            names += item.lastPathComponent().starts_with(".tarnwick-") ? "work " : "";
        }
        return names;
    }

    EnvironmentVariable data{"XDG_DATA_HOME", (folder / "data").path()};
    DBusNotifications notifications;

private:
    int pictures_ = 0;
};

TEST_F(BackgroundTest, RemovesExpiredBackupsTellsOfItAndEnds) {
    const UndoRecord old = replacedBefore(UndoStore::backupRetention + 60);
    int heard = 0;
    const Registration observation =
        notifications.observe(NotificationName::historyDidChange, [&] { ++heard; });
    const auto helper = startHelper();
    EXPECT_EQ(statusOf(*helper), 0);
    EXPECT_EQ(helper->readAllStandardError() + helper->readAllStandardOutput(), "");
    EXPECT_FALSE(store.hasBackup(old));
    EXPECT_TRUE(waitUntil([&] { return heard > 0; }));
    EXPECT_EQ(heard, 1);
    ASSERT_THAT(store.readRecords(), SizeIs(1));
    try {
        store.restore(old);
        FAIL() << "an expired original was restored";
    } catch (const CompressionError& error) {
        EXPECT_EQ(error.errorDescription(), "原图备份已过期");
    }
    EXPECT_EQ(statusOf(*startHelper()), 0) << "there is nothing to keep";
}

TEST_F(BackgroundTest, OneKeepsUntilASignalEndsIt) {
    const UndoRecord young = replacedBefore(60);
    for (const int signal : {SIGTERM, SIGINT}) {
        const auto helper = startKeeping();
        EXPECT_EQ(statusOf(*startHelper()), 0) << "a second one";
        EXPECT_EQ(helper->state(), QProcess::Running);
        ::kill(static_cast<pid_t>(helper->processId()), signal);
        EXPECT_EQ(statusOf(*helper), 0);
        EXPECT_FALSE(FileLock::isHeld(helperLockFile()));
    }
    EXPECT_TRUE(store.hasBackup(young));
}

TEST_F(BackgroundTest, SleepsUntilTheNextBackupExpires) {
    const UndoRecord soon = replacedBefore(UndoStore::backupRetention - 2);
    const auto helper = startHelper();
    EXPECT_TRUE(waitUntil([&] { return !store.hasBackup(soon); }));
    EXPECT_GE(Date::now(), soon.createdAt.adding(UndoStore::backupRetention)) << "too early";
    EXPECT_EQ(statusOf(*helper), 0);
}

TEST_F(BackgroundTest, LooksAgainWhenItIsToldToAndKeepsQuietWhenNothingChanged) {
    QDBusMessage wake = QDBusMessage::createSignal("/org/freedesktop/login1",
                                                   "org.freedesktop.login1.Manager", "PrepareForSleep");
    wake << false;
    const std::vector<std::function<void()>> events = {
        [&] { QDBusConnection::systemBus().send(wake); },
        [&] { notifications.post(NotificationName::historyDidChange); },
        [&] { notifications.post(NotificationName::undoDidChange); }};
    const UndoRecord kept = replacedBefore(60);
    const auto helper = startKeeping();
    for (const auto& event : events) {
        const UndoRecord old = replacedBefore(UndoStore::backupRetention + 60);
        EXPECT_TRUE(store.hasBackup(old));
        event();
        EXPECT_TRUE(waitUntil([&] { return !store.hasBackup(old); }));
    }
    QTest::qWait(500);
    int heard = 0;
    const Registration observation =
        notifications.observe(NotificationName::historyDidChange, [&] { ++heard; });
    notifications.post(NotificationName::historyDidChange);
    QTest::qWait(500);
    EXPECT_EQ(heard, 1) << "the helper answered to a change that removed nothing";
    store.deleteRecord(kept);
    notifications.post(NotificationName::undoDidChange);
    EXPECT_EQ(statusOf(*helper), 0) << "the last backup is gone";
}

TEST_F(BackgroundTest, WorksWithoutAnyBus) {
    const EnvironmentVariable session("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    const EnvironmentVariable system("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
    const UndoRecord soon = replacedBefore(UndoStore::backupRetention - 1);
    const auto helper = startHelper();
    EXPECT_EQ(statusOf(*helper), 0);
    EXPECT_EQ(helper->readAllStandardError(), "");
    EXPECT_FALSE(store.hasBackup(soon));
}

TEST_F(BackgroundTest, ARecordMadeWhileAHelperEndsFindsAKeeper) {
    BundleHelperLauncher launcher(URL::file(TARNWICK_BACKGROUND));
    for (int delay = 0; delay < 60; delay += 6) {
        const UndoRecord made = madeElsewhere(UndoStore::backupRetention - 1);
        const auto ending = startHelper();
        QTest::qSleep(delay);
        bringIn(made);
        launcher.launch();
        EXPECT_TRUE(waitUntil([&] { return !store.hasBackup(made); })) << "after " << delay << " ms";
        EXPECT_EQ(statusOf(*ending), 0);
    }
}

TEST_F(BackgroundTest, RefusesOtherArguments) {
    EXPECT_EQ(statusOf(*start(TARNWICK_BACKGROUND, {"--version"})), 0);
    EXPECT_EQ(statusOf(*start(TARNWICK_BACKGROUND, {"--help"})), 0);
    for (const QStringList& arguments : {QStringList(), {"--maintain"}, {"--maintain-backups", "x"}}) {
        const auto helper = start(TARNWICK_BACKGROUND, arguments);
        EXPECT_EQ(statusOf(*helper), 2);
        EXPECT_THAT(helper->readAllStandardError().toStdString(), HasSubstr("--maintain-backups"));
    }
}

TEST_F(BackgroundTest, TheCommandLineStartsItAndLeavesItNothingOpen) {
    const QString command =
        QString("'%1' compress --tools '%2' '%3'").arg(TARNWICK_EXECUTABLE, tools(), largePicture());
    // The second pipe's writing end comes as a further descriptor; cat ends when nobody holds it any more.
    for (const char* pipe : {"%1 | cat", "%1 3>&1 >/dev/null | cat"}) {
        largePicture();
        const auto shell = start("/bin/sh", {"-c", QString(pipe).arg(command)});
        ASSERT_EQ(statusOf(*shell), 0) << pipe;
        EXPECT_TRUE(waitUntil([] { return FileLock::isHeld(helperLockFile()); }));
        ASSERT_THAT(store.records(), SizeIs(1));
        outputOf({"clear", "--yes"});
        EXPECT_TRUE(waitUntil([] { return !FileLock::isHeld(helperLockFile()); })) << "no backup is left";
    }

    removeFile(helperLockFile());
    largePicture();
    outputOf({"compress", "--tools", tools(), "--store", QString::fromStdString((folder / "other").path()),
              largePicture()});
    EXPECT_THAT(UndoStore(folder / "other").records(), SizeIs(1));
    QTest::qWait(300);
    EXPECT_FALSE(itemExists(helperLockFile())) << "it looks after the user's own store only";
}

TEST_F(BackgroundTest, AKilledProcessesWorkIsRemovedOnceItsToolsAreGone) {
    const QString slow = tools(R"(echo $$ >> "$(dirname "$0")/pids"; exec sleep 100)");
    const auto command = start(TARNWICK_EXECUTABLE, {"compress", "--tools", slow, largePicture()});
    const URL pids = folder / "tools/pids";
    ASSERT_TRUE(waitUntil([&] { return itemExists(pids); }));
    ASSERT_EQ(workFolders(), "work ");
    outputOf({"maintain"});
    EXPECT_EQ(workFolders(), "work ") << "its process lives";

    command->kill();
    EXPECT_EQ(statusOf(*command), 128 + SIGKILL);
    outputOf({"maintain"});
    EXPECT_EQ(workFolders(), "work ") << "its tool lives";

    std::istringstream lines(contents(pids));
    for (pid_t tool = 0; lines >> tool;) {
        ::kill(tool, SIGKILL);
    }
    const UndoRecord kept = replacedBefore(60);
    EXPECT_TRUE(waitUntil([&] {
        const auto helper = startHelper();
        helper->waitForFinished(300);
        helper->terminate();
        helper->waitForFinished(patience);
        return workFolders().empty();
    }));
    EXPECT_TRUE(store.hasBackup(kept));
    EXPECT_EQ(entries(folder / "data/Tarnwick/Work"), std::vector{folder / "data/Tarnwick/Work/sweep.lock"});
}

TEST_F(BackgroundTest, SettlesWhatWasPreparedAndTellsWhatItCannotSettle) {
    const URL photo = picture("prepared.png", 1);
    const UndoRecord prepared = store.prepare(photo, picture("winner.png", 200), UUID::random());
    atomicRename(folder / "winner.png", photo);
    const UndoRecord lost = store.prepare(picture("lost.png", 2), picture("winner.png", 200), UUID::random());
    removeFile(folder / "lost.png");
    EXPECT_THAT(outputOf({"maintain"}),
                HasSubstr("已清理 0 个意外中断留下的文件，处理 1 条未完成的记录。\n"));
    store.restore(store.readRecords().at(store.readRecords()[0].id == prepared.id ? 0 : 1));

    const auto helper = startHelper();
    EXPECT_EQ(statusOf(*helper), 0) << "no committed record has a backup";
    EXPECT_THAT(helper->readAllStandardError().toStdString(), HasSubstr((folder / "lost.png").path()));
    EXPECT_TRUE(store.hasBackup(lost));
}

} // namespace
} // namespace tarnwick::test

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", qgetenv("DBUS_SESSION_BUS_ADDRESS"));
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
