#include "Tarnwick/Views/World.h"

#include "Support/Pictures.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QFile>
#include <QMimeData>
#include <QMouseEvent>
#include <QQuickWindow>
#include <algorithm>
#include <filesystem>
#include <memory>

namespace tarnwick::test {

namespace {

std::string original() {
    return pictureText("large.png");
}

std::unique_ptr<QMimeData> dragged(const QList<QUrl>& files) {
    auto data = std::make_unique<QMimeData>();
    data->setUrls(files);
    return data;
}

QPoint middle(const QWindow& window) {
    return {window.width() / 2, window.height() / 2};
}

} // namespace

World::World()
    : model_({queue_, notifications_, wake_, helper_, chooser_, revealer_, clock_},
             CompressionEngine(tools_.folder(), UndoStore(home_ / "Undo"), 60, 70, 70, cancellation_),
             cancellation_) {
    const URL output = home_.file("output.png", pictureText("large-small.png"));
    tools_.scores({"90"});
    for (const char* tool : {"pngquant", "oxipng"}) {
        tools_.script(tool, {{"wait-for", (home_ / "go").path()}, {"output", output.path()}});
    }
    release();
}

QUrl World::picture(const QString& name) const {
    return toQUrl(pictures_.file(name.toStdString(), original()));
}

QUrl World::text(const QString& name) const {
    return toQUrl(pictures_.file(name.toStdString(), "no picture"));
}

bool World::isOriginal(const QUrl& picture) const {
    return contents(fromQUrl(picture)) == original();
}

void World::spoil(const QUrl& picture) const {
    pictures_.file(fromQUrl(picture).lastPathComponent(), pictureText("photo.png"));
}

void World::hold() const {
    QFile::remove(toQString((home_ / "go").path()));
}

void World::release() const {
    home_.file("go", "");
}

QVariantMap World::windowProperties() {
    return {{"model", QVariant::fromValue(&model_)},
            {"chooser", QVariant::fromValue(&chooser_)},
            {"alerts", QVariant::fromValue(&alerts_)},
            {"extensionSettings", QVariant::fromValue(&extensionSettings_)}};
}

void World::install(const QStringList& programs) const {
    std::filesystem::remove_all((home_ / "bin").path());
    createDirectories(home_ / "bin");
    for (const QString& program : programs) {
        std::filesystem::copy_file("/bin/true", (home_ / "bin").appending(program.toStdString()).path());
    }
}

bool World::isEnabled(const QString& fileManager) const {
    const auto states = menus_.states();
    return std::any_of(states.begin(), states.end(), [&](const auto& state) {
        return QString::fromStdString(name(state.fileManager)).startsWith(fileManager) && state.isEnabled;
    });
}

void World::obstruct(const QString& folder) const {
    createDirectories(home_ / "data");
    home_.file("data/" + folder.toStdString(), "");
}

void World::alert() {
    alerts_.show({.message = "Finder 右键菜单暂未启用",
                  .informativeText = "自动启用未通过系统校验。可打开系统设置检查扩展。\n"
                                     "macOS 尚未确认此安装位置的 Finder 扩展已启用。",
                  .firstButton = "打开系统设置",
                  .secondButton = "稍后"},
                 [this](bool isFirstButton) {
                     answers_ += isFirstButton ? "1" : "2";
                     emit answersChanged();
                 });
}

void World::dragOver(QWindow* window, const QList<QUrl>& files) const {
    const auto data = dragged(files);
    QDragEnterEvent event(middle(*window), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &event);
}

void World::dragAway(QWindow* window) const {
    QDragLeaveEvent event;
    QCoreApplication::sendEvent(window, &event);
}

void World::drop(QWindow* window, const QList<QUrl>& files) const {
    dragOver(window, files);
    const auto data = dragged(files);
    QDropEvent event(middle(*window), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &event);
}

void World::doubleClick(QQuickItem* item, qreal x, qreal y) {
    const QPointF place = item->mapToScene({x, y});
    QWindow* window = item->window();
    for (int click = 0; click < 2; ++click) {
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            const auto held = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
            QMouseEvent event(type, place, window->mapToGlobal(place), Qt::LeftButton, held, Qt::NoModifier);
            event.setTimestamp(clickTime_ += 20);
            QCoreApplication::sendEvent(window, &event);
        }
    }
    clickTime_ += 10'000;
}

void World::Revealer::reveal(const URL& file) {
    world.revealed_ = toQString(file.path());
    emit world.revealedChanged();
}

} // namespace tarnwick::test
