#include "terminal/watchedTable.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace manager;

DocumentTable tableWith(const std::vector<std::vector<std::string>>& rows) {
    DocumentTable shown{"heading",
                        TextTable({{"PID", Align::right}, {"type", Align::left}, {"rate", Align::right}})};
    for (const auto& row : rows) {
        shown.table.addRow(row);
    }
    return shown;
}

// A line for each row: "+" before a new one, "*" before a changed cell, and when it went.
std::string textOf(const WatchedTable& table) {
    std::string text;
    for (const WatchedRow& row : table.rows()) {
        text += row.isNew ? "+" : "";
        for (const WatchedCell& cell : row.cells) {
            text += (cell.changed ? "*" : "") + cell.text + ' ';
        }
        text += row.goneAt ? "gone at " + *row.goneAt : "";
        text += '\n';
    }
    return text;
}

TEST(WatchedTable, marksWhatHasChangedSinceTheLastTime) {
    WatchedTable table;
    table.take(tableWith({{"0", "PAT", "1.000Kbps"}, {"256", "PCR", "2.000Mbps"}}), "12:00:00");
    EXPECT_EQ(textOf(table), "0 PAT 1.000Kbps \n256 PCR 2.000Mbps \n");
    table.take(tableWith({{"0", "PAT", "1.000Kbps"}, {"256", "VIDEO", "2.100Mbps"}}), "12:00:01");
    EXPECT_EQ(textOf(table), "0 PAT 1.000Kbps \n256 *VIDEO *2.100Mbps \n");
    table.take(tableWith({{"0", "PAT", "1.000Kbps"}, {"256", "VIDEO", "2.100Mbps"}}), "12:00:02");
    EXPECT_EQ(textOf(table), "0 PAT 1.000Kbps \n256 VIDEO 2.100Mbps \n");
}

TEST(WatchedTable, keepsRowsInTheirPlacesThoughTheDocumentMovesThem) {
    WatchedTable table;
    table.take(tableWith({{"1", "a", "1"}, {"2", "b", "2"}}), "");
    table.take(tableWith({{"3", "c", "3"}, {"2", "b", "2"}, {"1", "a", "1"}}), "");
    EXPECT_EQ(textOf(table), "1 a 1 \n2 b 2 \n+3 c 3 \n");
}

TEST(WatchedTable, keepsWhatHasGoneWithTheTimeItWent) {
    WatchedTable table;
    table.take(tableWith({{"1", "a", "1"}, {"2", "b", "2"}}), "12:00:00");
    table.take(tableWith({{"2", "b", "2"}}), "12:00:01");
    table.take(tableWith({{"2", "b", "2"}}), "12:00:02");
    EXPECT_EQ(textOf(table), "1 a 1 gone at 12:00:01\n2 b 2 \n");
    table.take(tableWith({{"1", "a", "4"}, {"2", "b", "2"}}), "12:00:03");
    EXPECT_EQ(textOf(table), "+1 a *4 \n2 b 2 \n");
}

TEST(WatchedTable, forgetsWhatHasGoneWhenItIsTold) {
    WatchedTable table;
    table.take(tableWith({{"1", "a", "1"}, {"2", "b", "2"}}), "");
    table.take(tableWith({{"2", "b", "2"}}), "");
    table.forgetGone();
    EXPECT_EQ(textOf(table), "2 b 2 \n");
}

TEST(WatchedTable, knowsRowsWithTheSameFirstCellByTheirOrder) {
    WatchedTable table;
    table.take(tableWith({{"-", "a", "1"}, {"-", "b", "2"}}), "");
    table.take(tableWith({{"-", "a", "1"}, {"-", "b", "3"}, {"-", "c", "4"}}), "");
    EXPECT_EQ(textOf(table), "- a 1 \n- b *3 \n+- c 4 \n");
}

TEST(WatchedTable, sortsRatesByTheirUnits) {
    WatchedTable table;
    table.take(
        tableWith(
            {{"1", "a", "2.000Mbps"}, {"2", "b", "900.000Kbps"}, {"3", "c", "10.000Mbps"}, {"4", "d", "-"}}),
        "");
    table.sortByPrevious();
    EXPECT_EQ(textOf(table), "2 b 900.000Kbps \n1 a 2.000Mbps \n3 c 10.000Mbps \n4 d - \n");
    table.reverseOrder();
    EXPECT_EQ(textOf(table), "4 d - \n3 c 10.000Mbps \n1 a 2.000Mbps \n2 b 900.000Kbps \n");
}

TEST(WatchedTable, sortsHexadecimalNumbersAsNumbersAndTextsBehindThem) {
    WatchedTable table;
    table.take(tableWith({{"network", "", ""}, {"0x1FFF", "", ""}, {"0x0010", "", ""}, {"9", "", ""}}), "");
    table.sortByNext();
    EXPECT_EQ(textOf(table), "9   \n0x0010   \n0x1FFF   \nnetwork   \n");
}

TEST(WatchedTable, isUnsortedBeyondTheLastColumn) {
    WatchedTable table;
    table.take(tableWith({{"2", "b", "1"}, {"1", "a", "2"}}), "");
    table.sortByNext();
    EXPECT_EQ(table.sortedBy(), 0U);
    table.sortByNext();
    table.sortByNext();
    table.sortByNext();
    EXPECT_EQ(table.sortedBy(), std::nullopt);
    EXPECT_EQ(textOf(table), "2 b 1 \n1 a 2 \n");
}

TEST(WatchedTable, startsAnewWithOtherColumns) {
    WatchedTable table;
    table.take(tableWith({{"2", "b", "1"}}), "");
    table.take({"TDT: 2026-01-01", TextTable({})}, "");
    EXPECT_EQ(textOf(table), "");
    table.sortByNext();
    table.sortByPrevious();
    EXPECT_EQ(table.sortedBy(), std::nullopt);
    EXPECT_EQ(table.heading(), "TDT: 2026-01-01");
}

} // namespace
