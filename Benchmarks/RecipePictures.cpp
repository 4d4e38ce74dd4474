// RecipePictures PHOTO FOLDER: writes into FOLDER what compare-recipes measures with, made from a photograph.

#include "ImageIO/BitmapContext.h"
#include "ImageIO/ImageDestination.h"
#include "ImageIO/ImageSource.h"
#include "Measuring.h"
#include "Support/GIFMaker.h"

#include <algorithm>
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

void writeAnimation(const URL& url, const Bitmap& photo, int frames, std::int64_t width,
                    std::int64_t height) {
    test::GIFOptions options;
    options.width = width;
    options.height = height;
    options.palette.clear();
    constexpr int levels = 6;
    for (int i = 0; i < levels * levels * levels; ++i) {
        const auto level = [](int step) { return static_cast<std::uint8_t>(step * 255 / (levels - 1)); };
        options.palette.push_back({level(i / 36), level(i / 6 % 6), level(i % 6), 255});
    }
    options.loopCount = 0;
    options.frames.clear();
    for (int i = 0; i < frames; ++i) {
        const Bitmap still = view(photo, width, height, 0.5, 100 + 4 * i, 80 + 2 * i);
        test::GIFFrame frame;
        frame.delay = 8;
        frame.pattern = [still, width](std::int64_t x, std::int64_t y) {
            const auto at = static_cast<std::size_t>(y * width + x) * 4;
            // A small ordered dither, as tools that make GIFs use.
            const int bias = static_cast<int>((x + 2 * y) % 4) * 12;
            const auto step = [&](std::size_t part) {
                return std::min((still.pixels[at + part] + bias) * (levels - 1) / 255, levels - 1);
            };
            return static_cast<std::uint8_t>(step(0) * 36 + step(1) * 6 + step(2));
        };
        options.frames.push_back(frame);
    }
    test::writeGIF(url, options);
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
    for (int i = 0; i < 10; ++i) {
        const std::string number = std::to_string(i);
        write(file("batch-" + number + ".png"), photograph(480 + 40 * i, 360 + 30 * i, 0.5, 30 * i));
        write(file("batch-jpeg-" + number + ".png"), photograph(800 + 80 * i, 600 + 60 * i, 0.9, 60 * i));
        writeAnimation(file("batch-" + number + ".gif"), photo, 4 + i / 2, 160, 120);
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
