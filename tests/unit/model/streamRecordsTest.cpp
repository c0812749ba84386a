#include "model/streamRecords.h"
#include "support/records.h"

#include <gtest/gtest.h>

class StreamRecords : public ProcessStateTest {};

TEST_F(StreamRecords, BeforeTheFirstPatTheStreamIsEmpty) {
    EXPECT_EQ(pidListLength(), 0);
    EXPECT_EQ(pidPosition(0), absentPid);
}

TEST_F(StreamRecords, PidsAreTheLowThirteenBitsOfTheList) {
    listPids({{0xE100, 0}, {0x1FFF, 0}, {0xFFFE, 0}});
    EXPECT_EQ(pidAt(0), 0x0100);
    EXPECT_EQ(pidAt(1), 0x1FFF);
    EXPECT_EQ(pidAt(2), 0x1FFE);
}

TEST_F(StreamRecords, TheFirstPlaceOfAPidIsTheOneThatCounts) {
    listPids({{16, 0}, {0x2011, 0}, {17, 0}, {17, 0}});
    EXPECT_EQ(pidPosition(17), 1);
    EXPECT_EQ(pidPosition(16), 0);
    EXPECT_EQ(pidPosition(18), absentPid);
}

TEST_F(StreamRecords, PidsBehindTheCountAreNotInTheList) {
    listPids({{16, 0}, {17, 0}});
    newestRecords.pat.pidListCount = 1;
    EXPECT_EQ(pidPosition(17), absentPid);
}

TEST_F(StreamRecords, ACountBeyondTheListIsCutToIt) {
    newestRecords.pat.pidListCount = 257;
    EXPECT_EQ(pidListLength(), 256);
    newestRecords.pat.pidListCount = 65535;
    EXPECT_EQ(pidListLength(), 256);
    newestRecords.pat.pidList[255] = 33;
    EXPECT_EQ(pidPosition(33), 255);
}

TEST_F(StreamRecords, RatesAreMeasuredForTheFirst128Places) {
    newestRecords.tsStatus.pidStats[0].rate = 15040.0F;
    newestRecords.tsStatus.pidStats[127].rate = 192000.0F;
    std::memset(newestRecords.tsStatus.reserved2304, 0x41, sizeof newestRecords.tsStatus.reserved2304);
    EXPECT_EQ(measuredRate(0), 15040.0F);
    EXPECT_EQ(measuredRate(127), 192000.0F);
    EXPECT_EQ(measuredRate(128), 0.0F);
    EXPECT_EQ(measuredRate(255), 0.0F);
}

TEST_F(StreamRecords, AnAbsentPidIsShownWithTheBytesBeforeTheStatistics) {
    newestRecords.tsStatus.absentPidRate = 4321.0F;
    EXPECT_EQ(measuredRate(absentPid), 4321.0F);
}
