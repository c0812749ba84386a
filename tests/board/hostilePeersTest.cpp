// The real board among clients, streams and consoles that mean it harm.
#include "boardProcess.h"
#include "streamWriter.h"

#include "wire/endpoints.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <list>
#include <netinet/in.h>
#include <poll.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace boardProcess;
using namespace std::chrono_literals;
using streamWriter::Bytes;

// A connection that speaks ZMTP by hand, or nothing. Where nobody listens, nothing can be sent.
class RawConnection {
  public:
    RawConnection() : RawConnection(AF_INET) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(wire::parserPort)));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connectTo(address);
    }
    explicit RawConnection(const std::string& path) : RawConnection(AF_UNIX) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        connectTo(address);
    }
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;
    ~RawConnection() {
        ::close(descriptor_);
    }

    // Greets as a subscriber: ZMTP 3.0 without security.
    bool greet() const {
        std::string greeting("\xFF\0\0\0\0\0\0\0\0\x7F\3\0NULL", 16);
        greeting.resize(64, '\0');
        const std::string ready("\x04\x19\x05READY\x0BSocket-Type\0\0\0\3SUB", 27);
        return send(greeting) && send(ready);
    }

    // Whether the board greets in time. What is sent before then may cost the connection.
    bool isGreeted() const {
        constexpr std::size_t greeting = 64 + 28; // and what says that it is an XPUB
        return receives(greeting, 2s);
    }

    // False once the other side has gone, or takes nothing.
    bool send(const std::string& text) const {
        for (std::size_t sent = 0; sent < text.size();) {
            const ssize_t count = ::send(descriptor_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (count < 0) {
                return false;
            }
            sent += static_cast<std::size_t>(count);
        }
        return true;
    }

    // Whether so many bytes come before the other side ends the connection, or this much time has passed.
    bool receives(std::size_t bytes, std::chrono::milliseconds longest) const {
        const auto end = std::chrono::steady_clock::now() + longest;
        std::array<char, 4096> buffer{};
        pollfd item{descriptor_, POLLIN, 0};
        for (std::size_t received = 0; received < bytes;) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
            if (left.count() <= 0 || ::poll(&item, 1, static_cast<int>(left.count())) != 1) {
                return false;
            }
            const ssize_t count = ::recv(descriptor_, buffer.data(), buffer.size(), 0);
            if (count <= 0) {
                return false;
            }
            received += static_cast<std::size_t>(count);
        }
        return true;
    }

    // Whether the other side has ended the connection, in time.
    bool isEnded() const {
        std::array<char, 256> buffer{};
        pollfd item{descriptor_, POLLIN, 0};
        ssize_t count = 1;
        while (count > 0) {
            if (::poll(&item, 1, patience.count()) != 1) {
                return false;
            }
            count = ::recv(descriptor_, buffer.data(), buffer.size(), 0);
        }
        return true;
    }

  private:
    explicit RawConnection(int family) : descriptor_(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        constexpr timeval longest{0, 200'000}; // with one that takes nothing
        ::setsockopt(descriptor_, SOL_SOCKET, SO_SNDTIMEO, &longest, sizeof longest);
    }

    template <class Address>
    void connectTo(const Address& address) {
        static_cast<void>(
            ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    }

    int descriptor_;
};

// A message of one part.
std::string frame(const std::string& text) {
    return std::string(1, '\0') + static_cast<char>(text.size()) + text;
}

std::string subscription(const std::string& text) {
    return frame('\1' + text);
}

// Subscribes without a pause, and connects again when it is thrown out.
class Flood {
  public:
    using Text = std::string (*)(std::size_t number);

    explicit Flood(Text text) : thread_([this, text] { run(text); }) {}
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;
    ~Flood() {
        goesOn_ = false;
        thread_.join();
    }

  private:
    void run(Text text) {
        std::size_t number = 0;
        while (goesOn_) {
            const RawConnection connection;
            for (bool taken = connection.greet() && connection.isGreeted(); taken && goesOn_;) {
                std::string many;
                for (int k = 0; k < 1000; ++k) {
                    many += subscription(text(number++));
                }
                taken = connection.send(many);
            }
        }
    }

    std::atomic<bool> goesOn_ = true;
    std::thread thread_;
};

// What a process holds in memory, in bytes.
std::size_t memoryOf(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::stoul(line.substr(6)) * 1024;
        }
    }
    return 0;
}

