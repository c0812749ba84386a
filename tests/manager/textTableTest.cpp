#include "terminal/textTable.h"

#include <gtest/gtest.h>

namespace {

using manager::Align;
using manager::TextTable;

TEST(TextTable, alignsColumnsByWhatATerminalShows) {
    TextTable table({{"PID", Align::right}, {"service", Align::left}, {"rate", Align::right}});
    table.addRow({"17", "東京", "1.500Kbps"});
    table.addRow({"8191", "Te\u0301le\u0301", "12.250Mbps"});
    EXPECT_EQ(table.text(), "   PID  service        rate\n"
                            "    17  東京      1.500Kbps\n"
                            "  8191  Te\u0301le\u0301     12.250Mbps\n");
}

TEST(TextTable, endsNoLineInBlanks) {
    TextTable table({{"service", Align::left}, {"scrambled", Align::left}});
    table.addRow({"News", "no"});
    table.addRow({"Film", ""});
    EXPECT_EQ(table.text(), "  service  scrambled\n"
                            "  News     no\n"
                            "  Film\n");
}

TEST(TextTable, isItsTitlesWhenItHasNoRows) {
    EXPECT_EQ(TextTable({{"PID", Align::right}, {"hex", Align::left}}).text(), "  PID  hex\n");
}

TEST(TextTable, keepsAControlCharacterFromBreakingALine) {
    TextTable table({{"service", Align::left}, {"CA", Align::left}});
    table.addRow({"two\nlines", "no"});
    EXPECT_EQ(table.text(), "  service        CA\n"
                            "  two\\u{A}lines  no\n");
}

} // namespace
