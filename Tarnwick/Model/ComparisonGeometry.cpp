#include "Tarnwick/Model/ComparisonGeometry.h"

#include <algorithm>
#include <cmath>

namespace tarnwick {
namespace {

double withinEdge(double offset, double displayed, double viewport) {
    const double limit = std::max((displayed - viewport) / 2, 0.0);
    return std::clamp(offset, -limit, limit);
}

/// The centre's new offset when the picture is scaled by `ratio` about the anchor.
double kept(double anchor, double viewport, double offset, double ratio) {
    const double fromCentre = anchor - viewport / 2;
    return fromCentre - ratio * (fromCentre - offset);
}

} // namespace

double ComparisonGeometry::fitScale() const {
    return std::min({viewport_.width / image_.width, viewport_.height / image_.height, 1.0});
}

double ComparisonGeometry::upperZoom() const {
    return std::max(minimumZoom(), maximumZoom);
}

Extent ComparisonGeometry::displayedSize() const {
    return {.width = scale() * image_.width, .height = scale() * image_.height};
}

void ComparisonGeometry::zoomBy(double factor, Extent anchor) {
    if (!std::isfinite(factor) || factor <= 0) {
        return;
    }
    const double newZoom = std::clamp(zoom * factor, minimumZoom(), upperZoom());
    const double ratio = newZoom / zoom;
    zoom = newZoom;
    moveTo({.width = kept(anchor.width, viewport_.width, offset.width, ratio),
            .height = kept(anchor.height, viewport_.height, offset.height, ratio)});
}

void ComparisonGeometry::moveTo(Extent newOffset) {
    const Extent displayed = displayedSize();
    offset = {.width = withinEdge(newOffset.width, displayed.width, viewport_.width),
              .height = withinEdge(newOffset.height, displayed.height, viewport_.height)};
}

void ComparisonGeometry::doubleClick(Extent anchor) {
    constexpr double tolerance = 1.01;
    const bool isZoomedIn = zoom > minimumZoom() * tolerance;
    zoomBy(isZoomedIn ? minimumZoom() / zoom : 2.0, anchor);
}

void ComparisonGeometry::magnify(double magnification, Extent anchor) {
    zoomBy(1 + magnification, anchor);
}

void ComparisonGeometry::settle() {
    zoom = std::clamp(zoom, minimumZoom(), upperZoom());
    moveTo(offset);
}

std::optional<double> magnification(const ScrollEvent& event) {
    constexpr double leastPreciseDelta = 0.0001;
    constexpr double perPoint = 0.008;
    constexpr double perLine = 0.12;
    constexpr double limit = 0.5;
    if (event.isPrecise && !event.hasControl) {
        return std::nullopt;
    }
    const bool usesPrecise = std::abs(event.preciseDelta) > leastPreciseDelta;
    const double delta = usesPrecise ? event.preciseDelta : event.coarseDelta;
    const double strength = delta * (event.isPrecise ? perPoint : perLine);
    return std::exp(std::clamp(strength, -limit, limit)) - 1;
}

} // namespace tarnwick
