#pragma once

#include "Tarnwick/Model/ComparisonGeometry.h"
#include "Tarnwick/Model/ComparisonItem.h"

#include <QObject>
#include <QPointF>
#include <QSizeF>
#include <functional>

namespace tarnwick {

/// Zoom, offset and split of the comparison view, shared by its two pictures. Points are in the viewport's
/// coordinates. While the item or the viewport is empty, zooming and moving do nothing.
class ComparisonModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(tarnwick::ComparisonItem item READ item WRITE setItem NOTIFY itemChanged)
    Q_PROPERTY(QSizeF viewport READ viewport WRITE setViewport NOTIFY viewportChanged)
    Q_PROPERTY(double zoom READ zoom NOTIFY geometryChanged)
    Q_PROPERTY(QPointF offset READ offset NOTIFY geometryChanged)
    Q_PROPERTY(double scale READ scale NOTIFY geometryChanged)
    Q_PROPERTY(int percent READ percent NOTIFY geometryChanged)
    Q_PROPERTY(QSizeF displayedSize READ displayedSize NOTIFY geometryChanged)
    Q_PROPERTY(bool actualSize READ actualSize WRITE setActualSize NOTIFY geometryChanged)
    Q_PROPERTY(double zoomRequest READ zoomRequest WRITE setZoomRequest NOTIFY zoomRequestChanged)
    Q_PROPERTY(double split READ split WRITE setSplit NOTIFY splitChanged)

public:
    static constexpr double zoomInFactor = 1.25;
    static constexpr double zoomOutFactor = 0.8;
    static constexpr double splitAtFirst = 0.5;

    using QObject::QObject;

    const ComparisonItem& item() const noexcept { return item_; }
    /// Shows another pair: fitted, centred and split in the middle.
    void setItem(const ComparisonItem& item);
    QSizeF viewport() const noexcept { return viewport_; }
    void setViewport(QSizeF viewport);

    /// Relative to the fit scale, or to the actual size.
    double zoom() const noexcept { return zoom_; }
    /// Of the pictures' centre from the viewport's.
    QPointF offset() const noexcept { return {offset_.width, offset_.height}; }
    /// Points per pixel: 1 is the actual size.
    double scale() const;
    /// The scale in whole percent.
    int percent() const;
    QSizeF displayedSize() const;
    bool actualSize() const noexcept { return actualSize_; }
    /// "实际大小" or "适合窗口"; also resets zoom and offset to 1 and (0, 0).
    void setActualSize(bool actualSize);

    /// The factor that a zoom button requested; 0 without a request.
    double zoomRequest() const noexcept { return zoomRequest_; }
    void setZoomRequest(double factor);
    Q_INVOKABLE void requestZoomIn() { setZoomRequest(zoomInFactor); }
    Q_INVOKABLE void requestZoomOut() { setZoomRequest(zoomOutFactor); }
    /// Zooms as requested about the viewport's centre, and clears the request.
    Q_INVOKABLE void performZoomRequest();

    /// The divider's position, from 0 at the viewport's left edge to 1 at the right.
    double split() const noexcept { return split_; }
    Q_INVOKABLE void setSplit(double split);
    /// Moves by this many steps of an arrow key; negative ones go left.
    Q_INVOKABLE void stepSplit(int steps);

    Q_INVOKABLE void zoomBy(double factor, QPointF anchor);
    Q_INVOKABLE void doubleClick(QPointF position);
    Q_INVOKABLE void beginDrag();
    /// `translation` counts from where the drag began.
    Q_INVOKABLE void drag(QPointF translation);
    Q_INVOKABLE void magnify(double magnification, QPointF position);
    /// By how much a wheel event magnifies; NaN when it pans instead. `pixelDelta` is in points, zero from a
    /// plain wheel; `lines` has one line for a step of 120 in angleDelta.
    Q_INVOKABLE double wheelMagnification(QPointF pixelDelta, QPointF lines, bool control) const;
    Q_INVOKABLE void pan(QPointF delta);

signals:
    void itemChanged();
    void viewportChanged();
    void geometryChanged();
    void zoomRequestChanged();
    void splitChanged();

private:
    bool isEmpty() const;
    ComparisonGeometry geometry() const;
    void change(const std::function<void(ComparisonGeometry&)>& operation);

    ComparisonItem item_;
    QSizeF viewport_{0, 0};
    double zoom_ = 1;
    Extent offset_;
    bool actualSize_ = false;
    Extent dragStart_;
    double zoomRequest_ = 0;
    double split_ = splitAtFirst;
};

} // namespace tarnwick