class HostilePeers : public BoardProcess {
  protected:
    // Starts the board with so many descriptors at the most.
    void startWith(int descriptors, const std::vector<std::string>& arguments) {
        std::vector<std::string> words{
            "sh", "-c", "ulimit -n " + std::to_string(descriptors) + R"(; exec "$@")", "sh", MPEGFE_BOARD};
        words.insert(words.end(), arguments.begin(), arguments.end());
        board.emplace(words, std::vector<std::string>{});
        console.clear();
    }

    // Whether what the board writes to standard output has to be read before it can write more.
    bool outputIsFull() const {
        const std::string pipe = "/proc/self/fd/" + std::to_string(board->outputDescriptor());
        pollfd writing{::open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC), POLLOUT, 0};
        const int writable = ::poll(&writing, 1, 0);
        ::close(writing.fd);
        return writable == 0;
    }

    // Makes the file a stream of these packets.
    void write(const Bytes& bytes) const {
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    // A client gets answers and messages while the flood goes on, the board holds little more than before,
    // and it ends when it is told to.
    void expectService() {
        Client client;
        client.subscribe(wire::allTopicBits);
        ASSERT_EQ(client.instruct(wire::allTopicBits), wire::allTopicBits);
        const std::size_t before = memoryOf(board->processId());
        for (int k = 0; k < 20; ++k) {
            ASSERT_EQ(client.instruct(wire::allTopicBits), wire::allTopicBits) << k;
            for (int message = 0; message < 9; ++message) {
                ASSERT_EQ(client.next().size(), 3U) << k;
            }
        }
        constexpr std::size_t growth = std::size_t{64} * 1024 * 1024;
        EXPECT_LT(memoryOf(board->processId()), before + growth);
        board->signal(SIGTERM);
        EXPECT_NE(end().find("exit code 0"), std::string::npos);
    }
};

TEST_F(HostilePeers, DoNotKeepItToThemselvesWithTextsThatAreNoTopics) {
    start({sample});
    ASSERT_TRUE(awaitConsole("playing "));
    const Flood flood([](std::size_t number) { return "text " + std::to_string(number); });
    expectService();
    EXPECT_NE(console.find("ended a connection"), std::string::npos) << console;
    EXPECT_LT(std::ranges::count(console, '\n'), 40) << console;
}

TEST_F(HostilePeers, DoNotKeepItToThemselvesWithATopic) {
    start({sample});
    ASSERT_TRUE(awaitConsole("playing "));
    const Flood flood([](std::size_t) { return std::string("MPEG-STRUCT-PAT"); });
    expectService();
}

// Whoever is new connects once, and has no library that would connect again.
TEST_F(HostilePeers, DoNotKeepNewClientsOutWithManyFloods) {
    start({sample});
    ASSERT_TRUE(awaitConsole("playing "));
    ASSERT_EQ(Client().instruct(wire::patBit), wire::patBit);
    // The floods take most of the processors' time; a board that serves them first took 14 s.
    constexpr auto longestWait = 6s;
    const auto expectRecords = [&](const char* when) {
        for (int k = 0; k < 12; ++k) {
            const RawConnection client;
            ASSERT_TRUE(client.greet() && client.isGreeted()) << when << k;
            ASSERT_TRUE(client.send(subscription("MPEG-STRUCT-PAT"))) << when << k;
            EXPECT_TRUE(client.receives(2 * sizeof(wire::PatRecord), longestWait)) << when << k;
        }
    };
    {
        std::list<Flood> floods;
        for (int k = 0; k < 12; ++k) {
            floods.emplace_back([](std::size_t number) { return std::to_string(number % 1000) + "text"; });
        }
        ASSERT_TRUE(awaitConsole("ended a connection")) << console;
        expectRecords("during ");
    }
    expectRecords("after ");
    board->signal(SIGTERM);
    EXPECT_NE(end().find("exit code 0"), std::string::npos);
}

