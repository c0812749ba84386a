#include "tables/sectionAssembler.h"

#include "streamWriter.h"

#include <gtest/gtest.h>

namespace {

using streamWriter::Bytes;
using streamWriter::joined;

// A section of this many bytes, with a number in it.
Bytes markedSection(std::size_t size, std::uint8_t mark) {
    return joined({{0x80}, streamWriter::number(0x3000 | (size - 3), 2), Bytes(size - 3, mark)});
}

class SectionAssembler : public testing::Test {
  protected:
    void payload(const Bytes& bytes, bool unitStart) {
        assembler.payload(bytes, unitStart, [this](std::span<const std::uint8_t> whole) {
            found.emplace_back(whole.begin(), whole.end());
        });
    }
    // A payload that starts a section at once, filled up.
    void start(const Bytes& bytes) {
        Bytes filled = joined({{0}, bytes});
        filled.resize(184, 0xFF);
        payload(filled, true);
    }

    board::SectionAssembler assembler;
    std::vector<Bytes> found;
};

TEST_F(SectionAssembler, FindsASectionInOnePacket) {
    start(markedSection(20, 1));
    EXPECT_EQ(found, std::vector<Bytes>{markedSection(20, 1)});
}

TEST_F(SectionAssembler, FindsSeveralSectionsInOnePacket) {
    start(joined({markedSection(20, 1), markedSection(30, 2), markedSection(40, 3)}));
    EXPECT_EQ(found, (std::vector<Bytes>{markedSection(20, 1), markedSection(30, 2), markedSection(40, 3)}));
}

TEST_F(SectionAssembler, JoinsASectionOfManyPacketsAndTheNextBehindThePointer) {
    const Bytes first = markedSection(400, 1);
    start(Bytes(first.begin(), first.begin() + 183));
    payload(Bytes(first.begin() + 183, first.begin() + 367), false);
    Bytes last = joined({{33}, Bytes(first.begin() + 367, first.end()), markedSection(50, 2)});
    last.resize(184, 0xFF);
    payload(last, true);
    EXPECT_EQ(found, (std::vector<Bytes>{first, markedSection(50, 2)}));
}

TEST_F(SectionAssembler, DropsASectionThatMissesAPacket) {
    const Bytes first = markedSection(400, 1);
    start(Bytes(first.begin(), first.begin() + 183));
    assembler.lost();
    payload(Bytes(first.begin() + 183, first.begin() + 367), false);
    start(markedSection(20, 2));
    EXPECT_EQ(found, std::vector<Bytes>{markedSection(20, 2)});
}

TEST_F(SectionAssembler, DropsAPointerThatLeadsOutOfThePacket) {
    start(markedSection(20, 1));
    payload({200, 1, 2, 3}, true);
    payload({}, true);
    start(markedSection(20, 2));
    EXPECT_EQ(found, (std::vector<Bytes>{markedSection(20, 1), markedSection(20, 2)}));
}

TEST_F(SectionAssembler, DropsASectionLongerThanAnyCanBe) {
    start(joined({{0x80, 0x3F, 0xFF}, Bytes(100, 7)}));
    start(markedSection(20, 2));
    EXPECT_EQ(found, std::vector<Bytes>{markedSection(20, 2)});
}

TEST_F(SectionAssembler, TakesPesPacketsForNoSections) {
    Bytes packet{0, 0, 1, 0xE0, 0, 0, 0x80, 0x80, 5};
    packet.resize(184, 0);
    payload(packet, true);
    payload(Bytes(184, 0), false);
    EXPECT_EQ(found, std::vector<Bytes>{});
    start(markedSection(20, 1));
    EXPECT_EQ(found, std::vector<Bytes>{markedSection(20, 1)});
}

TEST_F(SectionAssembler, StopsAtPaddingWithZeros) {
    Bytes padded = joined({{0}, markedSection(20, 1)});
    padded.resize(184, 0);
    payload(padded, true);
    payload(Bytes(184, 0), false);
    EXPECT_EQ(found, (std::vector<Bytes>{markedSection(20, 1), {0, 0, 0}}));
    start(markedSection(20, 2));
    EXPECT_EQ(found.back(), markedSection(20, 2));
}

} // namespace
