// RTP packets as the network delivers them, and the order in which they come out.
#include "source/rtpOrder.h"

#include "streamWriter.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using std::chrono::milliseconds;
using streamWriter::Bytes;
using streamWriter::joined;
using streamWriter::number;

class RtpOrder : public testing::Test {
  protected:
    // An RTP packet whose payload is a text.
    static Bytes packet(unsigned sequence, const std::string& payload, std::uint32_t source = 7) {
        return joined({number(0x8021, 2), number(sequence & 0xFFFF, 2), number(0, 4), number(source, 4),
                       Bytes(payload.begin(), payload.end())});
    }

    // What comes out when this arrives.
    std::string arrive(Bytes datagram, milliseconds now = milliseconds(1000)) {
        Bytes content;
        order.take(datagram, now, content);
        return {content.begin(), content.end()};
    }
    std::string after(milliseconds now) {
        Bytes content;
        order.release(now, content);
        return {content.begin(), content.end()};
    }

    board::RtpOrder order;
};

TEST_F(RtpOrder, HandsOnAtOnceWhatIsInOrder) {
    EXPECT_EQ(arrive(packet(65534, "a")), "a");
    EXPECT_EQ(arrive(packet(65535, "b")), "b");
    EXPECT_EQ(arrive(packet(65536, "c")), "c"); // 0 again
}

TEST_F(RtpOrder, WaitsForWhatIsMissing) {
    arrive(packet(1, "a"));
    EXPECT_EQ(arrive(packet(3, "c")), "");
    EXPECT_EQ(arrive(packet(4, "d")), "");
    EXPECT_EQ(arrive(packet(2, "b")), "bcd");
}

TEST_F(RtpOrder, WaitsNoLongerThanItsPatience) {
    arrive(packet(1, "a"), milliseconds(0));
    EXPECT_EQ(arrive(packet(3, "c"), milliseconds(10)), "");
    EXPECT_EQ(arrive(packet(5, "e"), milliseconds(60)), "");
    EXPECT_EQ(after(milliseconds(109)), "");
    EXPECT_EQ(after(milliseconds(110)), "c");
    EXPECT_EQ(arrive(packet(2, "b"), milliseconds(120)), "") << "it comes too late";
    EXPECT_EQ(arrive(packet(4, "d"), milliseconds(130)), "de");
}

TEST_F(RtpOrder, HoldsNoMoreThanItsLimit) {
    arrive(packet(0, "a"));
    std::string out;
    for (unsigned k = 2; k < 1100; ++k) {
        out += arrive(packet(k, "x"));
    }
    EXPECT_EQ(out, std::string(1098, 'x'));
}

TEST_F(RtpOrder, DropsWhatComesTwice) {
    arrive(packet(1, "a"));
    EXPECT_EQ(arrive(packet(1, "a")), "");
    EXPECT_EQ(arrive(packet(3, "c")), "");
    EXPECT_EQ(arrive(packet(3, "C")), "");
    EXPECT_EQ(arrive(packet(2, "b")), "bc");
}

TEST_F(RtpOrder, FollowsASenderThatStartsAnew) {
    arrive(packet(5000, "a"));
    EXPECT_EQ(arrive(packet(5002, "c")), "");
    EXPECT_EQ(arrive(packet(60000, "x")), "") << "one packet alone may be a stray";
    EXPECT_EQ(arrive(packet(60001, "y")), "cxy");
    EXPECT_EQ(arrive(packet(60002, "z")), "z");
    EXPECT_EQ(arrive(packet(9, "p", 8)), "");
    EXPECT_EQ(arrive(packet(10, "q", 8)), "pq");
}

TEST_F(RtpOrder, FollowsASenderThatCountsFromTheStartAgainAfterASilence) {
    arrive(packet(500, "a"), milliseconds(0));
    EXPECT_EQ(arrive(packet(1, "x"), milliseconds(100)), "");
    EXPECT_EQ(arrive(packet(2, "y"), milliseconds(100)), "") << "these are late";
    EXPECT_EQ(arrive(packet(1, "x"), milliseconds(600)), "");
    EXPECT_EQ(arrive(packet(2, "y"), milliseconds(600)), "xy");
}

TEST_F(RtpOrder, StaysWithOneOfTwoSenders) {
    arrive(packet(1, "a"));
    EXPECT_EQ(arrive(packet(1, "A", 8)), "");
    EXPECT_EQ(arrive(packet(2, "b")), "b");
    EXPECT_EQ(arrive(packet(2, "B", 8)), "");
    EXPECT_EQ(arrive(packet(3, "c")), "c");
}

TEST_F(RtpOrder, TakesHeadersOfEveryShape) {
    const auto header = [](std::uint64_t start, unsigned sequence) {
        return joined({number(start, 2), number(sequence, 2), number(0, 4), number(7, 4)});
    };
    const Bytes text{'t', 's'};
    EXPECT_EQ(arrive(joined({header(0x8221, 1), Bytes(8, 0), text})), "ts") << "two contributing sources";
    EXPECT_EQ(arrive(joined({header(0x9021, 2), number(2, 4), Bytes(8, 0), text})), "ts") << "an extension";
    EXPECT_EQ(arrive(joined({header(0xA021, 3), text, {0, 0, 3}})), "ts") << "padding";
    EXPECT_EQ(arrive(joined({header(0x80A1, 4), text})), "ts") << "the marker";
}

TEST_F(RtpOrder, DropsWhatIsNoTransportStream) {
    const auto header = [](std::uint64_t start) {
        return joined({number(start, 2), number(1, 2), number(0, 4), number(7, 4)});
    };
    EXPECT_EQ(arrive({}), "");
    EXPECT_EQ(arrive(Bytes(5, 0x80)), "");
    EXPECT_EQ(arrive(header(0x8021)), "") << "no payload";
    EXPECT_EQ(arrive(joined({header(0x4021), {'x'}})), "") << "version 1";
    EXPECT_EQ(arrive(joined({header(0x8060), {'x'}})), "") << "payload type 96";
    EXPECT_EQ(arrive(joined({header(0x8F21), {'x'}})), "") << "more contributing sources than bytes";
    EXPECT_EQ(arrive(joined({header(0x9021), {'x'}})), "") << "no extension where one is announced";
    EXPECT_EQ(arrive(joined({header(0x9021), number(500, 4), {'x'}})), "") << "an extension beyond the end";
    EXPECT_EQ(arrive(joined({header(0xA021), {'x', 200}})), "") << "more padding than bytes";
    EXPECT_EQ(arrive(packet(1, "a")), "a") << "none of them counted";
}

} // namespace
