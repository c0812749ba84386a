#include "packets/packetSync.h"

#include "streamWriter.h"

#include <gtest/gtest.h>

namespace {

using board::PacketSync;
using streamWriter::Bytes;
using streamWriter::joined;

Bytes markedPacket(std::uint8_t mark) {
    Bytes bytes(board::tsPacketSize, mark);
    bytes[0] = board::tsSyncByte;
    return bytes;
}

// What a flow of bytes, pushed in pieces of this size, comes out as: each packet's mark.
Bytes marksOf(PacketSync& sync, const Bytes& bytes, std::size_t piece) {
    Bytes marks;
    const auto take = [&](const std::uint8_t* found) { marks.push_back(found[1]); };
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        sync.push(std::span(bytes).subspan(at, std::min(piece, bytes.size() - at)), take);
    }
    sync.finish(take);
    return marks;
}

Bytes marksOf(const Bytes& bytes, std::size_t piece = 1000) {
    PacketSync sync;
    return marksOf(sync, bytes, piece);
}

const Bytes eightMarks{1, 2, 3, 4, 5, 6, 7, 8};

Bytes eightPackets(const Bytes& before, const Bytes& after) {
    Bytes all;
    for (const std::uint8_t mark : eightMarks) {
        all = joined({all, before, markedPacket(mark), after});
    }
    return all;
}

TEST(PacketSync, HandsOutPacketsOf188Bytes) {
    EXPECT_EQ(marksOf(eightPackets({}, {})), eightMarks);
}

TEST(PacketSync, HandsOutTheSameWhateverThePieces) {
    for (const std::size_t piece : {1U, 7U, 188U, 189U, 5000U}) {
        EXPECT_EQ(marksOf(eightPackets({}, {}), piece), eightMarks) << piece;
    }
}

TEST(PacketSync, ReadsTimeStampedPacketsOf192Bytes) {
    PacketSync sync;
    EXPECT_EQ(marksOf(sync, eightPackets({9, 9, 9, 9}, {}), 1000), eightMarks);
    EXPECT_EQ(sync.stride(), 192U);
}

TEST(PacketSync, ReadsReedSolomonPacketsOf204Bytes) {
    PacketSync sync;
    EXPECT_EQ(marksOf(sync, eightPackets({}, Bytes(16, 0x47)), 1000), eightMarks);
    EXPECT_EQ(sync.stride(), 204U);
}

TEST(PacketSync, FindsPacketsBehindGarbage) {
    EXPECT_EQ(marksOf(joined({Bytes(777, 0x11), {0x47}, Bytes(100, 3), eightPackets({}, {})})), eightMarks);
}

TEST(PacketSync, FindsPacketsAgainBehindGarbageBetweenThem) {
    PacketSync sync;
    const Bytes bytes = joined({eightPackets({}, {}), Bytes(123, 0xAA), eightPackets({}, {})});
    EXPECT_EQ(marksOf(sync, bytes, 1000), joined({eightMarks, eightMarks}));
    EXPECT_EQ(sync.losses(), 1U);
    EXPECT_EQ(sync.skippedBytes(), 123U);
}

// Packets whose sync bytes at these places are wrong: how many are missing and how often sync is lost.
std::string syncErrorsOf(const std::vector<std::size_t>& wrong, const Bytes& between = {}) {
    Bytes bytes;
    for (std::size_t k = 0; k < 40; ++k) {
        bytes = joined({bytes, markedPacket(1), k == 20 ? between : Bytes{}});
    }
    for (const std::size_t place : wrong) {
        bytes[place * board::tsPacketSize] = 0x48;
    }
    PacketSync sync;
    marksOf(sync, bytes, 1000);
    return std::to_string(sync.errors().bytes()) + " missing, " + std::to_string(sync.errors().losses()) +
           " losses";
}

TEST(PacketSync, CountsSyncBytesThatAreMissing) {
    EXPECT_EQ(syncErrorsOf({}), "0 missing, 0 losses");
    EXPECT_EQ(syncErrorsOf({10}), "1 missing, 0 losses");
    EXPECT_EQ(syncErrorsOf({10, 20, 30}), "3 missing, 0 losses");
}

TEST(PacketSync, LosesSyncWithTwoInARowAndFindsItWithFive) {
    EXPECT_EQ(syncErrorsOf({10, 11}), "2 missing, 1 losses");
    EXPECT_EQ(syncErrorsOf({10, 11, 12, 13}), "2 missing, 1 losses") << "none is expected any more";
    EXPECT_EQ(syncErrorsOf({10, 11, 16, 17}), "4 missing, 1 losses") << "four in a row do not find it";
    EXPECT_EQ(syncErrorsOf({10, 11, 17, 18}), "4 missing, 2 losses");
}

TEST(PacketSync, LosesSyncWhereBytesAreTooManyOrTooFew) {
    EXPECT_EQ(syncErrorsOf({}, Bytes(100, 0xAA)), "2 missing, 1 losses");
    Bytes cut = markedPacket(1);
    cut.resize(90);
    EXPECT_EQ(syncErrorsOf({}, cut), "2 missing, 1 losses");
}

