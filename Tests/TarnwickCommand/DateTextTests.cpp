#include "TarnwickCommand/DateText.h"

#include <gtest/gtest.h>

namespace tarnwick {
namespace {

TEST(DateText, DatesAreUTCAndNeverLeaveTheCalendar) {
    EXPECT_EQ(DateText::iso8601(Date(0)), "2001-01-01T00:00:00Z");
    EXPECT_EQ(DateText::iso8601(Date(-0.5)), "2000-12-31T23:59:59Z");
    EXPECT_EQ(DateText::iso8601(Date(1e300)).substr(0, 5), "9999-");
    EXPECT_EQ(DateText::iso8601(Date(-1e300)).substr(0, 5), "0001-");
}

} // namespace
} // namespace tarnwick
