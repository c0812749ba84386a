// What is kept of a PAT.
#include "tables/programList.h"

#include <gtest/gtest.h>

namespace {

using board::PatEntry;
using board::ProgramList;

// Programs from this number on.
std::vector<PatEntry> programs(std::uint16_t first, std::size_t count) {
    std::vector<PatEntry> rows;
    for (std::size_t k = 0; k < count; ++k) {
        rows.push_back({static_cast<std::uint16_t>(first + k), 0x100});
    }
    return rows;
}

TEST(ProgramList, KeepsTheFirstProgramsAndCountsTheOthers) {
    const ProgramList list = board::shownOf(programs(1, 253));
    ASSERT_EQ(list.entries.size(), 60U);
    EXPECT_EQ(list.entries.front().program, 1);
    EXPECT_EQ(list.entries.back().program, 60);
    EXPECT_EQ(list.leftOut, 193U);
}

TEST(ProgramList, KeepsTheNetworkEntryWhereverItStands) {
    std::vector<PatEntry> rows = programs(1, 100);
    rows.push_back({0, 16});
    const ProgramList list = board::shownOf(rows);
    ASSERT_EQ(list.entries.size(), 61U);
    EXPECT_EQ(list.entries.back().program, 0);
    EXPECT_EQ(list.leftOut, 40U);
}

TEST(ProgramList, TakesTheFirstRowOfAProgram) {
    const ProgramList list = board::shownOf({{5, 0x100}, {5, 0x200}, {0, 16}, {0, 17}});
    ASSERT_EQ(list.entries.size(), 2U);
    EXPECT_EQ(list.entries[0].pid, 0x100);
    EXPECT_EQ(list.entries[1].pid, 16);
    EXPECT_EQ(list.leftOut, 0U);
}

TEST(ProgramList, JoinsTheSectionsOfAHostilePat) {
    std::vector<ProgramList> parts;
    for (std::uint16_t section = 0; section < 256; ++section) {
        parts.push_back(board::shownOf(programs(static_cast<std::uint16_t>(1 + section * 253), 253)));
    }
    const ProgramList list = board::joined(parts);
    ASSERT_EQ(list.entries.size(), 60U);
    EXPECT_EQ(list.entries.back().program, 60);
    EXPECT_EQ(list.leftOut, 256U * 253U - 60U);
}

TEST(ProgramList, JoinsSectionsThatRepeatAProgram) {
    const ProgramList list =
        board::joined({board::shownOf(programs(1, 40)), board::shownOf(programs(20, 30))});
    EXPECT_EQ(list.entries.size(), 49U);
    EXPECT_EQ(list.leftOut, 0U);
}

} // namespace
