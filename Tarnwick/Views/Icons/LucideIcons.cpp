#include "Tarnwick/Views/Icons/LucideIcons.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace tarnwick {

namespace {

QByteArray drawing(const QString& name, const QString& color) {
    QFile file(QStringLiteral(":/qt/qml/Tarnwick/Icons/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.readAll().replace("currentColor", "#" + color.right(6).toLatin1());
}

} // namespace

QImage LucideIcons::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    const qsizetype slash = id.indexOf('/');
    QSvgRenderer renderer(drawing(id.left(slash), id.mid(slash + 1)));
    if (!renderer.isValid()) {
        return {};
    }
    *size = requestedSize.isEmpty() ? renderer.defaultSize() : requestedSize;
    QImage image(*size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

} // namespace tarnwick
