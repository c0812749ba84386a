// Texts of service information are read the way of their region.
#include "tables/siText.h"

#include "tables/aribText.h"
#include "tables/dvbText.h"
#include "tables/siTables.h"

#include "streamWriter.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

using namespace streamWriter;
using namespace std::string_view_literals;

constexpr auto japan = "\x46\x7C\x4B\x5C"sv; // two kanji

std::string aribDecoded(std::string_view text) {
    return board::aribText({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

TEST(AribText, BeginsWithKanjiAndHiragana) {
    EXPECT_EQ(aribDecoded(japan), "\u65E5\u672C");
    EXPECT_EQ(aribDecoded("\xCB\xDB"sv), "\u306B\u307B");
    EXPECT_EQ(aribDecoded("\x0E\x4E\x48\x4B\x0F\x41\x6D\x39\x67"sv), "\uFF2E\uFF28\uFF2B\u7DCF\u5408");
    EXPECT_EQ(aribDecoded(""sv), "");
}

TEST(AribText, EndsWithAQuestionMarkWhereItCannotBeDecoded) {
    EXPECT_EQ(aribDecoded("\x46\x7C\x7E\x7E\x4B\x5C"sv), "\u65E5?") << "a place of the table that is empty";
    EXPECT_EQ(aribDecoded("\x46\x7C\xFF"sv), "\u65E5?");
    EXPECT_EQ(aribDecoded("\x46"sv), "?") << "half a character";
    EXPECT_EQ(aribDecoded("\x46\x7C\x4B"sv), "\u65E5") << "it leaves that out behind others";
    EXPECT_EQ(aribDecoded("\x89"sv), "?") << "a control code alone";
    EXPECT_EQ(aribDecoded("\x7E\x7E"sv), "?");
}

TEST(AribText, KeepsSpacesAtItsEnd) {
    EXPECT_EQ(aribDecoded("\x46\x7C\x20"sv), "\u65E5\u3000");
    EXPECT_EQ(aribDecoded("\x46\x7C\x20\xFF"sv), "\u65E5\u3000?");
}

// Whatever comes: no byte goes wrong, and no text that shows anything is lost.
TEST(AribText, DecodesEveryPairOfBytes) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::array<char, 4> text{static_cast<char>(first), static_cast<char>(second), '\x46',
                                           '\x7C'};
            EXPECT_FALSE(aribDecoded({text.data(), text.size()}).empty()) << first << ' ' << second;
        }
    }
}

TEST(SiText, IsJapaneseWhereTheNumbersOfAStreamAre) {
    EXPECT_EQ(board::textReaderOf(0x7FE0, 0x7FE0), board::aribText);
    EXPECT_EQ(board::textReaderOf(1, 0x7880), board::aribText);
    EXPECT_EQ(board::textReaderOf(1, 0x7FEF), board::aribText);
    EXPECT_EQ(board::textReaderOf(1, 0x787F), board::dvbText);
    EXPECT_EQ(board::textReaderOf(1, 0x7FF0), board::dvbText);
    EXPECT_EQ(board::textReaderOf(0x4010, 4), board::aribText);
    EXPECT_EQ(board::textReaderOf(0x6020, 6), board::aribText);
    EXPECT_EQ(board::textReaderOf(0x7060, 7), board::aribText);
    EXPECT_EQ(board::textReaderOf(0x0410, 4), board::dvbText);
    EXPECT_EQ(board::textReaderOf(0x4010, 6), board::dvbText);
    EXPECT_EQ(board::textReaderOf(0x5010, 5), board::dvbText);
    EXPECT_EQ(board::textReaderOf(0x1001, 1), board::dvbText);
}

TEST(SiText, IsReadTheSameWayInEveryTable) {
    const auto texts = [](std::uint16_t transportStreamId, std::uint16_t network) {
        const auto services =
            board::readSdt(sdt(transportStreamId, network, {{5, false, serviceDescriptor(1, japan, japan)}}));
        const auto events =
            board::readEit(eit(0x4E, 5, transportStreamId, network,
                               {{1, 60000, 0, 60, shortEventDescriptor("jpn", japan, japan)}}));
        const auto whole =
            board::readNit(nit(network, networkNameDescriptor(japan), {{transportStreamId, network, {}}}));
        const auto alone = board::readNit(nit(network, networkNameDescriptor(japan), {}));
        return services->services.at(0).name + ' ' + services->services.at(0).provider + ' ' +
               events->events.at(0).name + ' ' + events->events.at(0).description + ' ' +
               whole->part.descriptors.at(0).text + ' ' + alone->part.descriptors.at(0).text;
    };
    const std::string kanji = "\u65E5\u672C";
    EXPECT_EQ(texts(0x7FE0, 0x7FE0),
              kanji + ' ' + kanji + ' ' + kanji + ' ' + kanji + ' ' + kanji + ' ' + kanji);
    EXPECT_EQ(texts(77, 9), "F|K\\ F|K\\ F|K\\ F|K\\ F|K\\ F|K\\");
}

} // namespace
