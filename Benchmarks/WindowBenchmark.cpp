// The window with a history of 10,000 pictures: how long until its first frame and until its rows are there,
// and the times between frames while it scrolls. Run it on the screen to be measured, or under xvfb-run.

#include "Engine/CompressionEngine.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Measuring.h"
#include "Scheduling/CompressionQueue.h"
#include "Support/Pictures.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "Tarnwick/Desktop/DesktopFileRevealer.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/Views/MainWindow.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickItem>
#include <QTest>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace {

using namespace tarnwick;

constexpr int rows = 10'000;
constexpr int frames = 600;
/// Points a frame, about two rows: a fast scroll.
constexpr double step = 150;

void write(const URL& file, std::string_view bytes) {
    std::ofstream(file.path(), std::ios::binary) << bytes;
}

/// A record with its backup for each of many pictures.
void writeHistory(const URL& pictures, const URL& root) {
    const std::string bytes = test::pictureText("large-small.png");
    const UUID session = UUID::random();
    const URL folder = root.appending(session.text());
    createDirectories(folder);
    createDirectories(pictures);
    for (int number = 0; number < rows; ++number) {
        const UUID id = UUID::random();
        const URL file = pictures.appending(fmt::format("picture-{:05}.png", number));
        const UndoRecord record{.id = id,
                                .sessionID = session,
                                .createdAt = Date::now(),
                                .originalPath = file.path(),
                                .backupName = id.text() + ".png",
                                .originalBytes = static_cast<std::int64_t>(bytes.size()),
                                .replacementBytes = static_cast<std::int64_t>(bytes.size()) - number % 100,
                                .replacementHash = {},
                                .originalHash = {},
                                .state = UndoRecord::State::committed,
                                .convertedPath = {}};
        const Bytes json = record.encoded();
        write(file, bytes);
        write(folder.appending(record.backupName), bytes);
        write(folder.appending(id.text() + ".json"),
              {reinterpret_cast<const char*>(json.data()), json.size()});
    }
}

/// The times between `count` frames, in milliseconds, in order of size, while the list scrolls.
std::vector<double> scroll(QQuickWindow& window, QQuickItem& list, int count) {
    std::vector<double> times;
    QElapsedTimer timer;
    timer.start();
    double direction = step;
    const auto connection = QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [&] {
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        timer.restart();
        const double end = list.property("contentHeight").toDouble() - list.height();
        const double next = list.property("contentY").toDouble() + direction;
        direction = next <= 0 ? step : next >= end ? -step : direction;
        list.setProperty("contentY", std::clamp(next, 0.0, end));
    });
    window.update();
    if (!QTest::qWaitFor([&] { return times.size() > static_cast<std::size_t>(count); }, 120'000)) {
        throw std::runtime_error("the window draws no frames");
    }
    QObject::disconnect(connection);
    times.erase(times.begin());
    std::sort(times.begin(), times.end());
    return times;
}

double quantile(const std::vector<double>& sorted, double part) {
    return sorted.at(static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1)));
}

int measure(const QElapsedTimer& sinceStart, const URL& folder) {
    DBusNotifications notifications;
    LogindWakeMonitor wake;
    BundleHelperLauncher helper(folder.appending("absent"));
    QuickFileChooser chooser;
    DesktopFileRevealer revealer;
    SystemClock clock;
    CompressionQueue queue(1, folder.appending("Locks"));
    QuickAlertPresenter alerts;
    AppModel model({queue, notifications, wake, helper, chooser, revealer, clock, alerts},
                   CompressionEngine(folder, UndoStore(folder.appending("Undo")), 60, 70, 70));
    ExtensionSettings extensionSettings({folder.appending("absent"), UserDirectories::fromEnvironment()});
    const MainWindow window({model, chooser, alerts, extensionSettings});
    qint64 firstFrame = -1;
    QObject::connect(window.window(), &QQuickWindow::frameSwapped, &model,
                     [&] { firstFrame = firstFrame < 0 ? sinceStart.elapsed() : firstFrame; });
    static_cast<void>(QTest::qWaitFor([&] { return firstFrame >= 0; }, 60'000));
    static_cast<void>(QTest::qWaitFor([&] { return model.tasks()->count() == rows; }, 120'000));
    const qint64 loaded = sinceStart.elapsed();
    fmt::print("first frame after {} ms, {} rows after {} ms\n", firstFrame, model.tasks()->count(), loaded);
    auto* list = window.window()->findChild<QQuickItem*>("list");
    const auto times = scroll(*window.window(), *list, frames);
    fmt::print("scrolling, {} points a frame: median {:.1f} ms, 99th percentile {:.1f} ms, worst {:.1f} ms\n",
               step, quantile(times, 0.5), quantile(times, 0.99), times.back());
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    return benchmark::run([&] {
        const URL folder = benchmark::newFolder();
        writeHistory(folder.appending("Pictures"), folder.appending("Undo"));
        QElapsedTimer sinceStart;
        sinceStart.start();
        int status = EXIT_FAILURE;
        {
            const QGuiApplication application(argc, argv);
            MainWindow::prepareApplication();
            status = measure(sinceStart, folder);
        }
        std::filesystem::remove_all(folder.path());
        return status;
    });
}
