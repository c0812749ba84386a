#include "documents/documentText.h"
#include "support/documents.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace {

// The text that these appends give.
template <typename Append>
std::string textOf(Append write) {
    return documentOf([&](DocumentBuffer& buffer) {
        DocumentText text = startText(buffer);
        write(text);
        return finishText(text);
    });
}

} // namespace

TEST(DocumentText, StartsEmpty) {
    EXPECT_EQ(textOf([](DocumentText& text) { EXPECT_EQ(textLength(text), 0U); }), "");
}

TEST(DocumentText, PiecesFollowOneAnother) {
    EXPECT_EQ(textOf([](DocumentText& text) {
                  append(text, R"({"key":")");
                  append(text, "");
                  append(text, R"(value"})");
                  EXPECT_EQ(textLength(text), 15U);
                  EXPECT_FALSE(text.truncated);
              }),
              R"({"key":"value"})");
}

TEST(DocumentText, NumbersAreDecimal) {
    EXPECT_EQ(textOf([](DocumentText& text) {
                  for (const std::int32_t number : {0, 7, -1, 8191, std::numeric_limits<std::int32_t>::max(),
                                                    std::numeric_limits<std::int32_t>::min()}) {
                      appendNumber(text, number);
                      append(text, " ");
                  }
              }),
              "0 7 -1 8191 2147483647 -2147483648 ");
}

TEST(DocumentText, IdentifiersAreLowerCaseHexadecimalWithoutLeadingZeros) {
    EXPECT_EQ(textOf([](DocumentText& text) {
                  for (const std::uint32_t number : {0U, 2U, 9U, 0x5AU, 0x3F9U, 0xFFFFU, 0xFFFFFFFFU}) {
                      appendHex(text, number);
                      append(text, " ");
                  }
              }),
              "0x0 0x2 0x9 0x5a 0x3f9 0xffff 0xffffffff ");
}

TEST(DocumentText, FieldsEndAtTheirZeroByteOrTheirWidth) {
    const char language[4] = {'e', 'n', 'g', '\0'};
    const char full[4] = {'w', 'i', 'd', 'e'};
    const char none[4] = {'\0', 'x', 'x', 'x'};
    EXPECT_EQ(textOf([&](DocumentText& text) {
                  appendField(text, language);
                  appendField(text, none);
                  appendField(text, full);
              }),
              "engwide");
}

TEST(DocumentText, TextIsCopiedWithoutEscaping) {
    const char field[8] = "\"\\\n\x01\xFF/";
    EXPECT_EQ(textOf([&](DocumentText& text) { appendField(text, field); }), "\"\\\n\x01\xFF/");
}

TEST(DocumentText, ABufferThatIsExactlyFullIsNotTruncated) {
    const std::string full(documentCapacity - 1, 'x');
    EXPECT_EQ(textOf([&](DocumentText& text) {
                  append(text, full);
                  EXPECT_FALSE(text.truncated);
                  append(text, "");
                  EXPECT_FALSE(text.truncated);
              }),
              full);
}

TEST(DocumentText, WhatDoesNotFitIsDroppedAndSaysSo) {
    const std::string almostFull(documentCapacity - 4, 'x');
    for (const auto& write : std::vector<void (*)(DocumentText&)>{
             [](DocumentText& text) { append(text, "four"); },
             [](DocumentText& text) { appendNumber(text, -123); },
             [](DocumentText& text) { appendHex(text, 0x12); },
             [](DocumentText& text) { appendRate(text, 1.0F); },
             [](DocumentText& text) { appendRateKbps(text, 1.0F); },
             [](DocumentText& text) { appendPictureRate(text, 25.0F); },
         }) {
        const std::string text = textOf([&](DocumentText& cursor) {
            append(cursor, almostFull);
            EXPECT_FALSE(cursor.truncated);
            write(cursor);
            EXPECT_TRUE(cursor.truncated);
        });
        EXPECT_EQ(text.substr(0, almostFull.size()), almostFull);
        EXPECT_LT(text.size(), documentCapacity);
    }
}

TEST(DocumentText, ATextIsRewoundToAnEarlierLength) {
    EXPECT_EQ(textOf([](DocumentText& text) {
                  append(text, "kept");
                  const std::size_t length = textLength(text);
                  append(text, " and dropped");
                  rewindText(text, length);
                  append(text, "!");
              }),
              "kept!");
}

TEST(DocumentText, RatesAboveOneMegabitAreInMegabits) {
    EXPECT_EQ(textOf([](DocumentText& text) {
                  for (const float rate : {3250000.0F, 15040.0F, 1000000.0F, 1000001.0F, 0.0F, 999999.94F}) {
                      append(text, "[");
                      appendRate(text, rate);
                      append(text, "]");
                  }
              }),
              "[   3.250Mbps][  15.040Kbps][1000.000Kbps][   1.000Mbps][   0.000Kbps][1000.000Kbps]");
}

TEST(DocumentText, RatesOfPsiDocumentsAreAlwaysInKilobits) {
    EXPECT_EQ(textOf([](DocumentText& text) {
                  for (const float rate : {1234567.0F, 0.0F, 15040.0F, 98765432.0F}) {
                      append(text, "[");
                      appendRateKbps(text, rate);
                      append(text, "]");
                  }
              }),
              "[1234.567Kbps][   0.000Kbps][  15.040Kbps][98765.432Kbps]");
}

TEST(DocumentText, PictureRatesHaveTwoDecimals) {
    EXPECT_EQ(textOf([](DocumentText& text) {
                  for (const float rate : {25.0F, 29.97F, 0.0F, 119.88F, 1000.0F}) {
                      append(text, "[");
                      appendPictureRate(text, rate);
                      append(text, "]");
                  }
              }),
              "[ 25.00][ 29.97][  0.00][119.88][1000.00]");
}