TEST(PacketSync, DropsAPacketThatIsCutShort) {
    Bytes shortened = markedPacket(0x55);
    shortened.resize(90);
    const Bytes bytes = joined({eightPackets({}, {}), shortened, eightPackets({}, {})});
    EXPECT_EQ(marksOf(bytes), joined({eightMarks, eightMarks}));
}

TEST(PacketSync, HandsOutWholePacketsAndKeepsTheRestWhileTheFlowRests) {
    const Bytes bytes = eightPackets({}, {});
    const std::size_t half = bytes.size() - board::tsPacketSize / 2;
    PacketSync sync;
    Bytes marks;
    const auto take = [&](const std::uint8_t* found) { marks.push_back(found[1]); };
    sync.push(std::span(bytes).first(half), take);
    sync.rest(take);
    EXPECT_EQ(marks, Bytes(eightMarks.begin(), eightMarks.end() - 1));
    sync.push(std::span(bytes).subspan(half), take);
    sync.rest(take);
    EXPECT_EQ(marks, eightMarks);
    EXPECT_EQ(sync.losses(), 0U);
}

TEST(PacketSync, DropsWhatIsLeftOfAPacketAtTheEnd) {
    Bytes bytes = eightPackets({}, {});
    bytes.resize(bytes.size() - 1);
    EXPECT_EQ(marksOf(bytes), Bytes(eightMarks.begin(), eightMarks.end() - 1));
}

// The first byte of a stamp stays for half a second, the second for as many packets as come in 2.4 ms.
TEST(PacketSync, TakesNoArrivalStampForAPacket) {
    const auto marks = [](const Bytes& bytes) { return marksOf(bytes, bytes.size()); };
    EXPECT_EQ(marks(eightPackets({0x47, 9, 9, 9}, {})), eightMarks) << "in all packets";
    EXPECT_EQ(marks(joined({eightPackets({9, 0x47, 9, 9}, {}), eightPackets({9, 9, 9, 9}, {})})),
              joined({eightMarks, eightMarks}));
    EXPECT_EQ(
        marks(joined({eightPackets({9, 9, 9, 9}, {}), Bytes(50, 9), eightPackets({0x47, 9, 9, 9}, {})})),
        joined({eightMarks, eightMarks}))
        << "behind garbage";
}

TEST(PacketSync, TakesNoHeaderByteForAPacket) {
    Bytes cut;
    for (int k = 0; k < 8; ++k) {
        Bytes one = markedPacket(1);
        one[2] = 0x47; // of the PID
        cut = joined({cut, one});
    }
    cut.erase(cut.begin());
    EXPECT_EQ(marksOf(joined({cut, eightPackets({}, {})})), joined({Bytes(7, 1), eightMarks}));
}

TEST(PacketSync, TakesAFlowAsLongAsOnePacketForThatPacket) {
    for (const auto& [before, after] :
         {std::pair<Bytes, Bytes>{{}, {}}, {{9, 9, 9, 9}, {}}, {{}, {9, 9, 9, 9}}, {{}, Bytes(16, 9)}}) {
        PacketSync sync;
        const Bytes bytes = joined({before, markedPacket(1), after});
        EXPECT_EQ(marksOf(sync, bytes, 100), Bytes{1}) << bytes.size();
        EXPECT_EQ(sync.stride(), bytes.size());
        EXPECT_EQ(marksOf(sync, bytes, 100), Bytes{1}) << "the flow comes again";
    }
}

TEST(PacketSync, ReadsAFlowOfFewPackets) {
    for (std::size_t count = 2; count < board::tunables::lockPackets; ++count) {
        Bytes plain;
        Bytes stamped;
        Bytes coded;
        for (std::size_t k = 0; k < count; ++k) {
            plain = joined({plain, markedPacket(1)});
            stamped = joined({stamped, {9, 9, 9, 9}, markedPacket(1)});
            coded = joined({coded, markedPacket(1), Bytes(16, 9)});
        }
        EXPECT_EQ(marksOf(plain), Bytes(count, 1));
        EXPECT_EQ(marksOf(stamped), Bytes(count, 1));
        EXPECT_EQ(marksOf(coded), Bytes(count, 1));
    }
}

TEST(PacketSync, TakesOneSyncByteInOtherBytesForNoPacket) {
    for (const std::size_t size : {187U, 189U, 193U, 205U}) {
        Bytes bytes(size, 1);
        bytes[0] = board::tsSyncByte;
        EXPECT_EQ(marksOf(bytes), Bytes{}) << size;
    }
    EXPECT_EQ(marksOf(Bytes(board::tsPacketSize, 1)), Bytes{});
}

TEST(PacketSync, FindsNoPacketsInOtherBytes) {
    PacketSync sync;
    EXPECT_EQ(marksOf(sync, Bytes(10000, 'x'), 1000), Bytes{});
    EXPECT_EQ(sync.stride(), 0U);
    EXPECT_EQ(marksOf(Bytes{}), Bytes{});
}

} // namespace
