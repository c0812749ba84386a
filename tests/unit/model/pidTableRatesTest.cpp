// Rates are added as singles in the order of the collection. From 2^24 on a single holds every second number
// only, so these streams would have other rates if the sums were taken in doubles or in another order.
#include "model/pidTable.h"
#include "support/console.h"
#include "support/records.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr float large = 16777216.0F; // 2^24: large + 1 is large

} // namespace

class PidTableRates : public ProcessStateTest {
  protected:
    static void collect() {
        consoleOf([] { collectPids(programCount); });
    }
};

TEST_F(PidTableRates, AProgramAddsItsPmtBeforeItsVideoAndAudio) {
    listPids({{17, 0}, {513, 1}, {512, 1}, {256, large}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 512, .audio = {{513}}}});
    collect();
    EXPECT_EQ(programRates[0], large);
}

TEST_F(PidTableRates, AProgramAddsSmallRatesExactlyWhenTheyComeFirst) {
    listPids({{17, 0}, {256, 1}, {512, 1}, {513, large}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 512, .audio = {{513}}}});
    collect();
    EXPECT_EQ(programRates[0], large + 2);
}

// The six builders' PIDs; the large one is in front of the first small one that is lost.
struct ProgramOrder {
    const char* name;
    std::vector<float> rates; // of PMT, video, PCR, ECM, audio, private
    float sum;
};

class ProgramSum : public PidTableRates, public testing::WithParamInterface<ProgramOrder> {};

INSTANTIATE_TEST_SUITE_P(Orders, ProgramSum,
                         testing::Values(ProgramOrder{"PmtLarge", {large, 1, 1, 1, 1, 1}, large},
                                         ProgramOrder{"VideoLarge", {4, large, 1, 1, 1, 1}, large + 4},
                                         ProgramOrder{"PcrLarge", {1, 3, large, 1, 1, 1}, large + 4},
                                         ProgramOrder{"EcmLarge", {2, 1, 1, large, 1, 1}, large + 4},
                                         ProgramOrder{"AudioLarge", {1, 1, 1, 1, large, 1}, large + 4}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(ProgramSum, IsTakenInTheOrderPmtVideoPcrEcmAudioPrivate) {
    const std::vector<float>& rates = GetParam().rates;
    listPids({{17, 0},
              {700, rates[5]},
              {513, rates[4]},
              {515, rates[3]},
              {600, rates[2]},
              {512, rates[1]},
              {256, rates[0]}});
    announcePrograms({{.pgmNum = 1,
                       .pmtPid = 256,
                       .pcrPid = 600,
                       .videoPid = 512,
                       .audio = {{513}},
                       .privatePids = {700},
                       .ecmPids = {515}}});
    collect();
    EXPECT_EQ(programRates[0], GetParam().sum);
}

TEST_F(PidTableRates, PsiRatesAreAddedInTheOrderOfThePidsNotOfTheList) {
    listPids({{17, large}, {1, 1}, {0, 1}});
    collect();
    EXPECT_EQ(aggStreamRate, large + 2);
    listPids({{1, 1}, {0, large}, {17, 1}});
    collect();
    EXPECT_EQ(aggStreamRate, large);
}

TEST_F(PidTableRates, ProgramRatesAreAddedInTheOrderOfThePrograms) {
    listPids({{17, 0}, {258, 1}, {257, 1}, {256, large}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601},
                      {.pgmNum = 2, .pmtPid = 257, .pcrPid = 600, .videoPid = 601},
                      {.pgmNum = 3, .pmtPid = 258, .pcrPid = 600, .videoPid = 601}});
    collect();
    EXPECT_EQ(aggStreamRate, large);
}

TEST_F(PidTableRates, TheAggregateAddsProgramsThenPsiThenUnknownThenNull) {
    listPids({{17, 1}, {256, large}, {700, 1}, {8191, 1}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601}});
    collect();
    EXPECT_EQ(aggStreamRate, large);
}

TEST_F(PidTableRates, TheAggregateKeepsWhatItAddsBeforeTheNullRate) {
    listPids({{17, 1}, {256, 1}, {700, 2}, {8191, large}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601}});
    collect();
    EXPECT_EQ(aggStreamRate, large + 4);
}

TEST_F(PidTableRates, TheAggregateAddsTheUnknownRateBehindThePsiRate) {
    listPids({{17, 1}, {256, 1}, {700, large}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601}});
    collect();
    EXPECT_EQ(aggStreamRate, large + 2);
}

TEST_F(PidTableRates, UnknownRatesAreAddedInTheOrderOfTheList) {
    listPids({{17, 0}, {702, 1}, {701, 1}, {700, large}});
    collect();
    EXPECT_EQ(aggStreamRate, large + 2);
    listPids({{17, 0}, {700, large}, {701, 1}, {702, 1}});
    collect();
    EXPECT_EQ(aggStreamRate, large);
}

TEST_F(PidTableRates, ALowPidIsTakenFromThePsiSumAfterItHasBeenAddedThere) {
    // PSI: 2^24 + 1 is 2^24, less 1 is 2^24 - 1. Program: 1. Together 2^24, and the unknown rate takes it
    // all.
    listPids({{16, large}, {17, 0}, {20, 1}, {700, -large}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 20, .pcrPid = 600, .videoPid = 601}});
    collect();
    EXPECT_EQ(aggStreamRate, 0.0F);
}

TEST_F(PidTableRates, ALowEmmPidIsAddedToThePsiSumAndTakenAgain) {
    // PSI: 2^24 + 1 is 2^24; EMM: + 1 is 2^24 again, - 1 is 2^24 - 1.
    listPids({{16, large}, {17, 0}, {1, 0}, {20, 1}});
    newestRecords.cat.caCount = 1;
    newestRecords.cat.caEntries[0] = {0x500, 20};
    collect();
    EXPECT_EQ(aggStreamRate, large - 1);
}

TEST_F(PidTableRates, AHighEmmPidIsAddedToThePsiSum) {
    listPids({{16, large}, {17, 0}, {1, 0}, {600, 1}, {700, 1}});
    newestRecords.cat.caCount = 1;
    newestRecords.cat.caEntries[0] = {0x500, 600};
    collect();
    EXPECT_EQ(aggStreamRate, large);
}

TEST_F(PidTableRates, ALowUnknownPidIsTakenFromThePsiSum) {
    // PSI: 2^24, less 1 is 2^24 - 1. Unknown: 1 + 1. Together 2^24 + 1, which is 2^24.
    listPids({{17, large}, {17, 1}, {700, 1}});
    collect();
    EXPECT_EQ(aggStreamRate, large);
}

TEST_F(PidTableRates, RatesThatAreNoNumbersGoThrough) {
    listPids({{17, 0}, {256, std::numeric_limits<float>::infinity()}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601}});
    collect();
    EXPECT_EQ(programRates[0], std::numeric_limits<float>::infinity());
    EXPECT_EQ(aggStreamRate, std::numeric_limits<float>::infinity());
}
