#pragma once

#include <optional>

namespace tarnwick {

/// A place or extent in two dimensions, in points.
struct Extent {
    double width = 0;
    double height = 0;

    friend bool operator==(const Extent&, const Extent&) = default;
};

/// A turn of the wheel or a movement on a trackpad; upwards is positive.
struct ScrollEvent {
    /// In points; only from trackpads and high-resolution wheels.
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
    /// The scale at zoom 1: 1 for the actual size, else the fit scale.
    double base() const { return actualSize ? 1 : fitScale(); }
    double minimumZoom() const { return fitScale() / base(); }
    double upperZoom() const;
    /// Points per pixel of the picture.
    double scale() const { return zoom * base(); }
    Extent displayedSize() const;

    /// Zooms by a factor within the limits. The point of the picture under the anchor stays there, as far as
    /// the edges allow. Ignores a factor that is not finite and positive.
    void zoomBy(double factor, Extent anchor);
    /// Sets the offset of the picture's centre from the viewport's, within the edges.
    void moveTo(Extent newOffset);
    /// Doubles the smallest zoom, or returns to it from a larger one.
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

/// The magnification that a scroll event stands for; none when it pans instead.
std::optional<double> magnification(const ScrollEvent& event);

} // namespace tarnwick
