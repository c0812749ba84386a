#include "timing/rateMeter.h"

#include "tickPrinter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using board::RateMeter;
using board::Ticks;
using namespace std::chrono_literals;

constexpr float bitsPerPacket = 1504;

void count(RateMeter& meter, std::size_t position, int packets) {
    for (int k = 0; k < packets; ++k) {
        meter.count(position);
    }
}

// Plays a stretch of stream with a reading so often, and this many packets a reading on each of
// the positions. Returns the time behind it.
Ticks playReadings(RateMeter& meter, Ticks from, Ticks to, Ticks every,
                   const std::vector<std::size_t>& positions) {
    static std::uint64_t number = 0;
    Ticks now = from;
    for (; now < to; now += every) {
        for (const std::size_t position : positions) {
            count(meter, position, 10);
            number += 10;
        }
        meter.reading(now + every, number);
    }
    return now;
}

TEST(RateMeter, DividesByTheTimeThatTheWindowReallySpans) {
    RateMeter meter(1s);
    meter.reading(0s, 0);
    count(meter, 0, 100);
    count(meter, 1, 10);
    EXPECT_TRUE(meter.reading(625ms, 110)) << "the next step would be older than a period";
    EXPECT_FLOAT_EQ(meter.rate(0), 100 * bitsPerPacket / 0.625F);
    EXPECT_FLOAT_EQ(meter.rate(1), 10 * bitsPerPacket / 0.625F);
    EXPECT_EQ(meter.window().firstPacket, 0U);
    EXPECT_EQ(meter.window().endPacket, 110U);
    EXPECT_EQ(meter.window().elapsed, 625ms);
    count(meter, 0, 50);
    EXPECT_TRUE(meter.reading(750ms, 160));
    EXPECT_FLOAT_EQ(meter.rate(0), 150 * bitsPerPacket / 0.75F);
    EXPECT_FLOAT_EQ(meter.rate(1), 10 * bitsPerPacket / 0.75F);
}

TEST(RateMeter, TakesWhatThereIsWhenTheStreamEndsAsAStepBegins) {
    RateMeter meter(1s);
    meter.reading(0s, 0);
    count(meter, 63, 100);
    EXPECT_FALSE(meter.reading(200ms, 100));
    meter.finish(200ms, 100);
    EXPECT_FLOAT_EQ(meter.rate(63), 100 * bitsPerPacket / 0.2F);
    EXPECT_EQ(meter.window().endPacket, 100U);
}

TEST(RateMeter, MovesItsWindowATenthOfThePeriodAtATime) {
    constexpr Ticks tenth = 100ms;
    RateMeter meter(1s);
    meter.reading(0s, 0);
    playReadings(meter, 0s, 8 * tenth, tenth, {0});
    EXPECT_FALSE(meter.measured());
    playReadings(meter, 8 * tenth, 9 * tenth, tenth, {0});
    EXPECT_TRUE(meter.measured());
    EXPECT_EQ(meter.window().elapsed, 9 * tenth);
    EXPECT_FLOAT_EQ(meter.rate(0), 100 * bitsPerPacket);
    playReadings(meter, 9 * tenth, 20 * tenth, tenth, {0, 0});
    EXPECT_EQ(meter.window().elapsed, 9 * tenth);
    EXPECT_FLOAT_EQ(meter.rate(0), 200 * bitsPerPacket);
}

struct Silence {
    const char* name;
    Ticks period;
    Ticks readings; // how far they are apart
};

class SilentPid : public testing::TestWithParam<Silence> {};

TEST_P(SilentPid, IsAtZeroWithinAPeriodOfItsLastPacket) {
    const auto [name, period, readings] = GetParam();
    for (Ticks lasting = 3 * period; lasting < 4 * period; lasting += period / 7) {
        RateMeter meter(period);
        meter.reading(0s, 0);
        const Ticks silentSince = playReadings(meter, 0s, lasting, readings, {0, 1});
        EXPECT_GT(meter.rate(1), 0.0F);
        playReadings(meter, silentSince, silentSince + period - readings, readings, {0});
        EXPECT_EQ(meter.rate(1), 0.0F) << name;
        EXPECT_GT(meter.rate(0), 0.0F);
    }
}

INSTANTIATE_TEST_SUITE_P(, SilentPid,
                         testing::Values(Silence{"frequentReadings", 1s, 1ms},
                                         Silence{"usualReadings", 1s, 40ms},
                                         Silence{"rareReadings", 1s, 250ms},
                                         Silence{"shortPeriod", 200ms, 40ms},
                                         Silence{"longPeriod", 10s, 40ms}),
                         [](const auto& silence) { return std::string(silence.param.name); });

TEST(RateMeter, LeavesOutWhatComesBeforeTheFirstReading) {
    RateMeter meter(1s);
    count(meter, 0, 1000);
    meter.reading(0s, 1000);
    count(meter, 0, 1);
    meter.reading(1s, 1001);
    EXPECT_FLOAT_EQ(meter.rate(0), bitsPerPacket);
}

TEST(RateMeter, MeasuresTheWholeStreamAsOnePeriodUpToItsLastReading) {
    RateMeter meter(0s);
    meter.reading(0s, 0);
    count(meter, 0, 50);
    meter.reading(250ms, 50);
    count(meter, 0, 50); // after the last reading, in no known time
    EXPECT_FALSE(meter.measured());
    meter.finish(Ticks(1s) / 3, 100);
    EXPECT_TRUE(meter.measured());
    EXPECT_FLOAT_EQ(meter.rate(0), 200 * bitsPerPacket);
}

TEST(RateMeter, KnowsNoRateOfAStreamWithoutTime) {
    RateMeter meter(0s);
    count(meter, 0, 50);
    meter.finish(0s, 50);
    EXPECT_FALSE(meter.measured());
    EXPECT_EQ(meter.rate(0), 0.0F);
    EXPECT_EQ(meter.rate(77), 0.0F);
}

TEST(RateMeter, TakesAStreamWithoutReadingsForAsLongAsTheClockSaysAtTheEnd) {
    RateMeter meter(1s);
    count(meter, 0, 50);
    meter.finish(500ms, 50);
    EXPECT_FLOAT_EQ(meter.rate(0), 100 * bitsPerPacket);
    EXPECT_EQ(meter.window().firstPacket, 0U);
    EXPECT_EQ(meter.window().endPacket, 50U);
    EXPECT_EQ(meter.window().elapsed, 500ms);
}

} // namespace
