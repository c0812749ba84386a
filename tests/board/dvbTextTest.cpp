// Bytes of service information go in, UTF-8 comes out.
#include "tables/dvbText.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

using namespace std::string_view_literals;

std::string dvbDecoded(std::string_view text) {
    return board::dvbText({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

TEST(DvbText, ReadsItsDefaultTable) {
    EXPECT_EQ(dvbDecoded("T\xC2"
                         "el\xC2"
                         "e"sv),
              "T\u00E9l\u00E9");
    EXPECT_EQ(dvbDecoded("Stra\xFB"
                         "e"sv),
              "Stra\u00DFe");
    EXPECT_EQ(dvbDecoded(""sv), "");
}

TEST(DvbText, ReadsAnEuroSignAmongAccents) {
    EXPECT_EQ(dvbDecoded("F\xC8ur 5 \xA4"sv), "F\u00FCr 5 \u20AC");
    EXPECT_EQ(dvbDecoded("\xA4\xA4 caf\xC2"
                         "e"sv),
              "\u20AC\u20AC caf\u00E9");
}

TEST(DvbText, ReadsTheTablesThatAFirstByteNames) {
    EXPECT_EQ(dvbDecoded("\x01\xC0\xB1"sv), "\u0420\u0411");               // ISO/IEC 8859-5
    EXPECT_EQ(dvbDecoded("\x0B\xA4"sv), "\u20AC");                         // ISO/IEC 8859-15
    EXPECT_EQ(dvbDecoded("\x10\x00\x02\xA3"sv), "\u0141");                 // ISO/IEC 8859-2, by two more
    EXPECT_EQ(dvbDecoded("\x11\x04\x20\x00 \x20\xAC"sv), "\u0420 \u20AC"); // two bytes a character
    EXPECT_EQ(dvbDecoded("\x11\xD8\x3D\xDE\x00"sv), "\U0001F600");         // two times two bytes
    EXPECT_EQ(dvbDecoded("\x12\xB0\xA1"sv), "\uAC00");                     // KS X 1001
    EXPECT_EQ(dvbDecoded("\x13\xB0\xA1"sv), "\u554A");                     // GB 2312
    EXPECT_EQ(dvbDecoded("\x15\xE2\x82\xAC \xC3\x86 \xC3\x87"sv), "\u20AC \u00C6 \u00C7"); // UTF-8
}

TEST(DvbText, ShowsWhatCannotBeDecodedAsAQuestionMark) {
    EXPECT_EQ(dvbDecoded("A\xC0"
                         "B"sv),
              "A?B");
    EXPECT_EQ(dvbDecoded("A\xC9lie"sv), "A?lie") << "an accent that the letter does not take";
    EXPECT_EQ(dvbDecoded("A\xC8"sv), "A?") << "an accent without a letter";
    EXPECT_EQ(dvbDecoded("A\xC8\xA4"sv), "A?\u20AC");
    EXPECT_EQ(dvbDecoded("\x03\xFF\xC1"sv), "?\u0391");
    EXPECT_EQ(dvbDecoded("\x15"
                         "A\xFF\xE2\x82"sv),
              "A???");
    EXPECT_EQ(dvbDecoded("\x11\xDC\x00\x00"
                         "A\x00"sv),
              "?A?");
}

TEST(DvbText, ShowsTheAsciiOfATableThatNobodyKnows) {
    EXPECT_EQ(dvbDecoded("\x0C"
                         "Abc\xE9"sv),
              "Abc?");
    EXPECT_EQ(dvbDecoded("\x16"
                         "Abc"sv),
              "Abc");
    EXPECT_EQ(dvbDecoded("\x1F\x03"
                         "Abc"sv),
              "Abc");
    EXPECT_EQ(dvbDecoded("\x10\x00\x0C"
                         "Abc"sv),
              "Abc");
    EXPECT_EQ(dvbDecoded("\x00"
                         "Abc"sv),
              "Abc");
}

TEST(DvbText, ShowsACompressedTextAsAQuestionMark) {
    EXPECT_EQ(dvbDecoded("\x1F\x01"
                         "Abc"sv),
              "?");
    EXPECT_EQ(dvbDecoded("\x1F\x02\xE9\x00"sv), "?");
    EXPECT_EQ(dvbDecoded("\x00\x1F\x02\x80"sv), "?");
}

TEST(DvbText, TakesTheNameOfATableAloneForNothing) {
    for (const auto& text : {"\x01"sv, "\x10"sv, "\x10\x00"sv, "\x10\x00\x01"sv, "\x11"sv, "\x1F"sv,
                             "\x1F\x01"sv, "\x00"sv, "\x15"sv}) {
        EXPECT_EQ(dvbDecoded(text), "") << text.size();
    }
}

TEST(DvbText, DoesWhatControlCodesSay) {
    EXPECT_EQ(dvbDecoded("a\x86"
                         "b\x87\x8A"
                         "c"sv),
              "ab\nc");
    EXPECT_EQ(dvbDecoded("\x11\xE0\x86\x00"
                         "a\xE0\x87\xE0\x8A\x00"
                         "b"sv),
              "a\nb");
    EXPECT_EQ(dvbDecoded("\x15\xEE\x82\x86"
                         "a\xEE\x82\x87\xEE\x82\x8A"
                         "b\x86"
                         "c\x8A"sv),
              "a\nbc\n");
}

TEST(DvbText, EndsAtItsFirstZero) {
    EXPECT_EQ(dvbDecoded("Abc\0\0"sv), "Abc");
    EXPECT_EQ(dvbDecoded("\x01\xC0\0\xB1"sv), "\u0420");
}

// Whatever comes: no byte goes wrong, and none that is there goes away.
TEST(DvbText, DecodesEveryPairOfBytesInEveryTable) {
    for (int table = 0; table < 0x20; ++table) {
        for (int first = 1; first < 256; ++first) {
            for (const int second : {0x01, 0x20, 0x61, 0x80, 0xA4, 0xC8, 0xFF}) {
                const std::array<char, 4> text{static_cast<char>(table), 'x', static_cast<char>(first),
                                               static_cast<char>(second)};
                dvbDecoded({text.data(), text.size()});
                EXPECT_FALSE(table != 0x11 && table != 0x14 && table != 0x10 && table != 0x1F &&
                             dvbDecoded({text.data(), text.size()}).empty())
                    << table << ' ' << first << ' ' << second;
            }
        }
    }
}

} // namespace
