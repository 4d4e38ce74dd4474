#include "Tarnwick/Views/World.h"

#include "Support/PNGMaker.h"
#include "Tarnwick/Model/Conversions.h"

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QFile>
#include <QMimeData>
#include <QMouseEvent>
#include <QQuickWindow>
#include <memory>

namespace tarnwick::test {

namespace {

std::string asText(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

std::string original() {
    return asText(pngBytes({.width = 600, .height = 400, .compressionLevel = 0}));
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
    const URL output =
        home_.file("output.png", asText(pngBytes({.width = 600, .height = 400, .compressionLevel = 9})));
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
    pictures_.file(fromQUrl(picture).lastPathComponent(), asText(pngBytes({})));
}

void World::hold() const {
    QFile::remove(toQString((home_ / "go").path()));
}

void World::release() const {
    home_.file("go", "");
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
