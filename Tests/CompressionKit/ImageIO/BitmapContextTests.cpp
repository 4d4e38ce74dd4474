#include "Foundation/CompressionError.h"
#include "ImageIO/BitmapContext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>

namespace tarnwick {
namespace {

using Pixel = std::array<std::uint8_t, 4>;

constexpr Pixel transparent = {0, 0, 0, 0};
constexpr Pixel red = {255, 0, 0, 255};
constexpr Pixel blue = {0, 0, 255, 255};
constexpr Pixel veil = {40, 10, 70, 100};

Bitmap bitmap(std::int64_t width, std::int64_t height,
              const std::function<Pixel(std::int64_t x, std::int64_t y)>& pixel) {
    Bitmap made{width, height, {}};
    for (std::int64_t i = 0; i < width * height; ++i) {
        const Pixel value = pixel(i % width, i / width);
        made.pixels.insert(made.pixels.end(), value.begin(), value.end());
    }
    return made;
}

Bitmap filled(std::int64_t width, std::int64_t height, Pixel color) {
    return bitmap(width, height, [color](auto, auto) { return color; });
}

Pixel at(const Bitmap& bitmap, std::int64_t x, std::int64_t y) {
    Pixel pixel{};
    std::copy_n(bitmap.pixels.begin() + (y * bitmap.width + x) * 4, 4, pixel.begin());
    return pixel;
}

Pixel premultiplied(Pixel pixel) {
    premultiply(pixel);
    return pixel;
}

Pixel unpremultiplied(Pixel pixel) {
    unpremultiply(pixel);
    return pixel;
}

/// Expects `inside` at exactly the pixels of the rectangle, and `outside` around it.
void expectRectangle(const Bitmap& canvas, std::array<std::int64_t, 4> rectangle, Pixel inside,
                     Pixel outside = transparent) {
    const auto [left, top, right, bottom] = rectangle;
    const Bitmap expected =
        bitmap(canvas.width, canvas.height, [&, l = left, t = top, r = right, b = bottom](auto x, auto y) {
            return x >= l && x < r && y >= t && y < b ? inside : outside;
        });
    EXPECT_TRUE(canvas.pixels == expected.pixels);
}

/// The mean of the source pixels that a target pixel covers along one axis, weighted by their share.
double mean(const std::function<double(std::int64_t)>& value, std::int64_t target, double scale) {
    const double from = static_cast<double>(target) * scale;
    double sum = 0;
    for (auto i = static_cast<std::int64_t>(from); static_cast<double>(i) < from + scale - 1e-9; ++i) {
        const auto left = static_cast<double>(i);
        sum += value(i) * (std::min(left + 1, from + scale) - std::max(left, from));
    }
    return sum / scale;
}

} // namespace

TEST(PremultiplyTest, RoundsEveryPairToNearest) {
    for (int color = 0; color < 256; ++color) {
        for (int alpha = 0; alpha < 256; ++alpha) {
            const auto c = static_cast<std::uint8_t>(color);
            const auto a = static_cast<std::uint8_t>(alpha);
            const auto multiplied = static_cast<std::uint8_t>((color * alpha * 2 + 255) / 510);
            const auto divided = static_cast<std::uint8_t>(
                alpha == 0 ? 0 : std::min(255, (color * 510 + alpha) / (alpha * 2)));
            ASSERT_EQ(premultiplied({c, 0, c, a}), (Pixel{multiplied, 0, multiplied, a}))
                << color << "/" << alpha;
            ASSERT_EQ(unpremultiplied({0, c, c, a}), (Pixel{0, divided, divided, a}))
                << color << "/" << alpha;
        }
    }
}

TEST(BitmapContextTest, RefusesSizesBelowOnePixelAndBeyondTheLimit) {
    constexpr auto huge = std::numeric_limits<std::int64_t>::max();
    const std::array<std::array<std::int64_t, 2>, 6> sizes = {
        {{0, 5}, {5, -1}, {5001, 5000}, {huge, huge}, {huge, 2}, {25'000'001, 1}}};
    for (const auto& [width, height] : sizes) {
        try {
            const BitmapContext context(width, height);
            ADD_FAILURE() << width << " × " << height;
        } catch (const CompressionError& error) {
            EXPECT_EQ(error.errorCase(), CompressionError::Case::invalidImage);
        }
    }
    EXPECT_EQ(BitmapContext(25'000'000, 1).bitmap().pixels.size(), 100'000'000U);
}

TEST(BitmapContextTest, CopiesExactlyAtTheSameSizeAndClipsToTheCanvas) {
    const Bitmap picture = bitmap(7, 5, [](auto x, auto y) {
        return premultiplied({static_cast<std::uint8_t>(x * 40), static_cast<std::uint8_t>(y * 50), 99,
                              static_cast<std::uint8_t>(x * y * 10)});
    });
    for (const auto& [x, y] :
         {std::array<std::int64_t, 2>{0, 0}, {3, 2}, {-4, -2}, {8, 6}, {-7, 0}, {10, 10}}) {
        BitmapContext context(10, 8);
        context.draw(picture, x, y, 7, 5);
        const Bitmap expected = bitmap(10, 8, [&, left = x, top = y](auto column, auto row) {
            const bool covered = column >= left && column < left + 7 && row >= top && row < top + 5;
            return covered ? at(picture, column - left, row - top) : transparent;
        });
        EXPECT_TRUE(context.bitmap().pixels == expected.pixels) << x << "," << y;
    }
}

TEST(BitmapContextTest, DrawsOverWhatIsThere) {
    BitmapContext context(4, 1);
    context.draw(filled(4, 1, blue), 0, 0, 4, 1);
    context.draw(filled(2, 1, premultiplied({255, 0, 0, 51})), 1, 0, 2, 1);
    EXPECT_EQ(at(context.bitmap(), 0, 0), blue);
    EXPECT_EQ(at(context.bitmap(), 1, 0), (Pixel{51, 0, 204, 255}));
    EXPECT_EQ(at(context.bitmap(), 2, 0), (Pixel{51, 0, 204, 255}));
    EXPECT_EQ(at(context.bitmap(), 3, 0), blue);
}

TEST(BitmapContextTest, KeepsAConstantColourToItsEdgesAtEveryScale) {
    const std::array<std::array<std::int64_t, 4>, 9> scales = {{{20, 20, 10, 10},
                                                                {31, 17, 10, 9},
                                                                {3, 2, 19, 23},
                                                                {5, 400, 13, 7},
                                                                {400, 5, 3, 11},
                                                                {1200, 1300, 2, 2},
                                                                {1, 1, 21, 15},
                                                                {40'000, 3, 20, 3},
                                                                {1, 100'000, 1, 2}}};
    for (const Pixel color : {red, veil}) {
        for (const auto& [width, height, targetWidth, targetHeight] : scales) {
            SCOPED_TRACE(std::to_string(width) + "×" + std::to_string(height));
            BitmapContext context(25, 27);
            context.draw(filled(width, height, color), 2, 3, targetWidth, targetHeight);
            expectRectangle(context.bitmap(), {2, 3, 2 + targetWidth, 3 + targetHeight}, color);
        }
    }
}

TEST(BitmapContextTest, AveragesWhatEachPixelCoversWhenItShrinks) {
    const auto ramp = [](std::int64_t x) { return static_cast<double>(x * 37 % 256); };
    const std::array<std::array<std::int64_t, 2>, 7> lengths = {
        {{200, 100}, {200, 67}, {200, 25}, {200, 9}, {200, 1}, {60'000, 20'011}, {60'000, 127}}};
    for (const auto& [length, target] : lengths) {
        for (const bool isDown : {false, true}) {
            BitmapContext context(isDown ? 1 : target, isDown ? target : 1);
            const Bitmap picture = bitmap(isDown ? 2 : length, isDown ? length : 2, [&](auto x, auto y) {
                return Pixel{static_cast<std::uint8_t>(ramp(isDown ? y : x)), 0, 0, 255};
            });
            context.draw(picture, 0, 0, context.bitmap().width, context.bitmap().height);
            const double scale = static_cast<double>(length) / static_cast<double>(target);
            for (std::int64_t i = 0; i < target; ++i) {
                ASSERT_NEAR(context.bitmap().pixels[static_cast<std::size_t>(i) * 4], mean(ramp, i, scale),
                            2.0)
                    << length << " to " << target << " at " << i;
            }
        }
    }
}

TEST(BitmapContextTest, InterpolatesBetweenPixelCentresWhenItGrows) {
    constexpr std::int64_t length = 3000;
    BitmapContext context(length * 4, 1);
    context.draw(bitmap(length, 1, [](auto x, auto) { return x % 2 == 0 ? red : blue; }), 0, 0, length * 4,
                 1);
    for (std::int64_t x = 0; x < length * 4; ++x) {
        const double position = std::clamp((static_cast<double>(x) + 0.5) / 4 - 0.5, 0.0, length - 1.0);
        const double blueness = 1 - std::abs(std::fmod(position, 2.0) - 1);
        ASSERT_NEAR(at(context.bitmap(), x, 0)[2], 255 * blueness, 1.0) << x;
        ASSERT_NEAR(at(context.bitmap(), x, 0)[0], 255 * (1 - blueness), 1.0) << x;
    }
}

TEST(BitmapContextTest, DrawsSidesLongerThanSixteenBits) {
    // Left and right half differ: a wrong stretch or offset anywhere moves the border between them.
    const Bitmap picture = bitmap(80'000, 2, [](auto x, auto) { return x < 40'000 ? red : blue; });
    BitmapContext same(80'000, 2);
    same.draw(picture, 0, 0, 80'000, 2);
    EXPECT_TRUE(same.bitmap().pixels == picture.pixels);

    BitmapContext half(40'000, 1);
    half.draw(picture, 0, 0, 40'000, 1);
    expectRectangle(half.bitmap(), {0, 0, 20'000, 1}, red, blue);

    BitmapContext tall(2, 160'000);
    const Bitmap column = bitmap(1, 80'000, [](auto, auto y) { return y < 40'000 ? red : blue; });
    tall.draw(column, 0, 0, 2, 160'000);
    EXPECT_EQ(at(tall.bitmap(), 1, 79'990), red);
    EXPECT_EQ(at(tall.bitmap(), 0, 80'010), blue);
}

TEST(BitmapContextTest, DrawsTheVisiblePartOfARectangleFarBeyondTheCanvas) {
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
    constexpr auto highest = std::numeric_limits<std::int64_t>::max();
    const Bitmap halves = bitmap(2, 1, [](auto x, auto) { return x == 0 ? red : blue; });
    BitmapContext context(10, 10);
    context.draw(halves, lowest, lowest, 5, 5);
    context.draw(halves, highest, 0, highest, 1);
    context.draw(halves, 0, 0, 0, 5);
    context.draw(halves, 0, 0, 5, -3);
    expectRectangle(context.bitmap(), {0, 0, 10, 10}, transparent);

    context.draw(halves, -1'400'000, 4, 1'500'000, 2);
    expectRectangle(context.bitmap(), {0, 4, 10, 6}, blue);
}

TEST(BitmapContextTest, RefusesAPictureWithFewerPixelsThanItsSizeSays) {
    BitmapContext context(4, 4);
    Bitmap picture = filled(4, 4, red);
    picture.pixels.pop_back();
    EXPECT_THROW(context.draw(picture, 0, 0, 4, 4), CompressionError);
    EXPECT_THROW(context.draw({std::int64_t{1} << 62, 4, {}}, 0, 0, 4, 4), CompressionError);
}

} // namespace tarnwick
