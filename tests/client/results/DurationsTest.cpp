#include "client/results/Durations.h"

#include <gtest/gtest.h>

TEST(Durations, HaveLeastMiddleAndGreatest)
{
    const Durations odd({3, 1, 2});
    EXPECT_EQ(3U, odd.Count());
    EXPECT_DOUBLE_EQ(1, odd.Minimum());
    EXPECT_DOUBLE_EQ(2, odd.Median());
    EXPECT_DOUBLE_EQ(3, odd.Maximum());
    EXPECT_DOUBLE_EQ(2.5, Durations({4, 1, 3, 2}).Median());
    const Durations one({7});
    EXPECT_DOUBLE_EQ(7, one.Minimum());
    EXPECT_DOUBLE_EQ(7, one.Median());
    EXPECT_DOUBLE_EQ(7, one.Maximum());
}
