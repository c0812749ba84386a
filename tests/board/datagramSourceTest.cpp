// Datagrams on the loopback interface, and what a source hands on of them.
#include "source/openSource.h"

#include "../support/isolation.h"
#include "streamWriter.h"

#include <arpa/inet.h>
#include <fstream>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

namespace {

using streamWriter::Bytes;
using streamWriter::joined;
using streamWriter::number;

// What a source gives at one read, once there is something.
std::string readFrom(board::PacketSource& source, std::size_t room = 1000) {
    pollfd readable{source.descriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&readable, 1, 20'000), 1);
    Bytes buffer(room);
    const auto arrival = source.read(buffer);
    EXPECT_FALSE(arrival.ended);
    return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(arrival.bytes)};
}

class DatagramSource : public testing::Test {
  protected:
    DatagramSource() {
        testSupport::enterIsolation();
    }

    static void sendTo(const char* host, std::uint16_t port, const Bytes& datagram) {
        const int socket = ::socket(AF_INET6, SOCK_DGRAM, 0);
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        address.sin6_port = htons(port);
        ASSERT_EQ(::inet_pton(AF_INET6, host, &address.sin6_addr), 1);
        EXPECT_EQ(::sendto(socket, datagram.data(), datagram.size(), 0,
                           reinterpret_cast<const sockaddr*>(&address), sizeof address),
                  static_cast<ssize_t>(datagram.size()));
        ::close(socket);
    }
};

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

TEST_F(DatagramSource, ReceivesOverIpv6) {
    const auto source = board::openSource("udp://[::1]:5616", {});
    sendTo("::1", 5616, bytesOf("first"));
    sendTo("::1", 5616, bytesOf("second"));
    EXPECT_EQ(readFrom(*source), "firstsecond");
}

// Whether the loopback interface has joined an IPv6 group, by the system's own list. It carries no such
// packets.
bool loopbackHasJoined(const std::string& group) {
    std::ifstream list("/proc/self/net/igmp6");
    std::string line;
    while (std::getline(list, line)) {
        if (line.find(" lo ") != std::string::npos && line.find(group) != std::string::npos) {
            return true;
        }
    }
    return false;
}

TEST_F(DatagramSource, JoinsIpv6GroupsForAsLongAsItLives) {
    const std::string group = "ff150000000000000000000000001234";
    auto source = board::openSource("udp://[ff15::1234]:5617", {"lo"});
    auto another = board::openSource("udp://[ff15::1234]:5617", {"lo"});
    EXPECT_TRUE(loopbackHasJoined(group));
    source.reset();
    EXPECT_TRUE(loopbackHasJoined(group));
    another.reset();
    EXPECT_FALSE(loopbackHasJoined(group));
}

TEST_F(DatagramSource, KeepsWhatDoesNotFit) {
    const auto source = board::openSource("udp://[::1]:5618", {});
    sendTo("::1", 5618, bytesOf("twelve bytes"));
    EXPECT_EQ(readFrom(*source, 7), "twelve ");
    Bytes rest(10);
    EXPECT_EQ(source->read(rest).bytes, 5U);
    EXPECT_EQ(source->read(rest).bytes, 0U);
}

TEST_F(DatagramSource, BringsRtpIntoOrder) {
    const auto packet = [](unsigned sequence, const std::string& payload) {
        return joined({number(0x8021, 2), number(sequence, 2), number(0, 8), bytesOf(payload)});
    };
    const auto source = board::openSource("rtp://[::1]:5619", {});
    for (const auto& [sequence, payload] :
         {std::pair(1U, "a"), std::pair(3U, "c"), std::pair(2U, "b"), std::pair(4U, "d")}) {
        sendTo("::1", 5619, packet(sequence, payload));
    }
    EXPECT_EQ(readFrom(*source), "abcd");
}

} // namespace
