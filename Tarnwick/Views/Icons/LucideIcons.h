#pragma once

#include <QQuickImageProvider>

namespace tarnwick {

/// Draws the line icons: "image://icon/trash/0e8574" is the trash in that colour.
class LucideIcons : public QQuickImageProvider {
public:
    LucideIcons() : QQuickImageProvider(QQuickImageProvider::Image) {}

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace tarnwick
