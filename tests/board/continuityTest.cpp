// Packets of one PID go in; what follows what comes out.
#include "analysis/continuity.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using Step = board::Continuity::Step;

// A packet with a payload and this continuity_counter; with an adaptation field it may announce a
// discontinuity.
std::array<std::uint8_t, 188> packetNumbered(std::uint8_t counter, bool announced = false) {
    std::array<std::uint8_t, 188> bytes{0x47, 0x01, 0x00, static_cast<std::uint8_t>(0x10 | counter)};
    if (announced) {
        bytes[3] |= 0x20;
        bytes[4] = 1;
        bytes[5] = 0x80;
    }
    return bytes;
}

class Continuity : public testing::Test {
  protected:
    Step after(std::uint8_t counter, bool announced = false) {
        return continuity.packet(packetNumbered(counter, announced).data());
    }

    board::Continuity continuity;
};

TEST_F(Continuity, FollowsACounterAroundItsEnd) {
    EXPECT_EQ(after(14), Step::next) << "the first";
    EXPECT_EQ(after(15), Step::next);
    EXPECT_EQ(after(0), Step::next);
}

TEST_F(Continuity, KnowsARepeatedPacket) {
    after(3);
    EXPECT_EQ(after(3), Step::repeated);
    EXPECT_EQ(after(4), Step::next);
}

TEST_F(Continuity, AllowsOneRepetitionAndNoOther) {
    after(3);
    EXPECT_EQ(after(3), Step::repeated);
    EXPECT_EQ(after(3), Step::repeatedAgain);
    EXPECT_EQ(after(3), Step::repeatedAgain);
    EXPECT_EQ(after(4), Step::next);
    EXPECT_EQ(after(4), Step::repeated);
}

TEST_F(Continuity, TakesTheSameCounterWithOtherContentForAGapOfSixteen) {
    after(3);
    auto other = packetNumbered(3);
    other[187] = 1;
    EXPECT_EQ(continuity.packet(other.data()), Step::afterGap);
    EXPECT_EQ(continuity.packet(other.data()), Step::repeated);
}

TEST_F(Continuity, KnowsARepetitionWithAnotherPcr) {
    auto first = packetNumbered(3);
    first[3] |= 0x20;
    first[4] = 7;
    first[5] = 0x10;
    continuity.packet(first.data());
    first[9] = 1;
    EXPECT_EQ(continuity.packet(first.data()), Step::repeated);
}

// A packet without a payload: adaptation field alone.
std::array<std::uint8_t, 188> empty(std::uint8_t counter) {
    auto bytes = packetNumbered(counter);
    bytes[3] = static_cast<std::uint8_t>(0x20 | counter);
    bytes[4] = 183;
    return bytes;
}

TEST_F(Continuity, ExpectsNoStepWithoutAPayload) {
    after(3);
    EXPECT_EQ(continuity.packet(empty(3).data()), Step::next);
    EXPECT_EQ(continuity.packet(empty(3).data()), Step::next) << "as often as it likes";
    EXPECT_EQ(after(4), Step::next);
    EXPECT_EQ(continuity.packet(empty(5).data()), Step::afterGap);
    EXPECT_EQ(after(6), Step::next) << "one gap is told once";
}

TEST_F(Continuity, IgnoresPacketsOfTheReservedKind) {
    after(3);
    auto reserved = packetNumbered(9);
    reserved[3] = 9;
    EXPECT_EQ(continuity.packet(reserved.data()), Step::next);
    EXPECT_EQ(after(4), Step::next);
}

TEST_F(Continuity, NoticesAGapAndGoesOnBehindIt) {
    after(3);
    EXPECT_EQ(after(5), Step::afterGap);
    EXPECT_EQ(after(6), Step::next);
}

TEST_F(Continuity, TakesAnAnnouncedDiscontinuityForNoGap) {
    after(3);
    EXPECT_EQ(after(9, true), Step::next);
    auto other = packetNumbered(9, true);
    other[187] = 1;
    EXPECT_EQ(continuity.packet(other.data()), Step::next) << "the same counter is no repetition then";
    EXPECT_EQ(after(10), Step::next);
    EXPECT_EQ(after(10, true), Step::next) << "nor is the same end, where it is announced now";
}

TEST_F(Continuity, KnowsARepetitionOfAPacketThatAnnouncesADiscontinuity) {
    after(3);
    EXPECT_EQ(after(9, true), Step::next);
    EXPECT_EQ(after(9, true), Step::repeated);
    EXPECT_EQ(after(10), Step::next);
}

TEST_F(Continuity, TakesAnythingAfterTheSeam) {
    after(3);
    continuity.forget();
    EXPECT_EQ(after(9), Step::next);
}

TEST_F(Continuity, BelievesAnEmptyAdaptationFieldNothing) {
    after(3);
    auto bytes = packetNumbered(9, true);
    bytes[4] = 0; // its length: what follows is payload
    EXPECT_EQ(continuity.packet(bytes.data()), Step::afterGap);
}

} // namespace
