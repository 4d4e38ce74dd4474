#include "ImageIO/Orientation.h"

#include <gmock/gmock.h>

#include <vector>

namespace tarnwick::test {
namespace {

/// Turns a picture whose red values are `stored`, and returns those of the result.
std::vector<int> shown(const std::vector<int>& stored, std::int64_t width, std::int64_t height,
                       int orientation) {
    std::vector<std::uint8_t> rgba;
    for (const int value : stored) {
        rgba.insert(rgba.end(), {static_cast<std::uint8_t>(value), 1, 2, 3});
    }
    const std::vector<std::uint8_t> turned = oriented(rgba, width, height, orientation);
    std::vector<int> values;
    for (std::size_t at = 0; at < turned.size(); at += 4) {
        EXPECT_THAT(std::vector(&turned[at + 1], &turned[at + 4]), testing::ElementsAre(1, 2, 3));
        values.push_back(turned[at]);
    }
    return values;
}

TEST(OrientationTest, ShowsEachOfTheEightExactly) {
    const std::vector<int> stored = {1, 2, 3, 4, 5, 6};
    EXPECT_THAT(shown(stored, 3, 2, 1), testing::ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(shown(stored, 3, 2, 2), testing::ElementsAre(3, 2, 1, 6, 5, 4));
    EXPECT_THAT(shown(stored, 3, 2, 3), testing::ElementsAre(6, 5, 4, 3, 2, 1));
    EXPECT_THAT(shown(stored, 3, 2, 4), testing::ElementsAre(4, 5, 6, 1, 2, 3));
    EXPECT_THAT(shown(stored, 3, 2, 5), testing::ElementsAre(1, 4, 2, 5, 3, 6));
    EXPECT_THAT(shown(stored, 3, 2, 6), testing::ElementsAre(4, 1, 5, 2, 6, 3));
    EXPECT_THAT(shown(stored, 3, 2, 7), testing::ElementsAre(6, 3, 5, 2, 4, 1));
    EXPECT_THAT(shown(stored, 3, 2, 8), testing::ElementsAre(3, 6, 2, 5, 1, 4));
}

TEST(OrientationTest, CombinesAsShowingTwiceDoes) {
    const std::vector<int> stored = {1, 2, 3, 4, 5, 6};
    for (int first = 1; first <= 8; ++first) {
        const std::vector<int> once = shown(stored, 3, 2, first);
        for (int second = 1; second <= 8; ++second) {
            const std::vector<int> twice =
                swapsSides(first) ? shown(once, 2, 3, second) : shown(once, 3, 2, second);
            EXPECT_EQ(shown(stored, 3, 2, combinedOrientation(first, second)), twice)
                << first << " " << second;
        }
    }
}

} // namespace
} // namespace tarnwick::test
