// RecipePictures PHOTO FOLDER: writes into FOLDER what compare-recipes measures with, made from a photograph.

#include "ImageIO/BitmapContext.h"
#include "ImageIO/ImageDestination.h"
#include "ImageIO/ImageSource.h"
#include "Measuring.h"

#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace tarnwick;

Bitmap decoded(const URL& url) {
    const auto source = ImageSource::open(url);
    Bitmap picture{source->info().width, source->info().height, {}};
    picture.pixels.resize(static_cast<std::size_t>(picture.width * picture.height * 4));
    const auto reader = source->frames();
    reader->next();
    reader->readRows(picture.pixels);
    return picture;
}

/// The photograph scaled so that it covers `scaledWidth` × `scaledHeight`, of which the canvas shows what
/// begins at (left, top).
Bitmap view(const Bitmap& photo, std::int64_t width, std::int64_t height, double scale, std::int64_t left = 0,
            std::int64_t top = 0) {
    BitmapContext context(width, height);
    context.draw(photo, -left, -top, static_cast<std::int64_t>(static_cast<double>(photo.width) * scale),
                 static_cast<std::int64_t>(static_cast<double>(photo.height) * scale));
    return context.bitmap();
}

/// A camera's grain, without which an enlarged photograph would be too smooth to be one.
void addGrain(Bitmap& picture) {
    std::uint32_t noise = 1;
    for (std::uint8_t& value : picture.pixels) {
        noise = noise * 1664525U + 1013904223U;
        const auto grain = static_cast<int>(noise >> 29U) - 4;
        value = static_cast<std::uint8_t>(std::clamp(value + grain / 2, 0, 255));
    }
}

/// What a screenshot or a drawing has: few colours in flat areas.
void posterize(Bitmap& picture) {
    for (std::uint8_t& value : picture.pixels) {
        value = static_cast<std::uint8_t>(std::min((value + 16) / 32 * 32, 255));
    }
}

void write(const URL& url, Bitmap picture) {
    for (std::size_t alpha = 3; alpha < picture.pixels.size(); alpha += 4) {
        picture.pixels[alpha] = 255;
    }
    ImageDestination destination(
        url, {.width = picture.width, .height = picture.height, .hasAlpha = false, .profile = {}});
    destination.writeRows(picture.pixels);
    destination.commit();
}

void check(int result) {
    if (result != GIF_OK) {
        throw std::runtime_error("giflib failed");
    }
}

/// Writes frames of a palette of 6 × 6 × 6 colours, 0.08 s each.
class AnimationWriter {
public:
    static constexpr int levels = 6;

    AnimationWriter(const URL& url, int width, int height)
        : file_(EGifOpenFileName(url.c_str(), false, nullptr)), width_(width), height_(height) {
        check(file_ == nullptr ? GIF_ERROR : GIF_OK);
        EGifSetGifVersion(file_, true);
        std::array<GifColorType, 256> colors{};
        for (std::size_t i = 0; i < std::size_t{levels} * levels * levels; ++i) {
            const auto level = [](std::size_t step) {
                return static_cast<GifByteType>(step * 255 / (levels - 1));
            };
            colors[i] = {level(i / 36), level(i / 6 % 6), level(i % 6)};
        }
        ColorMapObject* palette = GifMakeMapObject(256, colors.data());
        check(EGifPutScreenDesc(file_, width, height, 8, 0, palette));
        GifFreeMapObject(palette);
        check(EGifPutExtensionLeader(file_, APPLICATION_EXT_FUNC_CODE));
        check(EGifPutExtensionBlock(file_, 11, "NETSCAPE2.0"));
        check(EGifPutExtensionBlock(file_, 3, "\1\0\0"));
        check(EGifPutExtensionTrailer(file_));
    }
    ~AnimationWriter() { EGifCloseFile(file_, nullptr); }
    AnimationWriter(const AnimationWriter&) = delete;
    AnimationWriter& operator=(const AnimationWriter&) = delete;

    void add(std::span<GifByteType> indices) {
        check(EGifPutExtension(file_, GRAPHICS_EXT_FUNC_CODE, 4, "\0\10\0\0"));
        check(EGifPutImageDesc(file_, 0, 0, width_, height_, false, nullptr));
        for (auto rest = indices; !rest.empty(); rest = rest.subspan(static_cast<std::size_t>(width_))) {
            check(EGifPutLine(file_, rest.data(), width_));
        }
    }

private:
    GifFileType* file_;
    int width_;
    int height_;
};

void writeAnimation(const URL& url, const Bitmap& photo, int frames, int width, int height) {
    AnimationWriter writer(url, width, height);
    std::vector<GifByteType> indices;
    for (int i = 0; i < frames; ++i) {
        const Bitmap still = view(photo, width, height, 0.5, 100 + 4 * i, 80 + 2 * i);
        indices.clear();
        for (std::int64_t at = 0; at < still.width * still.height; ++at) {
            // A small ordered dither, as tools that make GIFs use.
            const std::int64_t bias = (at % width + 2 * (at / width)) % 4 * 12;
            const auto step = [&](std::int64_t part) {
                const std::int64_t value = still.pixels[static_cast<std::size_t>(at * 4 + part)] + bias;
                return std::min<std::int64_t>(value * (AnimationWriter::levels - 1) / 255,
                                              AnimationWriter::levels - 1);
            };
            indices.push_back(static_cast<GifByteType>(step(0) * 36 + step(1) * 6 + step(2)));
        }
        writer.add(indices);
    }
}

int makeAll(const URL& source, const URL& folder) {
    const Bitmap photo = decoded(source);
    const auto file = [&](const std::string& name) { return folder.appending(name); };
    const auto photograph = [&](std::int64_t width, std::int64_t height, double scale, std::int64_t left) {
        Bitmap picture = view(photo, width, height, scale, left);
        addGrain(picture);
        return picture;
    };
    write(file("photo.png"), photograph(2400, 1600, 1.08, 0));
    Bitmap drawing = view(photo, 2400, 1600, 1.08);
    posterize(drawing);
    write(file("drawing.png"), drawing);
    write(file("jpeg-12mp.png"), photograph(4000, 3000, 2, 0));
    write(file("jpeg-24mp.png"), photograph(6000, 4000, 2.7, 0));
    writeAnimation(file("animation.gif"), photo, 40, 360, 270);
    for (std::int64_t i = 0; i < 10; ++i) {
        const std::string number = std::to_string(i);
        write(file("batch-" + number + ".png"), photograph(480 + 40 * i, 360 + 30 * i, 0.5, 30 * i));
        write(file("batch-jpeg-" + number + ".png"), photograph(800 + 80 * i, 600 + 60 * i, 0.9, 60 * i));
        writeAnimation(file("batch-" + number + ".gif"), photo, static_cast<int>(4 + i / 2), 160, 120);
    }
    return 0;
}

} // namespace

int main(int count, char** words) {
    return benchmark::run([&] {
        if (count != 3) {
            throw std::runtime_error("usage: RecipePictures PHOTO FOLDER");
        }
        return makeAll(URL::file(words[1]), URL::file(words[2]));
    });
}