// libzmq's listener on a local socket ends a process that may open nothing more, unless the board's own
// accept4 has taken the C library's place: which a static libzmq, or another way to link, could undo.
TEST_F(HostilePeers, MeetItWithoutADescriptorAndLeaveItAlive) {
    start({sample});
    ASSERT_TRUE(awaitConsole("playing "));
    board->limitDescriptors(board->descriptorCount()); // some of it may be free
    std::list<RawConnection> connections;
    for (int k = 0; k < 10; ++k) {
        connections.emplace_back(std::string(wire::instructionEndpoint).substr(std::string("ipc://").size()));
    }
    connections.emplace_back();
    ASSERT_FALSE(board->waitFor(200ms)) << end();
    board->limitDescriptors(1024);
    constexpr std::size_t signature = 10;
    for (const RawConnection& connection : connections) {
        EXPECT_TRUE(connection.receives(signature, patience));
    }
    EXPECT_EQ(Client().instruct(wire::patBit), wire::patBit);
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

class HostileBursts : public HostilePeers, public testing::WithParamInterface<int> {};

// Of both kinds at once, and of each more than there are descriptors.
TEST_P(HostileBursts, DoNotUseUpItsDescriptors) {
    startWith(GetParam(), {sample});
    ASSERT_TRUE(awaitConsole("playing "));
    for (int attack = 0; attack < 5; ++attack) {
        std::list<RawConnection> remote;
        std::list<RawConnection> local;
        std::thread remotes([&] {
            for (int k = 0; k < 3 * GetParam() / 2; ++k) {
                remote.emplace_back();
            }
        });
        for (int k = 0; k < 3 * GetParam() / 2; ++k) {
            local.emplace_back(std::string(wire::instructionEndpoint).substr(std::string("ipc://").size()));
        }
        remotes.join();
        remote.clear();
        local.clear();
        ASSERT_EQ(Client().instruct(wire::patBit), wire::patBit) << attack << end();
    }
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(WithALimitOf, HostileBursts, testing::Values(60, 96, 256),
                         testing::PrintToStringParamName());

TEST_F(HostilePeers, NeedAFewDescriptors) {
    startWith(45, {sample});
    EXPECT_EQ(end(),
              "mpegfe-board: cannot serve clients: expected a limit of 46 descriptors or more, got 45; "
              "raise the hard limit, which ulimit -Hn shows\nexit code 1");
    startWith(46, {sample});
    EXPECT_TRUE(awaitConsole("playing ")) << console;
    EXPECT_EQ(Client().instruct(wire::patBit), wire::patBit) << console;
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(HostilePeers, DoNotReadItsStatisticsWithoutHoldingUpTheOthers) {
    for (const bool byItsOwnClock : {false, true}) {
        std::vector<std::string> arguments{"--fast", "--rate-period", "100", "--statistics", "-", sample};
        if (byItsOwnClock) {
            arguments.insert(arguments.begin(), "--deterministic");
        }
        start(arguments);
        Client client;
        client.subscribe(wire::patBit);
        ASSERT_EQ(client.instruct(wire::patBit), wire::patBit);
        while (!outputIsFull()) {
            std::this_thread::yield();
        }
        for (int k = 0; k < 10; ++k) {
            ASSERT_EQ(Client().instruct(wire::patBit), wire::patBit) << k;
        }
        EXPECT_NE(stop().find("exit code 0"), std::string::npos);
    }
}

TEST_F(HostilePeers, DoNotUseUpItsDescriptors) {
    startWith(96, {sample});
    ASSERT_TRUE(awaitConsole("playing "));
    const std::list<RawConnection> idle(200);
    ASSERT_TRUE(awaitConsole("ended a connection")) << console;
    while (board->descriptorCount() > 80) { // all have come, and those that are too many have gone
        std::this_thread::yield();
    }
    for (int k = 0; k < 10; ++k) {
        ASSERT_EQ(Client().instruct(wire::patBit), wire::patBit) << k << console;
    }
    // Who says nothing loses its place.
    Client client;
    client.subscribe(wire::patBit);
    EXPECT_EQ(client.next().size(), 3U);
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(HostilePeers, DoNotUseUpItsDescriptorsFromThisMachine) {
    startWith(96, {sample});
    ASSERT_TRUE(awaitConsole("playing "));
    std::list<RawConnection> idle;
    for (int k = 0; k < 60; ++k) {
        idle.emplace_back(std::string(wire::instructionEndpoint).substr(std::string("ipc://").size()));
    }
    ASSERT_TRUE(awaitConsole("ended a connection")) << console;
    EXPECT_TRUE(idle.back().isEnded());
    idle.clear();
    EXPECT_EQ(Client().instruct(wire::patBit), wire::patBit) << console;
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(HostilePeers, MakeTheBoardTakeAllDescriptorsThatItMay) {
    board.emplace(
        std::vector<std::string>{"sh", "-c", R"(ulimit -S -n 64; exec "$@")", "sh", MPEGFE_BOARD, sample},
        std::vector<std::string>{});
    ASSERT_TRUE(awaitConsole("playing "));
    std::ifstream limits("/proc/" + std::to_string(board->processId()) + "/limits");
    std::string line;
    while (std::getline(limits, line) && !line.starts_with("Max open files")) {
    }
    std::istringstream figures(line.substr(std::string("Max open files").size()));
    std::string soft;
    std::string hard;
    figures >> soft >> hard;
    EXPECT_EQ(soft, hard);
    EXPECT_NE(soft, "64");
}

TEST_F(HostilePeers, RestWithoutHoldingUpTheOthers) {
    start({"--deterministic", "--fast", "--interval", "10", sample});
    zmq::context_t context;
    zmq::socket_t resting(context, ZMQ_SUB);
    resting.set(zmq::sockopt::rcvhwm, 1);
    resting.set(zmq::sockopt::rcvbuf, 4096);
    resting.set(zmq::sockopt::linger, 0);
    resting.set(zmq::sockopt::subscribe, "");
    resting.connect("tcp://127.0.0.1:" WIRE_PARSER_PORT);
    Client client;
    client.subscribe(wire::allTopicBits);
    for (const wire::TopicBits bits : {wire::patBit, wire::allTopicBits}) {
        ASSERT_EQ(client.instruct(bits), bits);
        for (int k = 0; k < 5000; ++k) { // by far more than lies between board and client
            ASSERT_EQ(client.next().size(), 3U) << k;
        }
    }
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

// The reader of the console goes, and the board has something to say.
TEST_F(HostilePeers, OutlivesTheReaderOfItsConsole) {
    start({sample});
    ASSERT_TRUE(awaitConsole("playing "));
    board->closeError();
    Client client;
    for (const wire::TopicBits bits : {wire::patBit, wire::sdtBit, wire::patBit}) {
        EXPECT_EQ(client.instruct(bits), bits);
    }
    board->signal(SIGTERM);
    const auto status = board->waitFor(patience);
    ASSERT_TRUE(status);
    EXPECT_EQ(testSupport::describeStatus(*status), "exit code 0");
}

TEST_F(HostilePeers, EndsQuietlyWhenNobodyReadsWhatItPrints) {
    board.emplace(std::vector<std::string>{"bash", "-c",
                                           R"(exec 3> >(exec true); wait $!; exec "$0" --print "$1" >&3)",
                                           MPEGFE_BOARD, sample},
                  std::vector<std::string>{});
    EXPECT_EQ(end(), "exit code 1");
}

TEST_F(HostilePeers, SaysThatWhatItPrintsHasNoRoom) {
    board.emplace(
        std::vector<std::string>{"sh", "-c", R"(exec "$0" --print "$1" >/dev/full)", MPEGFE_BOARD, sample},
        std::vector<std::string>{});
    EXPECT_EQ(end(),
              "mpegfe-board: cannot write to standard output: expected room for what is printed, got No "
              "space left on device; what was printed is incomplete\nexit code 1");
}

// One PAT after the other, each of another stream.
Bytes streamOfNewStreams() {
    streamWriter::Packets packets;
    for (std::uint16_t stream = 1; stream <= 2000; ++stream) {
        packets.section(0, streamWriter::pat(stream, {{5, 0x100}}));
    }
    return packets.bytes();
}

TEST_F(HostilePeers, BringRecordsThoughEveryPatIsOfAnotherStream) {
    write(streamOfNewStreams());
    start({file});
    Client client;
    client.subscribe(wire::patBit);
    ASSERT_EQ(client.instruct(wire::patBit), wire::patBit);
    const auto begun = std::chrono::steady_clock::now();
    wire::PatRecord pat = client.nextPat();
    while (pat.newStreamFlag == wire::newStreamMark && std::chrono::steady_clock::now() - begun < patience) {
        pat = client.nextPat();
    }
    EXPECT_EQ(pat.newStreamFlag, 0);
    EXPECT_EQ(pat.programCount, 1);
    const std::string said = stop();
    EXPECT_LT(std::ranges::count(said, '\n'), 40) << said;
    EXPECT_NE(said.find("more lines of this kind\n"), std::string::npos) << said;
}

TEST_F(HostilePeers, BringRecordsThoughEveryPatIsOfAnotherStreamByItsOwnClock) {
    write(streamOfNewStreams());
    start({"--deterministic", file});
    Client client;
    client.subscribe(wire::patBit);
    ASSERT_EQ(client.instruct(wire::patBit), wire::patBit);
    wire::PatRecord pat = client.nextPat();
    for (int k = 0; k < 1000 && pat.newStreamFlag == wire::newStreamMark; ++k) {
        pat = client.nextPat();
    }
    EXPECT_EQ(pat.newStreamFlag, 0);
    EXPECT_EQ(pat.programCount, 1);
}

TEST_F(HostilePeers, SayLittleWithAShortFileThatIsANewStreamEachTime) {
    streamWriter::Packets packets;
    packets.section(0, streamWriter::pat(1, {{5, 0x100}}));
    for (int k = 0; k < 10; ++k) {
        packets.section(0x100, streamWriter::pmt(5, 0x101, {}, {{0x02, 0x101, {}}}));
    }
    write(packets.bytes());
    start({"--new-stream-on-loop", file});
    Client client;
    client.subscribe(wire::patBit);
    ASSERT_EQ(client.instruct(wire::patBit), wire::patBit);
    wire::PatRecord pat = client.nextPat();
    while (pat.newStreamFlag == wire::newStreamMark) {
        pat = client.nextPat();
    }
    EXPECT_EQ(pat.programCount, 1);
    EXPECT_LT(std::ranges::count(stop(), '\n'), 40);
}

TEST_F(HostilePeers, BringALongNoiseBeforeTheStream) {
    start({"udp://127.0.0.1:5609"});
    ASSERT_TRUE(awaitConsole("no packets yet")) << console;
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(5609);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const auto sendDatagram = [&](const std::string& datagram) {
        ::sendto(socket, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                 sizeof address);
    };
    const std::string noise(1000, 'x');
    const std::string what =
        "no packets from udp://127.0.0.1:5609: expected a transport stream: packets of 188 bytes "
        "that start with 0x47, got no such packets in ";
    pollfd said{board->errorDescriptor(), POLLIN, 0};
    for (int k = 0; k < 20'000 && console.find(what) == std::string::npos; ++k) { // some of it may be lost
        sendDatagram(noise);
        if (::poll(&said, 1, 0) > 0) {
            ASSERT_TRUE(readConsole()) << console;
        }
    }
    ASSERT_TRUE(awaitConsole(what)) << console;
    std::ifstream stream(sample, std::ios::binary);
    std::string packets(std::size_t{7} * 188, '\0');
    while (stream.read(packets.data(), static_cast<std::streamsize>(packets.size())) &&
           console.find("playing ") == std::string::npos) {
        sendDatagram(packets);
        if (::poll(&said, 1, 1) > 0) {
            ASSERT_TRUE(readConsole()) << console;
        }
    }
    EXPECT_NE(console.find("playing "), std::string::npos) << console;
    ::close(socket);
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

} // namespace
