#include "documents/codedValues.h"
#include "serviceNames.h"

#include <gtest/gtest.h>
#include <string>

TEST(CodedValues, CodesInsideATableHaveTheirNames) {
    EXPECT_EQ(nameOf(audioTypeNames, 5), "HEAAC");
    EXPECT_EQ(nameOf(audioBitRateNames, 14), "384kbps");
    EXPECT_EQ(nameOf(aspectRatioNames, 16), "2:1");
}

TEST(CodedValues, CodesOutsideATableAreUnknown) {
    EXPECT_EQ(nameOf(audioTypeNames, 6), "Unknown");
    EXPECT_EQ(nameOf(audioBitRateNames, 15), "Unknown");
    EXPECT_EQ(nameOf(audioSampleRateNames, 3), "Unknown");
    EXPECT_EQ(nameOf(audioModeNames, 4), "Unknown");
    EXPECT_EQ(nameOf(scramblingNames, 2), "Unknown");
    EXPECT_EQ(nameOf(entropyNames, 0xFFFFFFFFU), "Unknown");
    EXPECT_EQ(nameOf(aspectRatioNames, 17), "Unknown");
}
