// Takes the pictures of the window for docs/images: Screenshots FOLDER PICTURE... compresses copies of the
// pictures and writes the window, in the light and the dark theme, the comparison, a question and the
// settings to the folder as PNG files. Run it in the repository, under xvfb-run and dbus-run-session.

#include "Measuring.h"
#include "Tarnwick/QtSupport/QtConversions.h"
#include "Tarnwick/TarnwickApp.h"

#include <QGuiApplication>
#include <QPalette>
#include <QQuickItem>
#include <QTest>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace {

using namespace tarnwick;
namespace fs = std::filesystem;

/// Long enough for every animation and tool tip's delay.
constexpr int settlingTime = 1500;

void expect(bool condition, const char* message) {
    if (!condition) {
        throw std::runtime_error(message);
    }
}

class Photographer {
public:
    Photographer(TarnwickApp& app, fs::path folder)
        : app_(app), window_(*app.window().window()), folder_(std::move(folder)) {}

    void takeAll(const QList<QUrl>& pictures) {
        expect(QTest::qWaitForWindowExposed(&window_), "no window");
        take("first");
        app_.model().add(pictures);
        expect(QTest::qWaitFor([&] { return !app_.model().isCompressing(); }, 600'000), "still compressing");
        QTest::mouseMove(&window_, QPoint(200, 90));
        takeInBothThemes("window");
        app_.model().setAlertMessage("请先选择图片。");
        take("alert");
        app_.model().setAlertMessage({});
        app_.alerts().show({.message = "启用 Finder 右键菜单？",
                            .informativeText = "图片会原地压缩，原图保留 4 小时，可随时恢复。",
                            .firstButton = "启用",
                            .secondButton = "稍后"},
                           [](bool) {});
        takeInBothThemes("question");
        app_.alerts().finish(false);
        takeSettings();
        takeComparison();
    }

private:
    void take(const QString& name) { take(name, window_); }
    void take(const QString& name, QQuickWindow& window) {
        QTest::qWait(settlingTime);
        const QString file = QString::fromStdString((folder_ / (name.toStdString() + ".png")).string());
        expect(window.grabWindow().save(file), "cannot write the picture");
    }
    void takeInBothThemes(const QString& name) {
        take(name);
        const QPalette day = QGuiApplication::palette();
        QPalette night;
        night.setColor(QPalette::Window, Qt::black);
        night.setColor(QPalette::WindowText, Qt::white);
        QGuiApplication::setPalette(night);
        take(name + "-dark");
        QGuiApplication::setPalette(day);
    }
    void takeSettings() {
        app_.extensionSettings().showExtensionManagementInterface();
        auto& settings = *window_.findChild<QQuickWindow*>("extensionSettings");
        take("settings", settings);
        settings.close();
    }
    void takeComparison() {
        app_.window().viewState().setProperty(
            "comparedTask", app_.model().tasks()->index(0).data(ImageTaskListModel::TaskId));
        window_.resize(880, 620);
        take("comparison");
    }

    TarnwickApp& app_;
    QQuickWindow& window_;
    fs::path folder_;
};

} // namespace

int main(int argc, char** argv) {
    return benchmark::run([&] {
        const QGuiApplication application(argc, argv);
        const QStringList arguments = QGuiApplication::arguments();
        expect(arguments.size() > 2, "usage: Screenshots FOLDER PICTURE...");
        const fs::path home = benchmark::newFolder().path();
        fs::create_directories(home);
        qputenv("XDG_DATA_HOME", (home / "data").c_str());
        qputenv("XDG_CONFIG_HOME", (home / "configuration").c_str());
        QList<QUrl> copies;
        for (const QString& picture : arguments.mid(2)) {
            const fs::path source = picture.toStdString();
            fs::copy_file(source, home / source.filename());
            copies.append(QUrl::fromLocalFile(QString::fromStdString(home / source.filename())));
        }
        MainWindow::prepareApplication();
        {
            // An empty bundle: the tools come from Vendor/Bin, and no helper is started.
            TarnwickApp app(ApplicationBundle(URL::file((home / "A.app/Contents/Linux/Tarnwick").string())));
            Photographer(app, arguments.at(1).toStdString()).takeAll(copies);
        }
        fs::remove_all(home);
        return EXIT_SUCCESS;
    });
}
