#include "Tarnwick/Model/ComparisonModel.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarnwick {
namespace {

constexpr double splitStep = 0.02;

Extent extent(QPointF point) {
    return {.width = point.x(), .height = point.y()};
}

Extent extent(QSizeF size) {
    return {.width = size.width(), .height = size.height()};
}

} // namespace

void ComparisonModel::setItem(const ComparisonItem& item) {
    item_ = item;
    emit itemChanged();
    setActualSize(false);
    setZoomRequest(0);
    setSplit(splitAtFirst);
}

void ComparisonModel::setViewport(QSizeF viewport) {
    if (viewport == viewport_) {
        return;
    }
    viewport_ = viewport;
    emit viewportChanged();
    change([](ComparisonGeometry& geometry) { geometry.settle(); });
}

double ComparisonModel::scale() const {
    return isEmpty() ? 1 : geometry().scale();
}

int ComparisonModel::percent() const {
    return static_cast<int>(std::lround(scale() * 100));
}

QSizeF ComparisonModel::displayedSize() const {
    if (isEmpty()) {
        return {0, 0};
    }
    const Extent displayed = geometry().displayedSize();
    return {displayed.width, displayed.height};
}

void ComparisonModel::setActualSize(bool actualSize) {
    actualSize_ = actualSize;
    zoom_ = 1;
    offset_ = {};
    emit geometryChanged();
}

void ComparisonModel::setZoomRequest(double factor) {
    if (factor != zoomRequest_) {
        zoomRequest_ = factor;
        emit zoomRequestChanged();
    }
}

void ComparisonModel::performZoomRequest() {
    if (zoomRequest_ != 0) {
        zoomBy(zoomRequest_, {viewport_.width() / 2, viewport_.height() / 2});
        setZoomRequest(0);
    }
}

void ComparisonModel::setSplit(double split) {
    const double within = std::clamp(split, 0.0, 1.0);
    if (!std::isnan(split) && within != split_) {
        split_ = within;
        emit splitChanged();
    }
}

void ComparisonModel::stepSplit(int steps) {
    setSplit(split_ + steps * splitStep);
}

void ComparisonModel::zoomBy(double factor, QPointF anchor) {
    change([&](ComparisonGeometry& geometry) { geometry.zoomBy(factor, extent(anchor)); });
}

void ComparisonModel::doubleClick(QPointF position) {
    change([&](ComparisonGeometry& geometry) { geometry.doubleClick(extent(position)); });
}

void ComparisonModel::beginDrag() {
    dragStart_ = offset_;
}

void ComparisonModel::drag(QPointF translation) {
    change([&](ComparisonGeometry& geometry) {
        geometry.moveTo(
            {.width = dragStart_.width + translation.x(), .height = dragStart_.height + translation.y()});
    });
}

void ComparisonModel::magnify(double magnification, QPointF position) {
    change([&](ComparisonGeometry& geometry) { geometry.magnify(magnification, extent(position)); });
}

double ComparisonModel::wheelMagnification(QPointF pixelDelta, QPointF lines, bool control) const {
    const ScrollEvent event = {.preciseDelta = pixelDelta.y(),
                               .coarseDelta = lines.y(),
                               .isPrecise = !pixelDelta.isNull(),
                               .hasControl = control};
    return magnification(event).value_or(std::numeric_limits<double>::quiet_NaN());
}

void ComparisonModel::pan(QPointF delta) {
    change([&](ComparisonGeometry& geometry) {
        geometry.moveTo({.width = offset_.width + delta.x(), .height = offset_.height + delta.y()});
    });
}

bool ComparisonModel::isEmpty() const {
    return item_.width < 1 || item_.height < 1 || viewport_.isEmpty();
}

ComparisonGeometry ComparisonModel::geometry() const {
    ComparisonGeometry geometry(
        {.width = static_cast<double>(item_.width), .height = static_cast<double>(item_.height)},
        extent(viewport_));
    geometry.zoom = zoom_;
    geometry.offset = offset_;
    geometry.actualSize = actualSize_;
    return geometry;
}

void ComparisonModel::change(const std::function<void(ComparisonGeometry&)>& operation) {
    if (isEmpty()) {
        return;
    }
    ComparisonGeometry changed = geometry();
    operation(changed);
    zoom_ = changed.zoom;
    offset_ = changed.offset;
    emit geometryChanged();
}

} // namespace tarnwick
