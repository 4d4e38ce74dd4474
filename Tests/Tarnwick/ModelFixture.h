#pragma once

#include "Scheduling/CompressionQueue.h"
#include "Support/EngineFixture.h"
#include "Support/EnvironmentVariable.h"
#include "Support/Pictures.h"
#include "Support/Waiting.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Model/AppModel.h"

#include <gmock/gmock.h>

#include <QAbstractItemModelTester>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::test {

using Role = ImageTaskListModel;

/// Runs the event loop until the condition holds; false when patience runs out.
bool runUntil(const std::function<bool()>& condition);

/// The names of the rows in order, each with a space after it.
std::string names(const ImageTaskListModel& tasks);

/// Collects what Qt logs. One at a time.
class Log {
public:
    explicit Log(bool withDebugOutput = false);
    ~Log();

    static inline std::string lines;
};

/// Records what is asked of the desktop. The test calls the handlers.
class FakeDesktop final : public DistributedNotifications,
                          public WakeMonitor,
                          public HelperLauncher,
                          public FileChooser,
                          public FileRevealer,
                          public Clock {
public:
    void post(NotificationName name) override { posted.emplace_back(rawValue(name)); }
    Registration observe(NotificationName name, std::function<void()> handler) override {
        EXPECT_EQ(name, NotificationName::historyDidChange);
        return observation(historyDidChange, std::move(handler));
    }
    Registration observeWake(std::function<void()> handler) override {
        return observation(didWake, std::move(handler));
    }
    void launch() override { ++launches; }
    void open(const QStringList& nameFilters, Callback callback) override {
        filters = nameFilters;
        chosen = std::move(callback);
    }
    void reveal(const URL& file) override { revealed.push_back(file); }
    Date now() const override {
        hasToldTime = true;
        return time;
    }
    Registration startTimer(double seconds, std::function<void()> handler) override;
    /// Ends the running timer.
    void fireTimer() {
        wait.reset();
        timeout_();
    }

    std::vector<std::string> posted;
    int launches = 0;
    std::vector<URL> revealed;
    QStringList filters;
    Callback chosen;
    Date time = Date::now();
    /// The model asks for the time when the history is loaded.
    mutable bool hasToldTime = false;
    std::function<void()> historyDidChange;
    std::function<void()> didWake;
    /// The seconds of the running timer.
    std::optional<double> wait;

private:
    static Registration observation(std::function<void()>& observer, std::function<void()> handler) {
        observer = std::move(handler);
        return Registration([&observer] { observer = nullptr; });
    }

    int timers_ = 0;
    std::function<void()> timeout_;
};

/// Shows alerts as AlertPresenter demands; the test answers.
class FakeAlerts final : public AlertPresenter {
public:
    void show(const Alert& alert, Answer answer) override {
        EXPECT_FALSE(isOpen()) << "this test asks one question at a time";
        shown.push_back(alert);
        answer_ = std::move(answer);
    }
    bool isOpen() const { return answer_ != nullptr; }
    void answer(bool isFirstButton) { std::exchange(answer_, nullptr)(isFirstButton); }

    std::vector<Alert> shown;

private:
    Answer answer_;
};

/// A model with real files, a real store, a real queue, fake tools and a fake desktop.
class ModelFixture : public EngineFixture {
protected:
    ModelFixture();

    void makeModel();
    /// Makes the model and waits until it shows the store's records and has looked at their backups.
    void start();
    /// Waits until no task is active and the maintenance has seen the store.
    void settle();
    /// A PNG that the fake tools make smaller.
    URL largePicture(const std::string& name) const { return pictures.file(name, large); }
    /// A record, `age` seconds old, of a file that was replaced by a smaller one.
    UndoRecord replaced(const std::string& name, double age = 60) const;
    /// Keeps the queue from working on a file while the result lives.
    HeldJob hold(const URL& file);

    const ImageTask& row(int number) { return model->tasks()->at(number); }
    QVariant data(int number, int role) { return model->tasks()->index(number).data(role); }
    QString text(int number, int role) { return data(number, role).toString(); }
    QString idOf(int number) { return text(number, Role::TaskId); }
    bool can(int number, int role) { return data(number, role).toBool(); }
    std::string names() { return test::names(*model->tasks()); }
    /// Each row's name and status text.
    std::vector<std::string> rows();

    const std::string large = pictureText("photo.png");
    const std::string small = pictureText("photo-small.png");
    FakeDesktop desktop;
    FakeAlerts alerts;
    const EnvironmentVariable applicationData{"XDG_DATA_HOME", (home / "data").path()};
    std::optional<CompressionQueue> queue{std::in_place, 2, home / "locks"};
    std::optional<AppModel> model;

private:
    bool isMaintained() const { return desktop.wait.has_value() == store.nextBackupExpiration().has_value(); }

    std::optional<QAbstractItemModelTester> tester_;
};

} // namespace tarnwick::test
