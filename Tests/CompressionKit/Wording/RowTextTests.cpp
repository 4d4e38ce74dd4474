#include "Wording/RowText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace tarnwick::test {
namespace {

constexpr auto most = std::numeric_limits<std::int64_t>::max();
constexpr auto least = std::numeric_limits<std::int64_t>::min();

TEST(RowText, ByteCountsRoundHalfUpAndChangeTheUnitAtAThousand) {
    const std::pair<std::int64_t, const char*> rows[] = {
        {0, "0 B"},
        {999, "999 B"},
        {1'000, "1 KB"},
        {1'499, "1 KB"},
        {1'500, "2 KB"},
        {999'499, "999 KB"},
        {999'500, "1.0 MB"},
        {1'250'000, "1.3 MB"},
        {999'949'999, "999.9 MB"},
        {999'950'000, "1.00 GB"},
        {12'345'678'901, "12.35 GB"},
        {most, "9223372036.85 GB"},
        {-5, "0 B"},
        {least, "0 B"},
        {1'995'000'000, "2.00 GB"},
    };
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(RowText::byteCount(bytes), text) << bytes;
    }
}

TEST(RowText, BadgesTruncateThePercentageAndSayConvertedWithoutASaving) {
    const std::tuple<std::int64_t, std::int64_t, const char*> rows[] = {
        {1'000, 999, "↓ 0%"}, {100, 71, "↓ 29%"},        {1'000, 1, "↓ 99%"},
        {1'000, 0, "↓ 100%"}, {1'000, 1'000, "已转换"},  {1'000, 2'000, "已转换"},
        {0, 0, "已转换"},     {least, most, "已转换"},   {most, least, "↓ 100%"},
        {most, 1, "↓ 100%"},  {most, most / 2, "↓ 50%"},
    };
    for (const auto& [original, final, text] : rows) {
        EXPECT_EQ(RowText::badge(original, final), text) << original << " " << final;
    }
}

TEST(RowText, FinishedRowsShowSizesEncoderAndBadge) {
    CompressionResult result = {.url = {},
                                .originalBytes = 2'400'000,
                                .finalBytes = 900'000,
                                .outcome = CompressionOutcome::replaced,
                                .encoder = "OxiPNG"};
    EXPECT_EQ(RowText::finished(result), "2.4 MB → 900 KB · OxiPNG");
    EXPECT_EQ(RowText::badge(result), "↓ 62%");
    result.encoder.reset();
    EXPECT_EQ(RowText::finished(result), "2.4 MB → 900 KB · ");
    result.outcome = CompressionOutcome::skipped;
    EXPECT_EQ(RowText::finished(result), "未找到更小且质量合格的结果");
    EXPECT_EQ(RowText::badge(result), std::nullopt);
}

} // namespace
} // namespace tarnwick::test
