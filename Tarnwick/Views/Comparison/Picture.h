#pragma once

#include "Tarnwick/Views/Comparison/PicturePyramid.h"

#include <QtQml/qqmlregistration.h>

#include <QMetaType>
#include <QSizeF>
#include <memory>
#include <utility>

namespace tarnwick {

/// A decoded picture that QML can pass on without copying the pixels.
class Picture {
    Q_GADGET
    QML_VALUE_TYPE(picture)
    Q_PROPERTY(QSizeF size READ size FINAL)

public:
    Picture() = default;
    explicit Picture(std::shared_ptr<const PicturePyramid> pyramid) : pyramid_(std::move(pyramid)) {}

    QSizeF size() const {
        return pyramid_
                   ? QSizeF(static_cast<qreal>(pyramid_->width()), static_cast<qreal>(pyramid_->height()))
                   : QSizeF();
    }
    const std::shared_ptr<const PicturePyramid>& pyramid() const noexcept { return pyramid_; }

    friend bool operator==(const Picture&, const Picture&) = default;

private:
    std::shared_ptr<const PicturePyramid> pyramid_;
};

} // namespace tarnwick
