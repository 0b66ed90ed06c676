#include "zemb/clock.h"

#include <gtest/gtest.h>

namespace {

TEST(ClockTest, MomentsBefore1970HaveTheirFractionToo) {
    EXPECT_EQ("1969-12-31 23:59:59.999Z", zemb::FormatTime(-1000));
    EXPECT_EQ("1970-01-01 00:00:00.000Z", zemb::FormatTime(999));
    zemb::ScopedClock clock;
    clock.Freeze(-1);
    EXPECT_EQ(-1, zemb::NowMicroseconds());
}

}  // namespace
