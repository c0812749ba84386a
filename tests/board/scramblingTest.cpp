// Packets are counted, PIDs are judged.
#include "analysis/scrambling.h"

#include <gtest/gtest.h>

namespace {

constexpr board::Ticks second = board::ticksPerSecond;

board::ScramblingVotes votes(int scrambled, int clear) {
    board::ScramblingVotes result;
    for (int k = 0; k < scrambled + clear; ++k) {
        result.count(k < scrambled);
    }
    return result;
}

TEST(ScramblingVotes, GoWithMostPackets) {
    EXPECT_EQ(votes(6, 5).judge(), true);
    EXPECT_EQ(votes(5, 6).judge(), false);
    EXPECT_EQ(votes(5, 5).judge(), false);
}

TEST(ScramblingVotes, SayNothingWithoutPackets) {
    EXPECT_EQ(votes(0, 0).judge(), std::nullopt);
}

TEST(ScramblingVotes, BeginAnewWithEachJudgement) {
    board::ScramblingVotes recent = votes(9, 0);
    EXPECT_EQ(recent.judge(), true);
    EXPECT_EQ(recent.judge(), std::nullopt);
    recent.count(false);
    EXPECT_EQ(recent.judge(), false);
}

TEST(ScramblingPeriod, BeginsWithTheFirstRates) {
    board::ScramblingPeriod period(second);
    EXPECT_FALSE(period.over(5 * second, false));
    EXPECT_TRUE(period.over(6 * second, true));
    EXPECT_FALSE(period.over(7 * second - 1, true));
    EXPECT_TRUE(period.over(7 * second, true));
}

TEST(ScramblingPeriod, IsASecondWhereTheWholeStreamIsOneRatePeriod) {
    board::ScramblingPeriod period(0);
    EXPECT_TRUE(period.over(0, false));
    EXPECT_FALSE(period.over(second - 1, false));
    EXPECT_TRUE(period.over(second, false));
}

TEST(ScramblingPeriod, BeginsAnewWithAnotherStream) {
    board::ScramblingPeriod period(second);
    EXPECT_TRUE(period.over(0, true));
    period.restart();
    EXPECT_FALSE(period.over(2 * second, false));
    EXPECT_TRUE(period.over(2 * second, true));
}

} // namespace
