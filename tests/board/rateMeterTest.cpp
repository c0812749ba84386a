#include "rateMeter.h"

#include <gtest/gtest.h>

namespace {

using board::RateMeter;
using board::Ticks;
using board::ticksPerSecond;

constexpr float bitsPerPacket = 1504;

void count(RateMeter& meter, std::size_t position, int packets) {
    for (int k = 0; k < packets; ++k) {
        meter.count(position);
    }
}

TEST(RateMeter, DividesByTheTimeThatAPeriodReallyTook) {
    RateMeter meter(ticksPerSecond);
    meter.reading(0, 0);
    count(meter, 0, 100);
    count(meter, 1, 10);
    EXPECT_FALSE(meter.reading(ticksPerSecond / 2, 110));
    count(meter, 0, 100);
    EXPECT_TRUE(meter.reading(ticksPerSecond * 5 / 4, 210));
    EXPECT_FLOAT_EQ(meter.rate(0), 200 * bitsPerPacket / 1.25F);
    EXPECT_FLOAT_EQ(meter.rate(1), 10 * bitsPerPacket / 1.25F);
    EXPECT_EQ(meter.window().firstPacket, 0U);
    EXPECT_EQ(meter.window().endPacket, 210U);
    EXPECT_EQ(meter.window().elapsed, ticksPerSecond * 5 / 4);
}

TEST(RateMeter, FallsToZeroInTheNextPeriodOfAPidThatFallsSilent) {
    RateMeter meter(ticksPerSecond);
    meter.reading(0, 0);
    count(meter, 0, 100);
    count(meter, 1, 100);
    meter.reading(ticksPerSecond, 200);
    EXPECT_GT(meter.rate(1), 0.0F);
    count(meter, 0, 100);
    meter.reading(2 * ticksPerSecond, 300);
    EXPECT_FLOAT_EQ(meter.rate(0), 100 * bitsPerPacket);
    EXPECT_EQ(meter.rate(1), 0.0F);
}

TEST(RateMeter, LeavesOutWhatComesBeforeTheFirstReading) {
    RateMeter meter(ticksPerSecond);
    count(meter, 0, 1000);
    meter.reading(0, 1000);
    count(meter, 0, 1);
    meter.reading(ticksPerSecond, 1001);
    EXPECT_FLOAT_EQ(meter.rate(0), bitsPerPacket);
}

TEST(RateMeter, MeasuresTheWholeStreamAsOnePeriodUpToItsLastReading) {
    RateMeter meter(0);
    meter.reading(0, 0);
    count(meter, 0, 50);
    meter.reading(ticksPerSecond / 4, 50);
    count(meter, 0, 50); // after the last reading, in no known time
    EXPECT_FALSE(meter.measured());
    meter.finish();
    EXPECT_TRUE(meter.measured());
    EXPECT_FLOAT_EQ(meter.rate(0), 200 * bitsPerPacket);
}

TEST(RateMeter, KnowsNoRateOfAStreamWithoutTime) {
    RateMeter meter(0);
    count(meter, 0, 50);
    meter.finish();
    EXPECT_FALSE(meter.measured());
    EXPECT_EQ(meter.rate(0), 0.0F);
    EXPECT_EQ(meter.rate(77), 0.0F);
}

} // namespace
