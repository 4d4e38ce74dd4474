#pragma once

#include <QQuickImageProvider>

namespace tarnwick {

/// Provides the window's line icons: "image://icon/trash/0e8574" is the trash can in that colour. They are
/// our own drawings on the 24-unit grid of the Lucide icons.
class LucideIcons : public QQuickImageProvider {
public:
    LucideIcons() : QQuickImageProvider(QQuickImageProvider::Image) {}

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace tarnwick
