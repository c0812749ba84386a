// The real board on streams from a network.
#include "boardProcess.h"
#include "streamWriter.h"

#include <algorithm>
#include <arpa/inet.h>
#include <fstream>
#include <iterator>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace boardProcess;
using streamWriter::Bytes;

// How the packets of a stream reach the board over the loopback interface.
struct Network {
    const char* name;
    const char* scheme;
    const char* address;
    std::uint16_t port;
};

// Sends packets to an address, seven a datagram, each behind an RTP header (IETF RFC 2250) where that is
// wanted.
void sendDatagrams(const Network& network, const Bytes& bytes) {
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    in_addr interface {};
    interface.s_addr = htonl(INADDR_LOOPBACK);
    ::setsockopt(socket, IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(network.port);
    address.sin_addr.s_addr = ::inet_addr(network.address);
    constexpr std::size_t datagram = std::size_t{7} * 188;
    std::uint16_t sequence = 0;
    for (std::size_t at = 0; at < bytes.size(); at += datagram) {
        constexpr std::uint64_t versionAndMp2t = 0x8021;
        Bytes content;
        if (std::string(network.scheme) == "rtp") {
            content = streamWriter::joined(
                {streamWriter::number(versionAndMp2t, 2), streamWriter::number(sequence++, 2), Bytes(8, 1)});
        }
        content.insert(content.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at),
                       bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at + datagram, bytes.size())));
        ::sendto(socket, content.data(), content.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                 sizeof address);
    }
    ::close(socket);
}

