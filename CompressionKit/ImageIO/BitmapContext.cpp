#include "ImageIO/BitmapContext.h"

#include "ImageIO/ImageLimits.h"
#include "ImageIO/InvalidImage.h"

#include <pixman.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

namespace tarnwick {
namespace {

/// pixman counts in 16.16 and silently draws nothing for an image with a side of 32,767 or more pixels.
/// Longer ones are drawn in stretches, each from the part of the source that it needs.
constexpr std::int64_t longestStretch = 4096;

struct UnreferenceImage {
    void operator()(pixman_image_t* image) const noexcept { pixman_image_unref(image); }
};
using Image = std::unique_ptr<pixman_image_t, UnreferenceImage>;

struct FreeKernel {
    void operator()(pixman_fixed_t* values) const noexcept {
        std::free(values); // NOLINT(cppcoreguidelines-no-malloc): pixman's own
    }
};

/// How one axis of a picture is laid along the canvas: `source` pixels fill `target` pixels from `origin` on.
/// The target pixels from `first` to `last` are on the canvas.
struct Axis {
    std::int64_t source;
    std::int64_t target;
    std::int64_t origin;
    std::int64_t first;
    std::int64_t last;

    std::int64_t visible() const { return last - first; }
    bool isScaled() const { return source != target; }
    double scale() const { return static_cast<double>(source) / static_cast<double>(target); }
    /// The scale for pixman: limited so that it does not vanish in 16.16 and the kernels stay in its range.
    double kernelScale() const {
        return std::clamp(scale(), 1.0 / 65536, static_cast<double>(longestStretch));
    }
};

/// An axis that is not scaled.
Axis unscaled(std::int64_t length, std::int64_t origin) {
    return {length, length, origin, 0, length};
}

Axis axis(std::int64_t source, std::int64_t target, std::int64_t origin, std::int64_t canvas) {
    constexpr std::int64_t far = std::int64_t{1} << 62;
    const std::int64_t at = std::clamp(origin, -far, far);
    return {source, target, at, std::max<std::int64_t>(0, -at), std::min(target, canvas - at)};
}

/// The part of an axis that is drawn at once.
struct Stretch {
    std::int64_t target;
    std::int64_t length;
    std::int64_t source;
    std::int64_t sourceLength;
    /// Where the target's left edge falls in the part of the source.
    double offset;
};

Stretch stretch(const Axis& axis, std::int64_t first, std::int64_t length) {
    const double scale = axis.scale();
    const double reach = axis.kernelScale() / 2 + 2;
    const double firstCentre = (static_cast<double>(first) + 0.5) * scale;
    const double lastCentre = (static_cast<double>(first + length) - 0.5) * scale;
    const std::int64_t from = std::max<std::int64_t>(0, std::llround(std::floor(firstCentre - reach)));
    const std::int64_t to = std::min(axis.source, std::int64_t{std::llround(std::ceil(lastCentre + reach))});
    return {axis.origin + first, length, from, to - from,
            firstCentre - axis.kernelScale() / 2 - static_cast<double>(from)};
}

std::vector<Stretch> stretches(const Axis& axis) {
    const auto step =
        static_cast<std::int64_t>(static_cast<double>(longestStretch) / std::max(axis.kernelScale(), 1.0));
    std::vector<Stretch> parts;
    for (std::int64_t first = axis.first; first < axis.last; first += step) {
        parts.push_back(stretch(axis, first, std::min(step, axis.last - first)));
    }
    return parts;
}

/// The kernel of one axis: the exact share of each covered source pixel when the axis shrinks, linear
/// interpolation when it grows. pixman evaluates it at several places within a pixel; a wider kernel needs
/// fewer.
struct Kernel {
    explicit Kernel(const Axis& axis) : scale(std::max(axis.kernelScale(), 1.0)) {
        if (axis.isScaled()) {
            reconstruct = scale > 1 ? PIXMAN_KERNEL_BOX : PIXMAN_KERNEL_LINEAR;
            sample = scale > 1 ? PIXMAN_KERNEL_BOX : PIXMAN_KERNEL_IMPULSE;
            subsampleBits = std::clamp(8 - std::ilogb(scale), 1, 8);
        }
    }

    double scale;
    pixman_kernel_t reconstruct = PIXMAN_KERNEL_BOX;
    pixman_kernel_t sample = PIXMAN_KERNEL_IMPULSE;
    int subsampleBits = 0;
};

struct Filter {
    Filter(const Kernel& across, const Kernel& down)
        : values(pixman_filter_create_separable_convolution(
              &count, pixman_double_to_fixed(across.scale), pixman_double_to_fixed(down.scale),
              across.reconstruct, down.reconstruct, across.sample, down.sample, across.subsampleBits,
              down.subsampleBits)) {
        if (!values) {
            throw std::bad_alloc();
        }
    }

    int count = 0;
    std::unique_ptr<pixman_fixed_t, FreeKernel> values;
};

/// The rectangle of a bitmap as pixman sees it. The pixels stay the bitmap's.
Image imageOf(const Bitmap& bitmap, std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height) {
    // pixman takes red for blue here: drawing treats them alike, and this order is its fast one.
    constexpr auto format = std::endian::native == std::endian::little ? PIXMAN_a8r8g8b8 : PIXMAN_b8g8r8a8;
    const std::uint8_t* corner = bitmap.pixels.data() + (y * bitmap.width + x) * bytesPerPixel;
    // pixman has one type for pixels that it reads and pixels that it writes.
    auto* bits = reinterpret_cast<std::uint32_t*>(const_cast<std::uint8_t*>(corner));
    Image image(pixman_image_create_bits(format, static_cast<int>(width), static_cast<int>(height), bits,
                                         static_cast<int>(bitmap.width * bytesPerPixel)));
    if (!image) {
        throw std::bad_alloc();
    }
    return image;
}

class Painter {
public:
    Painter(const Bitmap& picture, const Axis& across, const Axis& down)
        : picture_(picture), across_(across), down_(down), filter_(Kernel(across), Kernel(down)) {}

