#include "Tarnwick/Views/Comparison/PicturePyramid.h"
#include "Tarnwick/Views/Comparison/TileGrid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace tarnwick {
namespace {

TEST(PicturePyramid, HalvesByTheMeanOfThePremultipliedColours) {
    auto picture = std::make_shared<Bitmap>();
    picture->width = 1025;
    picture->height = 3;
    picture->pixels.assign(1025UL * 3 * 4, 0);
    const auto set = [&](std::ptrdiff_t x, std::ptrdiff_t y, std::uint8_t alpha) {
        std::fill_n(picture->pixels.begin() + (y * 1025 + x) * 4, 4, alpha);
    };
    set(0, 0, 200);
    set(1, 0, 100);
    set(0, 1, 51);
    set(1024, 2, 80);
    const PicturePyramid pyramid(picture);
    ASSERT_EQ(pyramid.levelCount(), 2);
    const Bitmap& half = *pyramid.level(1);
    EXPECT_EQ(half.width, 513);
    EXPECT_EQ(half.height, 2);
    EXPECT_EQ(half.pixels.at(0), 88) << "(200 + 100 + 51 + 0 + 2) / 4";
    EXPECT_EQ(half.pixels.back(), 80) << "the odd corner is the mean of itself";
    EXPECT_FALSE(pyramid.isOpaque());
    // A level is taken only when it has a pixel for each one drawn.
    EXPECT_EQ(pyramid.levelFor(1), 0);
    EXPECT_EQ(pyramid.levelFor(0.51), 0);
    EXPECT_EQ(pyramid.levelFor(0.5), 1);
    EXPECT_EQ(pyramid.levelFor(0.001), 1) << "there are no more";
}

TEST(TileGrid, CoversThePictureWithoutGapsAtEveryLevel) {
    const QSizeF picture(12'345, 8'191);
    const QRectF place(-3000, -2000, 9876, 6552.8);
    for (const int level : {0, 1, 3}) {
        const TileGrid grid(picture, level);
        double area = 0;
        double drawn = 0;
        for (const TileKey& tile : grid.tilesIn(place, place)) {
            const QRectF shown = grid.shown(tile);
            const QRectF held = grid.held(tile);
            EXPECT_TRUE(held.contains(shown));
            EXPECT_LE(held.width(), 2048);
            EXPECT_LE(held.height(), 2048);
            area += shown.width() * shown.height();
            const QRectF drawnAt = grid.place(tile, place);
            drawn += drawnAt.width() * drawnAt.height();
        }
        EXPECT_NEAR(area, picture.width() * picture.height() / (1 << level) / (1 << level), 1);
        EXPECT_NEAR(drawn, place.width() * place.height(), 1);
    }
}

TEST(TileGrid, TakesOnlyTheTilesInView) {
    const TileGrid grid({4096, 4096}, 0);
    const QRectF actualSize(-1024, -1536, 4096, 4096);
    const std::vector<TileKey> expected = {{0, 1, 1}, {0, 1, 2}};
    EXPECT_EQ(grid.tilesIn({0, 0, 1024, 1024}, actualSize), expected) << "one that only touches isn't seen";
    EXPECT_TRUE(grid.tilesIn({0, 0, 100, 100}, QRectF(100, 0, 4096, 4096)).empty());
    EXPECT_EQ(grid.tilesIn({0, 0, 50, 50}, QRectF(0, 0, 40, 40)).size(), 16U);
}

} // namespace
} // namespace tarnwick
