// Multiple strings of ATSC tables go in, UTF-8 comes out.
#include "tables/multipleStrings.h"

#include "streamWriter.h"

#include <gtest/gtest.h>

namespace {

using streamWriter::Bytes;
using streamWriter::joined;
using streamWriter::Segment;

std::string textOfSegments(const std::vector<Segment>& segments) {
    return board::multipleStrings(streamWriter::multipleStrings("eng", segments)).text;
}

bool readable(const std::vector<Segment>& segments) {
    return board::multipleStrings(streamWriter::multipleStrings("eng", segments)).readable;
}

TEST(MultipleStrings, AreReadByTheirModes) {
    EXPECT_EQ(textOfSegments({{0, 0x00, {'c', 'a', 'f', 0xE9}}}), "caf\u00E9");
    EXPECT_EQ(textOfSegments({{0, 0x04, {0x20}}}), "\u0420");
    EXPECT_EQ(textOfSegments({{0, 0x20, {0xAC}}}), "\u20AC");
    EXPECT_EQ(textOfSegments({{0, 0x3F, {0x20, 0xAC, 0xD8, 0x3D, 0xDE, 0x00}}}), "\u20AC\U0001F600");
    EXPECT_EQ(textOfSegments({{0, 0x00, {'A', ' '}}, {0, 0x3F, {0x04, 0x20}}}), "A \u0420")
        << "one after the other";
    EXPECT_EQ(board::multipleStrings(streamWriter::latinString("spa", "Sol")).language, "spa");
}

TEST(MultipleStrings, ShowTheFirstString) {
    Bytes two = joined({streamWriter::latinString("eng", "Sun"), {'s', 'p', 'a', 1, 0, 0, 1, 'S'}});
    two[0] = 2;
    EXPECT_EQ(board::multipleStrings(two).text, "Sun");
}

TEST(MultipleStrings, ShowWhatCannotBeDecodedAsAQuestionMark) {
    EXPECT_EQ(textOfSegments({{1, 0x00, {0x12, 0x34}}}), "?") << "compressed titles";
    EXPECT_EQ(textOfSegments({{2, 0x00, {0x12, 0x34}}}), "?") << "compressed descriptions";
    EXPECT_EQ(textOfSegments({{0, 0x3E, {'A'}}}), "?") << "a compression of Unicode";
    EXPECT_EQ(textOfSegments({{0, 0x07, {'A'}}}), "?") << "reserved";
    EXPECT_EQ(textOfSegments({{0, 0x00, {'A'}}, {1, 0x00, {0x12}}, {0, 0x00, {'B'}}}), "A?B");
    EXPECT_EQ(textOfSegments({{0, 0x3F, {0xDC, 0x00, 0x00, 'A', 0x00}}}), "?A?");
    EXPECT_FALSE(readable({{0, 0x00, {'A'}}, {1, 0x00, {0x12}}}));
    EXPECT_TRUE(readable({{0, 0x00, {'A', '?'}}}));
}

TEST(MultipleStrings, AreEmptyWhereTheyHoldNothing) {
    EXPECT_EQ(board::multipleStrings({}).text, "");
    EXPECT_EQ(board::multipleStrings(Bytes{0}).text, "") << "no strings";
    EXPECT_EQ(textOfSegments({}), "") << "no segments";
    EXPECT_EQ(textOfSegments({{1, 0x00, {}}}), "") << "an empty segment";
}

TEST(MultipleStrings, EndAtTheirFirstZero) {
    EXPECT_EQ(textOfSegments({{0, 0x00, {'A', 0, 'B'}}}), "A");
    EXPECT_EQ(textOfSegments({{0, 0x3F, {0, 'A', 0, 0, 0, 'B'}}}), "A");
}

TEST(MultipleStrings, AreNeverEmptyWhereTheyAreCut) {
    const Bytes whole = streamWriter::multipleStrings("eng", {{0, 0, {'A', 'B'}}, {0, 0x3F, {0, 'C'}}});
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        const board::MultipleStrings strings = board::multipleStrings(cut);
        EXPECT_EQ(strings.text, size < 10 ? "?" : "AB?") << size;
        EXPECT_FALSE(strings.readable) << size;
    }
}

} // namespace
