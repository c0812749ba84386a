// Tables that say something as a whole only.
#include "tables/sectionedTable.h"

#include <gtest/gtest.h>

namespace {

using Table = board::SectionedTable<int>;
using Rows = std::vector<int>;

board::SectionHeader headerOf(std::uint8_t version, std::uint8_t number, std::uint8_t last,
                              std::uint32_t crc = 0) {
    return {0x42, 77, version, number, last, true, crc};
}

TEST(SectionedTable, ShowsWhatThereIsUntilItHasBeenWhole) {
    Table table;
    EXPECT_FALSE(table.complete());
    EXPECT_TRUE(table.put(headerOf(0, 1, 1), {2}));
    EXPECT_EQ(table.rows(), Rows({2}));
    EXPECT_FALSE(table.complete());
    EXPECT_TRUE(table.put(headerOf(0, 0, 1), {1}));
    EXPECT_EQ(table.rows(), Rows({1, 2}));
    EXPECT_TRUE(table.complete());
    EXPECT_FALSE(table.put(headerOf(1, 0, 1), {3}));
    EXPECT_TRUE(table.put(headerOf(1, 1, 1), {4}));
    EXPECT_EQ(table.rows(), Rows({3, 4}));
}

TEST(SectionedTable, KnowsItsSectionsByTheirCrc) {
    Table table;
    EXPECT_FALSE(table.knows(headerOf(0, 0, 0, 5)));
    table.put(headerOf(0, 0, 0, 5), {1});
    EXPECT_TRUE(table.knows(headerOf(0, 0, 0, 5)));
    EXPECT_FALSE(table.knows(headerOf(0, 0, 0, 6)));
    EXPECT_FALSE(table.knows(headerOf(0, 0, 1, 5)));
    EXPECT_FALSE(table.knows(headerOf(1, 0, 0, 5)));
}

TEST(SectionedTable, KnowsNothingOfAVersionThatIsGone) {
    Table table;
    table.put(headerOf(0, 0, 1, 5), {1});
    table.put(headerOf(0, 1, 1, 6), {2});
    table.put(headerOf(1, 0, 0, 7), {3});
    EXPECT_FALSE(table.knows(headerOf(0, 0, 1, 5)));
    EXPECT_FALSE(table.put(headerOf(0, 0, 1, 5), {1})) << "it comes back section by section";
    EXPECT_TRUE(table.put(headerOf(0, 1, 1, 6), {2}));
    EXPECT_EQ(table.rows(), Rows({1, 2}));
}

TEST(SectionedTable, ReplacesASectionThatChangesWithoutANewVersion) {
    Table table;
    table.put(headerOf(0, 0, 0, 5), {1});
    EXPECT_TRUE(table.put(headerOf(0, 0, 0, 6), {2}));
    EXPECT_EQ(table.rows(), Rows({2}));
}

} // namespace
