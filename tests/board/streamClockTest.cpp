#include "streamClock.h"

#include <gtest/gtest.h>

namespace {

using board::StreamClock;
using board::Ticks;
using board::TimeBase;

constexpr std::uint16_t pid = 256;
constexpr Ticks step = 40 * board::ticksPerMillisecond;

// A stream with a PCR every tenth packet, 40 ms apart.
Ticks play(StreamClock& clock, Ticks firstPcr, int pcrs) {
    for (int k = 0; k < pcrs; ++k) {
        clock.packet(pid, firstPcr + k * step, std::nullopt);
        for (int packet = 0; packet < 9; ++packet) {
            clock.packet(pid, std::nullopt, std::nullopt);
        }
    }
    return clock.now();
}

TEST(StreamClock, StartsAtTheFirstPcr) {
    StreamClock clock;
    EXPECT_TRUE(clock.packet(pid, 123456789, std::nullopt));
    EXPECT_EQ(clock.now(), 0);
    EXPECT_EQ(clock.base(), TimeBase::pcr);
}

TEST(StreamClock, RunsWithThePcrAndBetweenItByEstimation) {
    StreamClock clock;
    EXPECT_EQ(play(clock, 5000, 11), 10 * step + step * 9 / 10);
}

TEST(StreamClock, RunsOnWhenThePcrWraps) {
    constexpr Ticks modulus = (Ticks{1} << 33) * 300;
    StreamClock clock;
    clock.packet(pid, modulus - step / 2, std::nullopt);
    clock.packet(pid, step / 2, std::nullopt);
    EXPECT_EQ(clock.now(), step);
}

TEST(StreamClock, TakesALeapOfThePcrForANewStart) {
    StreamClock clock;
    const Ticks before = play(clock, 0, 10);
    clock.packet(pid, 500 * board::ticksPerSecond, std::nullopt);
    EXPECT_EQ(clock.now(), before + step / 10);
    clock.packet(pid, 500 * board::ticksPerSecond + step, std::nullopt);
    EXPECT_EQ(clock.now(), before + step / 10 + step);
}

// A stream with a PCR every thousandth packet, this far apart; its time behind the last PCR.
Ticks playSparsely(StreamClock& clock, Ticks apart, int pcrs) {
    for (int k = 0; k < pcrs; ++k) {
        for (int packet = 0; k > 0 && packet < 999; ++packet) {
            clock.packet(pid, std::nullopt, std::nullopt);
        }
        clock.packet(pid, k * apart, std::nullopt);
    }
    return clock.now();
}

TEST(StreamClock, RunsWithPcrsThatAreSecondsApart) {
    StreamClock clock;
    EXPECT_EQ(playSparsely(clock, 5 * board::ticksPerSecond, 20), 19 * 5 * board::ticksPerSecond);
}

TEST(StreamClock, TakesTheLongStepOfAPcrThatTheTimeStampsConfirm) {
    constexpr Ticks aMinute = 60 * board::ticksPerSecond;
    constexpr int packets = 30'000;
    StreamClock clock;
    for (int minute = 0; minute < 4; ++minute) {
        clock.packet(pid, minute * aMinute, std::nullopt);
        for (int k = 1; k < packets; ++k) {
            clock.packet(pid, std::nullopt,
                         k % 10 == 0 ? std::optional<Ticks>(minute * aMinute + k * (aMinute / packets))
                                     : std::nullopt);
        }
    }
    clock.packet(pid, 4 * aMinute, std::nullopt);
    const Ticks beforeTheStamps = board::tunables::pcrPatience * (aMinute / packets);
    EXPECT_NEAR(static_cast<double>(clock.now()), static_cast<double>(4 * aMinute - beforeTheStamps),
                static_cast<double>(board::ticksPerSecond) / 10);
}

TEST(StreamClock, RunsAtAnAssumedRateWhereOnePcrIsAllThereIs) {
    StreamClock clock;
    clock.packet(pid, 0, std::nullopt);
    for (std::uint64_t k = 2; k < board::tunables::secondPcrPatience; ++k) {
        clock.packet(pid, std::nullopt, std::nullopt);
    }
    EXPECT_EQ(clock.base(), TimeBase::pcr);
    clock.packet(pid, std::nullopt, std::nullopt);
    EXPECT_EQ(clock.base(), TimeBase::assumedRate);
}

TEST(StreamClock, FollowsAnotherPidWhereTheFirstShowsOnePcrOnly) {
    StreamClock clock;
    clock.packet(300, 1234, std::nullopt);
    for (std::uint64_t k = 0; k < board::tunables::pcrPatience; ++k) {
        clock.packet(pid, std::nullopt, std::nullopt);
    }
    EXPECT_EQ(play(clock, 0, 11), 10 * step + step * 9 / 10);
}

TEST(StreamClock, KeepsToOnePidWhereAllPcrsAreFarApart) {
    constexpr std::uint16_t other = 300;
    StreamClock clock;
    for (int k = 0; k < 10; ++k) {
        clock.packet(pid, 2 * k * board::ticksPerSecond, std::nullopt);
        clock.packet(other, 99 * k * board::ticksPerSecond, std::nullopt);
    }
    EXPECT_EQ(clock.now() / board::ticksPerSecond, 18 + 1) << "half a step behind the last, by estimation";
}

TEST(StreamClock, GoesOnThroughTheSeamOfALoop) {
    StreamClock clock;
    const Ticks before = play(clock, 7777, 10);
    clock.seam();
    EXPECT_EQ(play(clock, 7777, 10) - before, before + step / 10);
}

TEST(StreamClock, FollowsOnePidOnlyUntilItFallsSilent) {
    constexpr std::uint16_t other = 300;
    StreamClock clock;
    play(clock, 0, 10);
    EXPECT_FALSE(clock.packet(other, 99 * step, std::nullopt));
    for (int k = 0; k < 200; ++k) { // 0.8 s without the reference
        clock.packet(pid, std::nullopt, std::nullopt);
    }
    EXPECT_TRUE(clock.packet(other, 200 * step, std::nullopt));
    const Ticks taken = clock.now();
    clock.packet(other, 201 * step, std::nullopt);
    EXPECT_EQ(clock.now(), taken + step);
}

TEST(StreamClock, ReadsByEstimationWhileTheReferenceIsSilent) {
    StreamClock clock;
    play(clock, 0, 10);
    int readings = 0;
    for (int k = 0; k < 100; ++k) { // 0.4 s
        readings += clock.packet(pid, std::nullopt, std::nullopt) ? 1 : 0;
    }
    EXPECT_EQ(readings, 4);
}

TEST(StreamClock, RunsWithTimeStampsWhereThereIsNoPcr) {
    StreamClock clock;
    for (std::uint64_t k = 0; k < 6000; ++k) {
        clock.packet(pid, std::nullopt,
                     k % 10 == 0 ? std::optional<Ticks>(static_cast<Ticks>(k) * step / 10) : std::nullopt);
    }
    EXPECT_EQ(clock.base(), TimeBase::timeStamps);
    EXPECT_NEAR(static_cast<double>(clock.now()), 99.9 * static_cast<double>(step),
                static_cast<double>(step) / 10);
}

TEST(StreamClock, RunsAtAnAssumedRateWhereThereIsNoTimeAtAll) {
    StreamClock clock;
    clock.packet(pid, std::nullopt, std::nullopt);
    EXPECT_EQ(clock.base(), TimeBase::none);
    clock.sourceEnded();
    EXPECT_EQ(clock.base(), TimeBase::assumedRate);
    for (int k = 0; k < 1000; ++k) {
        clock.packet(pid, std::nullopt, std::nullopt);
    }
    EXPECT_NEAR(static_cast<double>(clock.now()), 1001 * 188 * 8 / board::tunables::assumedBitRate * 27e6,
                1.0);
}

TEST(StreamClock, RunsWhileNothingArrives) {
    StreamClock clock;
    const Ticks before = play(clock, 0, 10);
    clock.rest(board::ticksPerSecond);
    EXPECT_EQ(clock.now(), before + board::ticksPerSecond);
}

} // namespace