// The first packets of the sample.
Bytes someOfTheSample() {
    std::ifstream input(sample, std::ios::binary);
    Bytes bytes(std::size_t{4000} * 188);
    input.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

class NetworkSource : public BoardProcess, public testing::WithParamInterface<Network> {};

TEST_P(NetworkSource, IsPlayed) {
    const Network& network = GetParam();
    start({std::string(network.scheme) + "://" + network.address + ":" + std::to_string(network.port),
           "--interface", "lo"});
    ASSERT_TRUE(awaitConsole("no packets yet")) << console; // it listens
    sendDatagrams(network, someOfTheSample());
    EXPECT_TRUE(awaitConsole("playing ")) << console;
    const std::string said = stop();
    EXPECT_NE(said.find("0 bad sections, 0 losses of sync\nexit code 0"), std::string::npos) << said;
}

INSTANTIATE_TEST_SUITE_P(OverLoopback, NetworkSource,
                         testing::Values(Network{"Udp", "udp", "127.0.0.1", 5601},
                                         Network{"Rtp", "rtp", "127.0.0.1", 5602},
                                         Network{"MulticastUdp", "udp", "239.255.1.1", 5603},
                                         Network{"MulticastRtp", "rtp", "239.255.1.1", 5604}),
                         [](const auto& network) { return std::string(network.param.name); });

// Sends the sample to an SRT address in real time, over and over, as long as it lives.
class SrtSender {
  public:
    explicit SrtSender(const std::string& address)
        : program({"ffmpeg", "-v", "quiet", "-re", "-stream_loop", "-1", "-i", sample, "-map", "0", "-c",
                   "copy", "-f", "mpegts", address},
                  {}) {}

    // Says goodbye instead of vanishing.
    void takeLeave() {
        program.signal(SIGINT);
        program.waitFor(patience);
    }

  private:
    testSupport::ChildProcess program;
};

TEST_F(BoardProcess, ServesOneSrtSenderAfterTheOther) {
    start({"srt://127.0.0.1:5605?mode=listener"});
    ASSERT_TRUE(awaitConsole("no packets yet")) << console;
    {
        SrtSender first("srt://127.0.0.1:5605?mode=caller");
        ASSERT_TRUE(awaitConsole("playing srt://")) << console;
        first.takeLeave();
    }
    ASSERT_TRUE(awaitConsole("no packets for 2000 ms")) << console;
    const SrtSender second("srt://127.0.0.1:5605?mode=caller");
    EXPECT_TRUE(awaitConsole("a new stream begins")) << console;
    const std::string said = stop();
    EXPECT_NE(said.find("exit code 0"), std::string::npos) << said;
}

TEST_F(BoardProcess, ServesAnSrtSenderThatHasCalledWhileOneThatVanishedWasStillServed) {
    start({"srt://127.0.0.1:5607?mode=listener"});
    ASSERT_TRUE(awaitConsole("no packets yet")) << console;
    {
        const SrtSender first("srt://127.0.0.1:5607?mode=caller");
        ASSERT_TRUE(awaitConsole("playing srt://")) << console;
    }
    ASSERT_TRUE(awaitConsole("no packets for 2000 ms")) << console;
    const SrtSender second("srt://127.0.0.1:5607?mode=caller"); // before the first is given up
    EXPECT_TRUE(awaitConsole("a new stream begins")) << console;
    const std::string said = stop();
    EXPECT_NE(said.find("exit code 0"), std::string::npos) << said;
}

TEST_F(BoardProcess, CallsItsSrtListenerAgainWhenThatHasGone) {
    start({"srt://127.0.0.1:5606?mode=caller"});
    ASSERT_TRUE(awaitConsole("no packets yet")) << console;
    {
        const SrtSender first("srt://127.0.0.1:5606?mode=listener");
        ASSERT_TRUE(awaitConsole("playing srt://")) << console;
    }
    ASSERT_TRUE(awaitConsole("no packets for 2000 ms")) << console;
    const SrtSender second("srt://127.0.0.1:5606?mode=listener");
    EXPECT_TRUE(awaitConsole("a new stream begins")) << console;
    const std::string said = stop();
    EXPECT_NE(said.find("exit code 0"), std::string::npos) << said;
}

TEST_F(BoardProcess, TakesPacketsAfterSilenceForANewStream) {
    constexpr Network network{"Udp", "udp", "127.0.0.1", 5600};
    start({"udp://127.0.0.1:5600"});
    ASSERT_TRUE(awaitConsole("no packets yet"));
    sendDatagrams(network, someOfTheSample());
    ASSERT_TRUE(awaitConsole("playing udp://")) << console;
    EXPECT_EQ(console.find("a new stream begins"), std::string::npos);
    ASSERT_TRUE(awaitConsole("no packets for 2000 ms"));
    sendDatagrams(network, someOfTheSample());
    EXPECT_TRUE(awaitConsole("a new stream begins"));
    const std::string said = stop();
    EXPECT_NE(said.find("exit code 0"), std::string::npos) << said;
}

TEST_F(BoardProcess, CountsTheLastPacketsBeforeASilenceToTheOldStream) {
    constexpr Network network{"Udp", "udp", "127.0.0.1", 5608};
    static constexpr std::uint16_t lastPid = 0x300;
    const auto lists = [](const wire::PatRecord& pat) {
        return std::ranges::find(pat.pidList, lastPid) != std::end(pat.pidList);
    };
    start({"udp://127.0.0.1:5608"});
    ASSERT_TRUE(awaitConsole("no packets yet"));
    streamWriter::Packets last;
    last.filler(lastPid);
    sendDatagrams(network, streamWriter::joined({someOfTheSample(), last.bytes()}));
    ASSERT_TRUE(awaitConsole("no packets for 2000 ms")) << console;
    Client client;
    client.subscribe(wire::patBit);
    ASSERT_EQ(client.instruct(wire::patBit), wire::patBit);
    EXPECT_TRUE(lists(client.nextPat()));
    sendDatagrams(network, someOfTheSample());
    wire::PatRecord pat = client.nextPat();
    while (pat.newStreamFlag == 0 && pat.pidListCount > 0) {
        pat = client.nextPat();
    }
    pat = client.nextPat();
    EXPECT_EQ(pat.programCount, 4);
    EXPECT_FALSE(lists(pat));
}

// Sends the same over and over, as long as it lives.
class Repeater {
  public:
    Repeater(const Network& network, Bytes bytes, std::chrono::milliseconds interval)
        : sender([network, bytes = std::move(bytes), interval](const std::stop_token& stop) {
              while (!stop.stop_requested()) {
                  sendDatagrams(network, bytes);
                  std::this_thread::sleep_for(interval);
              }
          }) {}

  private:
    std::jthread sender;
};

TEST_F(BoardProcess, PublishesTablesThatTrickleInWithoutAnyTime) {
    start({"udp://127.0.0.1:5609"});
    streamWriter::Packets tables;
    tables.section(0, streamWriter::pat(1, {{1, 0x100}}));
    const Repeater repeater({"Udp", "udp", "127.0.0.1", 5609}, tables.bytes(),
                            std::chrono::milliseconds(100));
    ASSERT_TRUE(awaitConsole("playing udp://")) << console;
    EXPECT_EQ(console.find("no packets for"), std::string::npos) << console;
    Client client;
    client.subscribe(wire::patBit);
    ASSERT_EQ(client.instruct(wire::patBit), wire::patBit);
    EXPECT_EQ(client.nextPat().programCount, 1);
}

TEST_F(BoardProcess, AnswersWhileWhatArrivesIsNoTransportStream) {
    constexpr Network network{"Udp", "udp", "127.0.0.1", 5610};
    start({"udp://127.0.0.1:5610"});
    ASSERT_TRUE(awaitConsole("no packets yet"));
    sendDatagrams(network, someOfTheSample());
    ASSERT_TRUE(awaitConsole("playing udp://")) << console;
    const Repeater repeater(network, Bytes(std::size_t{100} * 7 * 188), std::chrono::milliseconds(0));
    Client client;
    EXPECT_EQ(client.instruct(wire::patBit), wire::patBit);
    EXPECT_TRUE(awaitConsole("no packets for 2000 ms")) << console;
    const std::string said = stop();
    EXPECT_NE(said.find("exit code 0"), std::string::npos) << said;
}

} // namespace
