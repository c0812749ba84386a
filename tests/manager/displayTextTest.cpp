#include "text/displayText.h"

#include <gtest/gtest.h>

namespace {

using manager::displayable;
using manager::displayWidth;

TEST(DisplayWidth, countsTerminalColumnsAndNotBytes) {
    EXPECT_EQ(displayWidth("Harbour One"), 11U);
    EXPECT_EQ(displayWidth("Télé"), 4U);
    EXPECT_EQ(displayWidth("Царьград"), 8U);
}

TEST(DisplayWidth, givesWideCharactersTwoColumns) {
    EXPECT_EQ(displayWidth("東京"), 4U);
}

TEST(DisplayWidth, givesCombiningMarksNone) {
    EXPECT_EQ(displayWidth("Te\u0301le\u0301"), 4U);
}

TEST(Displayable, leavesTextsOfAllScriptsAlone) {
    const std::string text = "Télé Médiane, Царьград, 東京, \u0639\u0631\u0628\u064a, Shop & Show \"1\" \\2";
    EXPECT_EQ(displayable(text), text);
}

TEST(Displayable, writesOutControlCharacters) {
    EXPECT_EQ(displayable(std::string_view("a\0b\x1b[2Jc\n\x7f", 10)), R"(a\u{0}b\u{1B}[2Jc\u{A}\u{7F})");
    EXPECT_EQ(displayable("\u0086bold\u0087"), R"(\u{86}bold\u{87})");
}

TEST(Displayable, writesOutTheEmphasisMarksOfDvbText) {
    EXPECT_EQ(displayable("\uE086News\uE087 24"), R"(\u{E086}News\u{E087} 24)");
}

TEST(Displayable, writesOutLineSeparatorsAndChangesOfDirection) {
    EXPECT_EQ(displayable("a\u2028b\u202Ec"), R"(a\u{2028}b\u{202E}c)");
}

TEST(Displayable, writesOutWhatShowsNothing) {
    EXPECT_EQ(displayable("a\u00AD\u034F\u115F\u17B4\u180E\u200B\u2800"),
              R"(a\u{AD}\u{34F}\u{115F}\u{17B4}\u{180E}\u{200B}\u{2800})");
    EXPECT_EQ(displayable("\u3164\uFE0F\uFEFF\uFFA0\uFFF9\U0001D173\U000E0001\U000E0041\U000E0100"),
              R"(\u{3164}\u{FE0F}\u{FEFF}\u{FFA0}\u{FFF9}\u{1D173}\u{E0001}\u{E0041}\u{E0100})");
}

TEST(Displayable, writesOutBytesThatAreNotUtf8) {
    EXPECT_EQ(displayable("T\xE9l\xE9"), R"(T\xE9l\xE9)");
    EXPECT_EQ(displayable("cut \xD0"), R"(cut \xD0)");
    EXPECT_EQ(displayable("\xC0\xAF"), R"(\xC0\xAF)");
}

TEST(CutToWidth, leavesWhatFits) {
    EXPECT_EQ(manager::cutToWidth("東京", 4), "東京");
    EXPECT_EQ(manager::cutToWidth("", 0), "");
}

TEST(CutToWidth, putsAnEllipsisForTheRest) {
    EXPECT_EQ(manager::cutToWidth("Harbour", 6), "Harbo\u2026");
    EXPECT_EQ(manager::cutToWidth("東京", 3), "東\u2026");
    EXPECT_EQ(manager::cutToWidth("e\u0301e\u0301e\u0301", 2), "e\u0301\u2026");
}

} // namespace
