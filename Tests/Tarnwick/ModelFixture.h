#pragma once

#include "Scheduling/CompressionQueue.h"
#include "Support/EngineFixture.h"
#include "Support/PNGMaker.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Model/AppModel.h"

#include <QAbstractItemModelTester>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::test {

/// Runs the event loop until the condition holds; false when that takes too long.
bool waitUntil(const std::function<bool()>& condition);

/// Collects what Qt would log. One at a time.
class Log {
public:
    explicit Log(bool withDebugOutput = false);
    ~Log();
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    static std::string lines() { return lines_; }

private:
    static void add(QtMsgType type, const QMessageLogContext& context, const QString& message);

    static std::string lines_;
};

/// The desktop, as a record of what was asked of it. What it hears from outside is called by the test.
class FakeDesktop final : public DistributedNotifications,
                          public WakeMonitor,
                          public HelperLauncher,
                          public FileChooser,
                          public FileRevealer,
                          public Clock {
public:
    void post(NotificationName name) override { posted.emplace_back(rawValue(name)); }
    Registration observe(NotificationName name, std::function<void()> handler) override;
    Registration observeWake(std::function<void()> handler) override;
    void launch() override { ++launches; }
    void open(const QStringList& filters, Callback callback) override;
    void reveal(const URL& file) override { revealed.push_back(file); }
    Date now() const override { return time; }
    Registration startTimer(double seconds, std::function<void()> handler) override;

    std::vector<std::string> posted;
    int launches = 0;
    std::vector<URL> revealed;
    QStringList filters;
    Callback chosen;
    Date time = Date::now();
    std::function<void()> historyDidChange;
    std::function<void()> didWake;
    /// The seconds of the timer that runs; none when none does.
    std::optional<double> wait;
    /// Lets the timer run out.
    void fireTimer();

private:
    int timers_ = 0;
    std::function<void()> timeout_;
};

/// A model with real files, a real store and a real queue, scripted tools and a recorded desktop.
class ModelFixture : public EngineFixture {
protected:
    ModelFixture();

    void makeModel();
    /// Makes the model, and waits until its history is there and its maintenance is over.
    void start();
    /// Waits until nothing is at work any more, and the maintenance knows the store as it is.
    void settle();
    /// A PNG that the scripted tools make smaller.
    URL largePicture(const std::string& name) const { return picture(name, large); }
    /// A record in the store, made `age` seconds ago, of a file that was replaced by a smaller one.
    UndoRecord replaced(const std::string& name, double age = 60) const;

    const ImageTask& row(int number) { return model->tasks()->at(number); }
    QString idOf(int number) { return text(number, ImageTaskListModel::TaskId); }
    QString text(int number, ImageTaskListModel::Role role);
    bool can(int number, ImageTaskListModel::Role role);
    /// The names of the rows from the first to the last, each with its status text.
    std::vector<std::string> rows();

    static std::string textOf(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

    const Bytes large = pngBytes({.compressionLevel = 0});
    const Bytes small = pngBytes({.compressionLevel = 9});
    FakeDesktop desktop;
    Cancellation cancellation = Cancellation::make();
    std::optional<CompressionQueue> queue{std::in_place, 2, home / "locks"};
    std::optional<AppModel> model;

private:
    std::optional<QAbstractItemModelTester> tester_;
};

/// Keeps the queue from working on a file.
class Occupation {
public:
    Occupation(CompressionQueue& queue, const URL& file);
    ~Occupation();
    Occupation(const Occupation&) = delete;
    Occupation& operator=(const Occupation&) = delete;

private:
    std::promise<void> end_;
    std::future<void> job_;
};

} // namespace tarnwick::test
