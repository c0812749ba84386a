#include "support/boundedText.h"
#include "serviceNames.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

TEST(BoundedText, CountsAreCutToTheExtent) {
    EXPECT_EQ(clampCount(0, 60), 0);
    EXPECT_EQ(clampCount(1, 60), 1);
    EXPECT_EQ(clampCount(60, 60), 60);
    EXPECT_EQ(clampCount(61, 60), 60);
    EXPECT_EQ(clampCount(std::uint16_t{65535}, 12), 12);
    EXPECT_EQ(clampCount(std::uint16_t{12}, 12), 12);
    EXPECT_EQ(clampCount(std::numeric_limits<std::int32_t>::max(), 59), 59);
    EXPECT_EQ(clampCount(std::numeric_limits<std::uint32_t>::max(), 59), 59);
    EXPECT_EQ(clampCount(std::numeric_limits<std::int64_t>::max(), 59), 59);
}

TEST(BoundedText, NegativeCountsAreNone) {
    EXPECT_EQ(clampCount(-1, 60), 0);
    EXPECT_EQ(clampCount(std::numeric_limits<std::int32_t>::min(), 60), 0);
}

TEST(BoundedText, FieldsEndAtTheirZeroByteOrTheirWidth) {
    const char zeroFirst[4] = {'\0', 'a', 'b', 'c'};
    const char terminated[4] = {'e', 'n', 'g', '\0'};
    const char full[4] = {'w', 'i', 'd', 'e'};
    EXPECT_EQ(fieldLength(zeroFirst), 0U);
    EXPECT_EQ(fieldLength(terminated), 3U);
    EXPECT_EQ(fieldLength(full), 4U);
}
