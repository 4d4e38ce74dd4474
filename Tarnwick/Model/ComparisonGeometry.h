#pragma once

#include <optional>

namespace tarnwick {

/// A place or extent in two dimensions, in points.
struct Extent {
    double width = 0;
    double height = 0;

    friend bool operator==(const Extent&, const Extent&) = default;
};

/// A turn of the wheel or a stroke on a trackpad, upwards positive.
struct ScrollEvent {
    /// In points; only trackpads and fine wheels know it.
    double preciseDelta = 0;
    /// In lines.
    double coarseDelta = 0;
    bool isPrecise = false;
    bool hasControl = false;
};

/// Zooming and panning of a picture in a viewport. Anchors are in the viewport's coordinates, from its top
/// left. The picture and the viewport must not be empty.
class ComparisonGeometry {
public:
    static constexpr double maximumZoom = 16;

    ComparisonGeometry(Extent image, Extent viewport) : image_(image), viewport_(viewport) {}

    /// The largest scale, at most 1, at which the whole picture fits.
    double fitScale() const;
    /// The scale at zoom 1: that of the pixels themselves, or the fit scale.
    double base() const { return actualSize ? 1 : fitScale(); }
    double minimumZoom() const { return fitScale() / base(); }
    double upperZoom() const;
    /// Points a pixel of the picture.
    double scale() const { return zoom * base(); }
    Extent displayedSize() const;

    /// Zooms by a finite factor above zero, as far as the limits allow; the picture's place under the anchor
    /// stays there as far as the edges allow.
    void zoomBy(double factor, Extent anchor);
    /// Puts the picture's centre at this offset from the viewport's, within the edges.
    void moveTo(Extent newOffset);
    /// To double the size, or back to the smallest from anything larger.
    void doubleClick(Extent anchor);
    /// A magnification of 0 changes nothing, 1 doubles.
    void magnify(double magnification, Extent anchor);
    /// Brings zoom and offset back within their limits.
    void settle();

    double zoom = 1;
    Extent offset;
    bool actualSize = false;

private:
    Extent image_;
    Extent viewport_;
};

/// By how much a scroll magnifies; none when it is to pan instead.
std::optional<double> magnification(const ScrollEvent& event);

} // namespace tarnwick
