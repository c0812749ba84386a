#include "timing/streamClock.h"

#include "tickPrinter.h"

#include <gtest/gtest.h>

namespace {

using board::StreamClock;
using board::Ticks;
using namespace std::chrono_literals;

constexpr std::uint16_t pcrPid = 256;
constexpr Ticks step = 40ms;

// For EXPECT_NEAR.
double inTicks(board::FineTicks time) {
    return time.count();
}

// That this many packets take at the bit rate that is assumed where a stream shows no time.
double assumedTicks(std::uint64_t packets) {
    return static_cast<double>(packets) * 188 * 8 / board::tunables::assumedBitRate * 27e6;
}

constexpr Ticks pause = 600ms; // that networks' bursts may be apart

// A stream with a PCR every tenth packet, 40 ms apart.
Ticks playPcrs(StreamClock& clock, Ticks firstPcr, int pcrs) {
    for (int k = 0; k < pcrs; ++k) {
        clock.packet(pcrPid, firstPcr + k * step, std::nullopt);
        for (int packet = 0; packet < 9; ++packet) {
            clock.packet(pcrPid, std::nullopt, std::nullopt);
        }
    }
    return clock.now();
}

TEST(StreamClock, StartsAtTheFirstPcr) {
    StreamClock clock;
    EXPECT_TRUE(clock.packet(pcrPid, Ticks(123456789), std::nullopt));
    EXPECT_EQ(clock.now(), 0s);
}

TEST(StreamClock, RunsWithThePcrAndBetweenItByEstimation) {
    StreamClock clock;
    EXPECT_EQ(playPcrs(clock, Ticks(5000), 11), 10 * step + step * 9 / 10);
}

TEST(StreamClock, RunsOnWhenThePcrWraps) {
    constexpr Ticks modulus{(std::int64_t{1} << 33) * 300};
    StreamClock clock;
    clock.packet(pcrPid, modulus - step / 2, std::nullopt);
    clock.packet(pcrPid, step / 2, std::nullopt);
    EXPECT_EQ(clock.now(), step);
}

TEST(StreamClock, TakesALeapOfThePcrForANewStart) {
    StreamClock clock;
    const Ticks before = playPcrs(clock, 0s, 10);
    clock.packet(pcrPid, 500s, std::nullopt);
    EXPECT_EQ(clock.now(), before + step / 10);
    clock.packet(pcrPid, 500s + step, std::nullopt);
    EXPECT_EQ(clock.now(), before + step / 10 + step);
}

// A stream with a PCR every thousandth packet, this far apart; its time behind the last PCR.
Ticks playSparsely(StreamClock& clock, Ticks apart, int pcrs) {
    for (int k = 0; k < pcrs; ++k) {
        for (int packet = 0; k > 0 && packet < 999; ++packet) {
            clock.packet(pcrPid, std::nullopt, std::nullopt);
        }
        clock.packet(pcrPid, k * apart, std::nullopt);
    }
    return clock.now();
}

TEST(StreamClock, RunsWithPcrsThatAreSecondsApart) {
    StreamClock clock;
    EXPECT_EQ(playSparsely(clock, 5s, 20), 19 * 5s);
}

TEST(StreamClock, RunsWithTheTimeStampsWherePcrsAreAMinuteApart) {
    constexpr Ticks aMinute = 1min;
    constexpr int packets = 30'000;
    StreamClock clock;
    for (int minute = 0; minute < 4; ++minute) {
        clock.packet(pcrPid, minute * aMinute, std::nullopt);
        for (int k = 1; k < packets; ++k) {
            clock.packet(pcrPid, std::nullopt,
                         k % 10 == 0 ? std::optional<Ticks>(minute * aMinute + k * (aMinute / packets))
                                     : std::nullopt);
        }
    }
    clock.packet(pcrPid, 4 * aMinute, std::nullopt);
    EXPECT_NEAR(inTicks(clock.now()), inTicks(4 * aMinute), inTicks(100ms));
}

TEST(StreamClock, RunsAtAnAssumedRateWhereOnePcrIsAllThereIs) {
    StreamClock clock;
    clock.packet(pcrPid, 0s, std::nullopt);
    for (std::uint64_t k = 2; k < board::tunables::clockPatience; ++k) {
        clock.packet(pcrPid, std::nullopt, std::nullopt);
    }
    EXPECT_EQ(clock.now(), 0s);
    EXPECT_TRUE(clock.packet(pcrPid, std::nullopt, std::nullopt));
    EXPECT_NEAR(inTicks(clock.now()), assumedTicks(board::tunables::clockPatience - 1), 1);
}

TEST(StreamClock, RunsAtAnAssumedRateWhereTheSamePcrComesWithEveryPassOfAFile) {
    constexpr std::uint64_t packets = 580;
    constexpr std::uint64_t beforeThePcr = 362;
    StreamClock clock;
    for (int pass = 0; pass < 20; ++pass) {
        for (std::uint64_t k = 0; k < packets; ++k) {
            clock.packet(pcrPid, k == beforeThePcr ? std::optional<Ticks>(987654321) : std::nullopt,
                         std::nullopt);
        }
        EXPECT_EQ(clock.passEnded(), pass == 0);
        EXPECT_NEAR(inTicks(clock.now()),
                    assumedTicks(packets - beforeThePcr - 1 + static_cast<std::uint64_t>(pass) * packets), 2)
            << pass;
    }
}

TEST(StreamClock, GivesStreamsThatShowOnePcrEachTheTimeOfTheirPackets) {
    constexpr std::uint64_t packets = 20;
    constexpr std::uint64_t streams = 1000;
    StreamClock clock;
    for (std::uint64_t stream = 0; stream < streams; ++stream) {
        for (std::uint64_t k = 0; k < packets; ++k) {
            clock.packet(pcrPid, k + 1 == packets ? std::optional<Ticks>(stream * step) : std::nullopt,
                         std::nullopt);
        }
        clock.startOver();
    }
    EXPECT_NEAR(inTicks(clock.now()), assumedTicks(packets * streams), 1000);
}

TEST(StreamClock, IsNotHeldUpByAStrayPcrInFront) {
    StreamClock clock;
    clock.packet(300, Ticks(1234), std::nullopt);
    EXPECT_EQ(playPcrs(clock, 0s, 11), 10 * step + step * 9 / 10);
}

TEST(StreamClock, IsTimedAtTheEndOfAShortFileByTimeStampsThatHaveNotCountedYet) {
    StreamClock clock;
    for (std::uint64_t k = 0; k < 2000; ++k) {
        clock.packet(pcrPid, std::nullopt,
                     k % 10 == 5 ? std::optional<Ticks>(static_cast<Ticks::rep>(k) * step / 10)
                                 : std::nullopt);
    }
    EXPECT_EQ(clock.now(), 0s);
    EXPECT_TRUE(clock.passEnded());
    EXPECT_NEAR(inTicks(clock.now()), 200 * inTicks(step), 1);
}

TEST(StreamClock, TakesAPairOfPcrsThatNoLinkIsFastEnoughForForNoStep) {
    StreamClock clock;
    const auto pair = [&clock](Ticks first, Ticks second) {
        clock.packet(pcrPid, first, std::nullopt);
        for (int k = 0; k < 99; ++k) {
            clock.packet(pcrPid, std::nullopt, std::nullopt);
        }
        return clock.packet(pcrPid, second, std::nullopt);
    };
    EXPECT_FALSE(pair(Ticks(1000), Ticks(1037))) << "111 Gbit/s";
    EXPECT_EQ(clock.now(), 0s);
    EXPECT_TRUE(pair(5000 * step, 5001 * step));
    EXPECT_EQ(clock.now(), step);
}

TEST(StreamClock, FollowsAnotherPidWhereTheFirstShowsOnePcrOnly) {
    StreamClock clock;
    clock.packet(300, Ticks(1234), std::nullopt);
    for (std::uint64_t k = 0; k < board::tunables::stampPatience; ++k) {
        clock.packet(pcrPid, std::nullopt, std::nullopt);
    }
    EXPECT_EQ(playPcrs(clock, 0s, 11), 10 * step + step * 9 / 10);
}

TEST(StreamClock, KeepsToOnePidWhereAllPcrsAreFarApart) {
    constexpr std::uint16_t other = 300;
    StreamClock clock;
    for (int k = 0; k < 10; ++k) {
        clock.packet(pcrPid, 2 * k * 1s, std::nullopt);
        clock.packet(other, 99 * k * 1s, std::nullopt);
    }
    EXPECT_EQ(clock.now() / 1s, 18 + 1) << "half a step behind the last, by estimation";
}

TEST(StreamClock, GoesOnThroughTheSeamOfALoop) {
    StreamClock clock;
    const Ticks before = playPcrs(clock, Ticks(7777), 10);
    EXPECT_EQ(playPcrs(clock, Ticks(7777), 10) - before, before + step / 10);
}

TEST(StreamClock, GoesOnWithWhicheverPidRuns) {
    constexpr std::uint16_t other = 300;
    StreamClock clock;
    playPcrs(clock, 0s, 10);
    for (int k = 0; k < 20; ++k) {
        const bool leads = k >= 2; // when the first has missed two
        EXPECT_EQ(clock.packet(other, 77 * step + k * step, std::nullopt), leads) << k;
        EXPECT_EQ(clock.now(), (10 + (leads ? k : 0)) * step) << k;
    }
}

TEST(StreamClock, IsNotHurriedByManyPidsThatRunSideBySide) {
    constexpr int pids = 10;
    constexpr int seconds = 20;
    StreamClock clock;
    for (int k = 0; k < seconds * 1000;
         ++k) { // a packet a millisecond, each PID's PCR every 37 to 91 of them
        const int one = k % pids;
        const bool due = k % (37 + 6 * one) == 0;
        const Ticks epoch = one * 5000s;
        clock.packet(static_cast<std::uint16_t>(pcrPid + one),
                     due ? std::optional<Ticks>(epoch + k * 1ms) : std::nullopt, std::nullopt);
    }
    EXPECT_NEAR(inTicks(clock.now()), inTicks(seconds * 1s), inTicks(100ms));
}

TEST(StreamClock, RunsTrulyThoughOnePcrInTwentyIsDamaged) {
    constexpr int pcrs = 25 * 60;
    std::uint64_t random = 1;
    StreamClock clock;
    for (int k = 0; k < pcrs; ++k) {
        random = random * 6364136223846793005 + 1442695040888963407;
        const bool damaged = (random >> 33) % 20 == 0;
        playPcrs(clock, damaged ? Ticks(random >> 24) : k * step, 1);
    }
    EXPECT_NEAR(inTicks(clock.now()) / inTicks(1s), 60, 0.5);
}

TEST(StreamClock, GoesOnWithTheTimeStampsWhenThePcrHasDied) {
    StreamClock clock;
    for (int k = 0; k < 20'000; ++k) { // a PCR and a time stamp every tenth packet, 40 ms apart
        const bool stamped = k % 10 == 5;
        clock.packet(pcrPid, k % 10 == 0 && k < 10'000 ? std::optional<Ticks>(k * step / 10) : std::nullopt,
                     stamped ? std::optional<Ticks>(k * step / 10) : std::nullopt);
    }
    EXPECT_NEAR(inTicks(clock.now()), 2000 * inTicks(step), inTicks(step));
}

TEST(StreamClock, KeepsToThePcrsThroughALargePicture) {
    constexpr std::uint16_t other = 300;
    StreamClock clock;
    for (int k = 0; k < 10; ++k) {
        clock.packet(pcrPid, k * step, std::nullopt);
        clock.packet(other, 99 * step + k * step, std::nullopt);
        for (int packet = 0; packet < (k == 8 ? 1000 : 10); ++packet) {
            clock.packet(pcrPid, std::nullopt, std::nullopt);
            EXPECT_LE(clock.now(), (k + 1) * step);
        }
    }
    EXPECT_EQ(clock.now() / step, 9);
}

TEST(StreamClock, ReadsByEstimationWhenTheReferenceIsGone) {
    StreamClock clock;
    playPcrs(clock, 0s, 10);
    int readings = 0;
    for (std::uint64_t k = 9; k < board::tunables::clockPatience; ++k) {
        readings += clock.packet(pcrPid, std::nullopt, std::nullopt) ? 1 : 0;
    }
    EXPECT_EQ(readings, 1) << "as many packets as a large picture has; then it is not one";
    for (int k = 0; k < 100; ++k) { // 0.4 s
        readings += clock.packet(pcrPid, std::nullopt, std::nullopt) ? 1 : 0;
    }
    EXPECT_EQ(readings, 5);
    EXPECT_EQ(clock.now() / step, 9 + (static_cast<Ticks::rep>(board::tunables::clockPatience) + 100) / 10);
}

TEST(StreamClock, RunsByItsPacketsWhileThePcrIsStuckAndWithItBehind) {
    StreamClock clock;
    const Ticks before = playPcrs(clock, 0s, 10);
    for (int k = 0; k < 100; ++k) {
        playPcrs(clock, 9 * step, 1);
    }
    EXPECT_NEAR(inTicks(clock.now() - before), 100 * inTicks(step), inTicks(step));
    playPcrs(clock, 10 * step, 10);
    EXPECT_NEAR(inTicks(clock.now() - before), 110 * inTicks(step), inTicks(step));
}

TEST(StreamClock, TakesTheTimeOfAPcrThatIsWrittenTwice) {
    StreamClock clock;
    for (int k = 0; k < 100; ++k) {
        playPcrs(clock, k * step, 1);
        playPcrs(clock, k * step, 1);
    }
    EXPECT_NEAR(inTicks(clock.now()), 99.95 * inTicks(step), inTicks(step) / 100);
}

TEST(StreamClock, IsTimedByTheStampsOrAtAnAssumedRateWhereThePcrIsStuckFromTheStart) {
    StreamClock clock;
    const auto play = [&clock](std::uint64_t packets, bool withStamps) {
        for (std::uint64_t k = 0; k < packets; ++k) {
            clock.packet(pcrPid, k % 10 == 0 ? std::optional<Ticks>(77) : std::nullopt,
                         withStamps && k % 10 == 5
                             ? std::optional<Ticks>(static_cast<Ticks::rep>(k) * step / 10)
                             : std::nullopt);
        }
    };
    play(6000, true);
    EXPECT_NEAR(inTicks(clock.now()), 600 * inTicks(step), 2 * inTicks(step));
    clock = StreamClock();
    play(board::tunables::clockPatience + 1000, false);
    EXPECT_NEAR(inTicks(clock.now()), assumedTicks(board::tunables::clockPatience + 1000), assumedTicks(10));
}

TEST(StreamClock, FollowsAnotherPidWhereTheFirstIsStuck) {
    constexpr std::uint16_t other = 300;
    StreamClock clock;
    playPcrs(clock, 0s, 10);
    for (int k = 0; k < 100; ++k) {
        clock.packet(pcrPid, 9 * step, std::nullopt);
        clock.packet(other, 500 * step + k * step, std::nullopt);
    }
    EXPECT_EQ(clock.now() / step, 10 + 99);
}

TEST(StreamClock, FollowsThePidThatRunsWhereAnotherIsStuckToo) {
    constexpr std::uint16_t stuck = 300;
    constexpr std::uint16_t running = 301;
    StreamClock clock;
    playPcrs(clock, 0s, 10);
    for (int k = 0; k < 100; ++k) {
        clock.packet(stuck, Ticks(77), std::nullopt);
        clock.packet(running, 500 * step + k * step, std::nullopt);
    }
    EXPECT_NEAR(inTicks(clock.now()), (9 + 99) * inTicks(step), inTicks(step));
}

TEST(StreamClock, RunsWithPcrsThatBecomeSparse) {
    constexpr Ticks sparse = 2500ms;
    StreamClock clock;
    playPcrs(clock, 0s, 50);
    for (int k = 1; k <= 20; ++k) {
        playPcrs(clock, 49 * step + k * sparse, 1);
    }
    EXPECT_GT(clock.now(), 49 * step + 18 * sparse);
}

// Two programs that are cut at the same place, behind which the clocks of both have leapt.
class CutStream : public testing::TestWithParam<Ticks> {};

TEST_P(CutStream, GoesOnWhereverTheClocksHaveLeapt) {
    constexpr std::uint16_t other = 300;
    StreamClock clock;
    const auto play = [&clock](Ticks start, bool withReference) {
        for (int k = 0; k < 50; ++k) {
            clock.packet(other, 7 * step + start + k * step, std::nullopt);
            clock.packet(pcrPid, withReference ? std::optional<Ticks>(start + k * step) : std::nullopt,
                         std::nullopt);
        }
    };
    play(0s, true);
    play(GetParam(), true);
    EXPECT_NEAR(inTicks(clock.now()), 99 * inTicks(step), inTicks(step));
    play(2 * GetParam(), false);
    EXPECT_NEAR(inTicks(clock.now()), 149 * inTicks(step), 2 * inTicks(step));
}

INSTANTIATE_TEST_SUITE_P(, CutStream, testing::Values(20s, 40s, 20'000s),
                         [](const auto& leap) { return std::to_string(leap.param / 1s) + "Seconds"; });

TEST(StreamClock, TakesADamagedPcrBehindItsRangeForNoStepBack) {
    constexpr Ticks modulus{(std::int64_t{1} << 33) * 300};
    StreamClock clock;
    clock.packet(pcrPid, modulus + Ticks(200), std::nullopt);
    clock.packet(pcrPid, step, std::nullopt);
    EXPECT_EQ(clock.now(), step - Ticks(200));
}

TEST(StreamClock, RunsWithTimeStampsWhereThereIsNoPcr) {
    StreamClock clock;
    for (std::uint64_t k = 0; k < 6000; ++k) {
        clock.packet(pcrPid, std::nullopt,
                     k % 10 == 0 ? std::optional<Ticks>(static_cast<Ticks::rep>(k) * step / 10)
                                 : std::nullopt);
    }
    EXPECT_NEAR(inTicks(clock.now()), 599.9 * inTicks(step), inTicks(step) / 10);
}

TEST(StreamClock, RunsAtAnAssumedRateWhereThereIsNoTimeAtAll) {
    StreamClock clock;
    clock.packet(pcrPid, std::nullopt, std::nullopt);
    EXPECT_EQ(clock.now(), 0s);
    EXPECT_TRUE(clock.passEnded());
    for (int k = 0; k < 1000; ++k) {
        clock.packet(pcrPid, std::nullopt, std::nullopt);
    }
    EXPECT_NEAR(inTicks(clock.now()), assumedTicks(1001), 1);
}

TEST(StreamClock, LearnsTheTrueRateFromPcrsThatComeLate) {
    StreamClock clock;
    for (std::uint64_t k = 0; k < board::tunables::clockPatience + 1000; ++k) {
        clock.packet(pcrPid, std::nullopt, std::nullopt);
    }
    const Ticks before = playPcrs(clock, 0s, 1);
    EXPECT_NEAR(inTicks(playPcrs(clock, step, 100) - before), 100 * inTicks(step), 2 * inTicks(step));
}

// A live stream in real time, told after every PCR's packets.
class LiveClock : public testing::Test {
  protected:
    // Ten packets, the first with this PCR, or with none.
    void packets(std::optional<Ticks> pcr) {
        clock.packet(pcrPid, pcr, std::nullopt);
        for (int packet = 0; packet < 9; ++packet) {
            clock.packet(pcrPid, std::nullopt, std::nullopt);
        }
    }

    void run(Ticks firstPcr, int pcrs) {
        for (int k = 0; k < pcrs; ++k) {
            packets(firstPcr + k * step);
            pass(step);
        }
    }

    void pass(Ticks elapsed) {
        clock.realTime(elapsed);
        real += elapsed;
    }

    // How far time is from real time, in milliseconds.
    double error() const {
        return inTicks(clock.now() - real) / inTicks(1ms);
    }

    StreamClock clock{board::SourceKind::live};
    Ticks real{0};
};

TEST_F(LiveClock, FollowsRealTimeWhileNothingArrives) {
    run(0s, 50);
    const Ticks before = clock.now();
    pass(pause - Ticks(1));
    EXPECT_EQ(clock.now(), before) << "bursts are as far apart";
    pass(Ticks(1));
    EXPECT_NEAR(error(), 0, 5);
    pass(step);
    EXPECT_NEAR(error(), 0, 5);
}

TEST_F(LiveClock, RunsByRealTimeWhenItsPcrHasDied) {
    run(0s, 50);
    for (int k = 0; k < 50; ++k) { // a trickle of packets
        clock.packet(pcrPid, std::nullopt, std::nullopt);
        pass(100ms);
        EXPECT_NEAR(error(), 0, 600) << k;
    }
    EXPECT_NEAR(error(), 0, 100);
}

TEST_F(LiveClock, RunsByRealTimeWhenItsPcrIsStuck) {
    run(0s, 50);
    for (int k = 0; k < 100; ++k) {
        packets(50 * step);
        pass(step);
        EXPECT_NEAR(error(), 0, 600) << k;
    }
}

TEST_F(LiveClock, RunsByRealTimeFromTheBeginningWhereNoTimeIsShown) {
    for (std::uint64_t k = 0; k < 2 * board::tunables::clockPatience; ++k) {
        clock.packet(pcrPid, std::nullopt, std::nullopt);
        pass(100us); // 15 Mbit/s
    }
    EXPECT_NEAR(error(), 0, 1);
}

TEST_F(LiveClock, TakesBurstsFarApartForARunningStream) {
    for (int burst = 0; burst < 20; ++burst) {
        for (int k = 0; k < 25; ++k) {
            packets((25 * burst + k) * step);
        }
        for (int k = 0; k < 25; ++k) {
            pass(step);
        }
        EXPECT_NEAR(error(), 0, 50) << burst;
    }
}

TEST_F(LiveClock, GoesOnAtOnceWhenTheSenderHadStopped) {
    run(0s, 50);
    pass(1500ms);
    run(50 * step, 50);
    EXPECT_NEAR(error(), 0, 50);
}

TEST_F(LiveClock, CountsALossOnTheWayOnce) {
    run(0s, 50);
    pass(20 * step);
    run(70 * step, 50);
    EXPECT_NEAR(error(), 0, 50);
}

TEST_F(LiveClock, KeepsToThePcrOfASenderThatIsTooSlow) {
    for (int k = 0; k < 500; ++k) {
        packets(k * step);
        pass(2 * step);
    }
    EXPECT_NEAR(inTicks(clock.now()), 500 * inTicks(step), inTicks(step));
}

TEST_F(LiveClock, OwesNothingForAPauseInWhichItsStreamHasRun) {
    for (int read = 0; read < 20; ++read) { // each holds a second of stream and is paced
        for (int k = 0; k < 25; ++k) {
            packets((25 * read + k) * step);
        }
        EXPECT_FALSE(clock.realTime(25 * step)) << read;
    }
    EXPECT_NEAR(inTicks(clock.now()), 499.9 * inTicks(step), inTicks(step) / 10);
}

// How long after the last packet time has gone on by a second.
class SilenceBehind : public LiveClock {
  protected:
    double millisecondsUntilASecondIsOver() {
        const Ticks before = clock.now();
        const Ticks start = real;
        while (clock.now() < before + 1s) {
            pass(step / 10);
        }
        return inTicks(real - start) / inTicks(1ms);
    }
};

TEST_F(SilenceBehind, AFastSendersStreamIsNoticedSoon) {
    for (int k = 0; k < 25 * 60; ++k) { // a minute, 5% fast
        packets(k * step);
        pass(step - step / 20);
    }
    EXPECT_NEAR(millisecondsUntilASecondIsOver(), 1000, 50);
}

TEST_F(SilenceBehind, AStreamThatBeganWithABurstIsNoticedSoon) {
    for (int k = 0; k < 50; ++k) {
        packets(k * step);
    }
    run(50 * step, 6 * 25);
    EXPECT_NEAR(millisecondsUntilASecondIsOver(), 1000, 50);
}

} // namespace
