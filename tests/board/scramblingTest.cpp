// Packets are counted, PIDs are judged.
#include "analysis/scrambling.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

constexpr board::Ticks tick{1};

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
    board::ScramblingPeriod period(1s);
    EXPECT_FALSE(period.over(5s, false));
    EXPECT_TRUE(period.over(6s, true));
    EXPECT_FALSE(period.over(7s - tick, true));
    EXPECT_TRUE(period.over(7s, true));
}

TEST(ScramblingPeriod, IsASecondWhereTheWholeStreamIsOneRatePeriod) {
    board::ScramblingPeriod period(0s);
    EXPECT_TRUE(period.over(0s, false));
    EXPECT_FALSE(period.over(1s - tick, false));
    EXPECT_TRUE(period.over(1s, false));
}

TEST(ScramblingPeriod, BeginsAnewWithAnotherStream) {
    board::ScramblingPeriod period(1s);
    EXPECT_TRUE(period.over(0s, true));
    period.restart();
    EXPECT_FALSE(period.over(2s, false));
    EXPECT_TRUE(period.over(2s, true));
}

} // namespace