    void paint(pixman_op_t operation, Bitmap& canvas) const {
        const std::vector<Stretch> columns = stretches(across_);
        for (const Stretch& rows : stretches(down_)) {
            for (const Stretch& column : columns) {
                paint(operation, canvas, column, rows);
            }
        }
    }

private:
    void paint(pixman_op_t operation, Bitmap& canvas, const Stretch& x, const Stretch& y) const {
        const Image source = imageOf(picture_, x.source, y.source, x.sourceLength, y.sourceLength);
        const Image target = imageOf(canvas, x.target, y.target, x.length, y.length);
        pixman_transform_t transform;
        pixman_transform_init_scale(&transform, pixman_double_to_fixed(across_.kernelScale()),
                                    pixman_double_to_fixed(down_.kernelScale()));
        transform.matrix[0][2] = pixman_double_to_fixed(x.offset);
        transform.matrix[1][2] = pixman_double_to_fixed(y.offset);
        // Beyond its borders the picture repeats its border pixels, so that they do not fade.
        pixman_image_set_repeat(source.get(), PIXMAN_REPEAT_PAD);
        if (pixman_image_set_transform(source.get(), &transform) == 0 || !setFilter(source.get())) {
            throw std::bad_alloc();
        }
        pixman_image_composite32(operation, source.get(), nullptr, target.get(), 0, 0, 0, 0, 0, 0,
                                 static_cast<int>(x.length), static_cast<int>(y.length));
    }

    bool setFilter(pixman_image_t* source) const {
        const bool isExact = !across_.isScaled() && !down_.isScaled();
        return (isExact ? pixman_image_set_filter(source, PIXMAN_FILTER_NEAREST, nullptr, 0)
                        : pixman_image_set_filter(source, PIXMAN_FILTER_SEPARABLE_CONVOLUTION,
                                                  filter_.values.get(), filter_.count)) != 0;
    }

    const Bitmap& picture_;
    Axis across_;
    Axis down_;
    Filter filter_;
};

Bitmap transparentBitmap(std::int64_t width, std::int64_t height) {
    return {width, height,
            std::vector<std::uint8_t>(static_cast<std::size_t>(width * height * bytesPerPixel))};
}

/// The picture scaled along one axis, cut to the visible part of that axis.
Bitmap scaledAcross(const Bitmap& picture, Axis across) {
    Bitmap scaled = transparentBitmap(across.visible(), picture.height);
    across.origin = -across.first;
    Painter(picture, across, unscaled(picture.height, 0)).paint(PIXMAN_OP_SRC, scaled);
    return scaled;
}

Bitmap scaledDown(const Bitmap& picture, Axis down) {
    Bitmap scaled = transparentBitmap(picture.width, down.visible());
    down.origin = -down.first;
    Painter(picture, unscaled(picture.width, 0), down).paint(PIXMAN_OP_SRC, scaled);
    return scaled;
}

/// Whether there are as many pixels as the size says. Cannot overflow.
bool isWhole(const Bitmap& picture) {
    if (picture.width < 1 || picture.height < 1 ||
        picture.width > std::numeric_limits<int>::max() / bytesPerPixel) {
        return false;
    }
    const auto rowBytes = static_cast<std::size_t>(picture.width * bytesPerPixel);
    return picture.pixels.size() % rowBytes == 0 &&
           picture.pixels.size() / rowBytes == static_cast<std::size_t>(picture.height);
}

} // namespace

BitmapContext::BitmapContext(std::int64_t width, std::int64_t height) {
    requireImage(ImageLimits::areRenderable(width, height));
    bitmap_ = transparentBitmap(width, height);
}

void BitmapContext::draw(const Bitmap& picture, std::int64_t x, std::int64_t y, std::int64_t width,
                         std::int64_t height) {
    requireImage(isWhole(picture));
    const Axis across = axis(picture.width, width, x, bitmap_.width);
    const Axis down = axis(picture.height, height, y, bitmap_.height);
    if (across.visible() < 1 || down.visible() < 1) {
        return;
    }
    // pixman multiplies the weights of both axes into 16 bits, where those of a strong reduction vanish, and
    // the picture with them. So each axis has its own pass. The pass that leaves fewer pixels comes first.
    if (!across.isScaled() || !down.isScaled()) {
        Painter(picture, across, down).paint(PIXMAN_OP_OVER, bitmap_);
    } else if (across.visible() * picture.height <= down.visible() * picture.width) {
        const Bitmap scaled = scaledAcross(picture, across);
        Painter(scaled, unscaled(scaled.width, across.origin + across.first), down)
            .paint(PIXMAN_OP_OVER, bitmap_);
    } else {
        const Bitmap scaled = scaledDown(picture, down);
        Painter(scaled, across, unscaled(scaled.height, down.origin + down.first))
            .paint(PIXMAN_OP_OVER, bitmap_);
    }
}

} // namespace tarnwick
