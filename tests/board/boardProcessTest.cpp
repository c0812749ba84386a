// The real board, over its real sockets.
#include "../support/childProcess.h"
#include "../support/isolation.h"
#include "../support/peers.h"
#include "recording.h"
#include "streamWriter.h"

#include "feed/topics.h"

#include <gtest/gtest.h>
#include <zmq.hpp>

#include <arpa/inet.h>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using streamWriter::Bytes;
using Message = std::vector<std::string>;

const std::string sample = MPEGFE_SAMPLES "/three-programs.ts";
constexpr auto patience = 20000ms;

// The golden text of this name. MPEGFE_WRITE_GOLDEN in the environment writes what is made instead.
std::string golden(const std::string& name, const std::string& made) {
    const std::string path = MPEGFE_BOARD_GOLDEN "/" + name;
    if (std::getenv("MPEGFE_WRITE_GOLDEN") != nullptr) {
        std::ofstream(path) << made;
    }
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class BoardProcess : public testing::Test {
  protected:
    BoardProcess() {
        testSupport::enterIsolation();
    }
    ~BoardProcess() override {
        std::filesystem::remove(file);
    }

    void start(const std::vector<std::string>& arguments) {
        std::vector<std::string> words{MPEGFE_BOARD};
        words.insert(words.end(), arguments.begin(), arguments.end());
        // For builds with sanitizers; others do not look at it. Whole stacks are needed to tell GLib's
        // tables.
        board.emplace(
            words, std::vector<std::string>{"ASAN_OPTIONS=fast_unwind_on_malloc=0",
                                            "LSAN_OPTIONS=print_suppressions=0:suppressions=" MPEGFE_LEAKS});
        console.clear();
    }

    // Reads the board's console until it holds this text. Returns whether it came in time.
    bool awaitConsole(const std::string& text) {
        while (console.find(text) == std::string::npos) {
            if (!readConsole()) {
                return false;
            }
        }
        return true;
    }

    bool readConsole() {
        pollfd waiting{board->errorDescriptor(), POLLIN, 0};
        std::array<char, 4096> piece{};
        if (::poll(&waiting, 1, static_cast<int>(patience.count())) <= 0) {
            return false;
        }
        const ssize_t count = ::read(board->errorDescriptor(), piece.data(), piece.size());
        if (count > 0) {
            console.append(piece.data(), static_cast<std::size_t>(count));
        }
        return count > 0;
    }

    // Everything that the board says until it ends, and how it ends.
    std::string end() {
        while (readConsole()) {
        }
        const auto status = board->waitFor(patience);
        return console + (status ? testSupport::describeStatus(*status) : "still running");
    }

    // Everything that the board writes to its standard output.
    std::string output() {
        std::string text;
        std::array<char, 4096> piece{};
        pollfd waiting{board->outputDescriptor(), POLLIN, 0};
        while (::poll(&waiting, 1, static_cast<int>(patience.count())) > 0) {
            const ssize_t count = ::read(board->outputDescriptor(), piece.data(), piece.size());
            if (count <= 0) {
                break;
            }
            text.append(piece.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

    std::string stop(int signal = SIGTERM) {
        board->signal(signal);
        return end();
    }

    std::string outcome(const std::vector<std::string>& arguments) {
        start(arguments);
        return end();
    }

    std::string file = testing::TempDir() + "board-" + std::to_string(::getpid());
    std::optional<testSupport::ChildProcess> board;
    std::string console;
};

// A client: the subscriber and the instructor of the service.
class Client {
  public:
    Client() {
        subscriber.set(zmq::sockopt::rcvtimeo, static_cast<int>(patience.count()));
        instructor.set(zmq::sockopt::rcvtimeo, static_cast<int>(patience.count()));
        subscriber.set(zmq::sockopt::linger, 0);
        instructor.set(zmq::sockopt::linger, 0);
        subscriber.connect("tcp://127.0.0.1:5101");
        instructor.connect("ipc:///run/shm/zmq/uRO_MMR_MPEGFE-1");
    }

    void subscribe(TopicBits bits) {
        for (const Topic& topic : topics) {
            if ((bits & topic.bit) != 0) {
                subscriber.set(zmq::sockopt::subscribe, topic.name);
            }
        }
    }

    // Sends an instruction word and returns the reply's.
    int instruct(TopicBits word) {
        instructor.send(zmq::buffer(&word, sizeof word));
        zmq::message_t reply;
        if (!instructor.recv(reply) || reply.size() != sizeof word) {
            return -1;
        }
        return *reply.data<TopicBits>();
    }

    Message next() {
        Message parts;
        zmq::message_t part;
        do {
            if (!subscriber.recv(part)) {
                return {"nothing"};
            }
            parts.push_back(part.to_string());
        } while (part.more());
        return parts;
    }

    // The topics of the next messages, without the part of their names that all share.
    std::string nextTopics(int count) {
        std::string names;
        for (int k = 0; k < count; ++k) {
            names += next().front().substr(std::strlen("MPEG-STRUCT-")) + " ";
        }
        return names;
    }

    PatRecord nextPat() {
        Message message;
        do {
            message = next();
        } while (message.front() != "MPEG-STRUCT-PAT" && message.front() != "nothing");
        PatRecord pat{};
        if (message.size() == 3) {
            std::memcpy(&pat, message[2].data(), std::min(sizeof pat, message[2].size()));
        }
        return pat;
    }

  private:
    zmq::context_t context;
    zmq::socket_t subscriber{context, ZMQ_SUB};
    zmq::socket_t instructor{context, ZMQ_REQ};
};

TEST_F(BoardProcess, SaysWhatIsWrongWithItsSource) {
    EXPECT_EQ(outcome({"/nowhere/file.ts"}), "mpegfe-board: cannot open /nowhere/file.ts: expected a "
                                             "readable transport stream file, got No such file "
                                             "or directory; check the path and its permissions\nexit code 1");
    EXPECT_EQ(outcome({"/"}),
              "mpegfe-board: cannot read /: expected a transport stream file, got a directory; name a "
              "file in it\nexit code 1");
    std::ofstream(file) << std::string(5000, 'x');
    EXPECT_EQ(outcome({file}),
              "mpegfe-board: cannot play " + file +
                  ": expected a transport stream: packets of 188 bytes that start with 0x47, got no "
                  "such packets in 5000 bytes; name a transport stream\nexit code 1");
    std::ofstream{file, std::ios::trunc};
    EXPECT_EQ(outcome({file}),
              "mpegfe-board: cannot play " + file +
                  ": expected a transport stream: packets of 188 bytes that start with 0x47, got "
                  "nothing; name a transport stream\nexit code 1");
    EXPECT_EQ(
        outcome({"http://127.0.0.1:1"}),
        "mpegfe-board: cannot open http://127.0.0.1:1: expected udp://ADDRESS:PORT, rtp://ADDRESS:PORT or "
        "srt://ADDRESS:PORT, got \"http://\"; check the address, and that no other program receives on it\n"
        "exit code 1");
}

TEST_F(BoardProcess, SaysWhatIsWrongWithItsEndpoints) {
    zmq::context_t context;
    zmq::socket_t other(context, ZMQ_PUB);
    other.bind("tcp://*:5101");
    EXPECT_EQ(outcome({sample}),
              "mpegfe-board: cannot bind tcp://*:5101: expected a free endpoint, got Address already "
              "in use; another program uses port 5101; find it with: ss -ltnp 'sport = :5101'\n"
              "exit code 1");
    std::filesystem::remove_all("/run/shm/zmq");
    EXPECT_EQ(outcome({sample}),
              "mpegfe-board: cannot open the instruction endpoint: expected the directory "
              "/run/shm/zmq, got No such file or directory; make it with: mkdir -p /run/shm/zmq\n"
              "exit code 1");
    std::filesystem::create_directory("/run/shm/zmq");
}

TEST_F(BoardProcess, LeavesAnotherBoardAlone) {
    start({sample});
    ASSERT_TRUE(awaitConsole("playing "));
    testSupport::ChildProcess second({MPEGFE_BOARD, sample}, {});
    const auto status = second.waitFor(patience);
    ASSERT_TRUE(status);
    EXPECT_EQ(testSupport::describeStatus(*status), "exit code 1");
    EXPECT_EQ(Client().instruct(patBit), patBit);
    EXPECT_NE(stop(SIGINT).find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, PublishesOnlyTheTopicsOfTheLastWordAndEchoesIt) {
    start({sample});
    Client client;
    client.subscribe(allTopicBits);
    EXPECT_EQ(client.instruct(patBit | sdtBit), patBit | sdtBit);
    EXPECT_EQ(client.nextTopics(4), "SDT PAT SDT PAT ");
    EXPECT_EQ(client.instruct(catBit), catBit);
    std::string topic;
    while ((topic = client.nextTopics(1)) != "CAT ") {
        EXPECT_TRUE(topic == "SDT " || topic == "PAT ") << topic;
    }
    EXPECT_EQ(client.nextTopics(2), "CAT CAT ");
    EXPECT_EQ(client.instruct(0), 0);
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, GivesAClientARoundThatEndsWithWhatItWaitsFor) {
    start({"--deterministic", sample});
    Client client;
    client.subscribe(allTopicBits);
    EXPECT_EQ(client.instruct(allTopicBits), allTopicBits);
    EXPECT_EQ(client.nextTopics(9), "SDT AVPGM CAT NIT EIT TDT PMT TS-STATUS PAT ");
}

TEST_F(BoardProcess, SendsThreePartsOfTheContractsSizes) {
    start({"--deterministic", sample});
    Client client;
    client.subscribe(allTopicBits);
    client.instruct(allTopicBits);
    for (int k = 0; k < 9; ++k) {
        const Message message = client.next();
        ASSERT_EQ(message.size(), 3U);
        EXPECT_LE(message[1].size(), 10U);
        const auto topic = std::find_if(topics.begin(), topics.end(),
                                        [&](const Topic& one) { return message[0] == one.name; });
        ASSERT_NE(topic, topics.end()) << message[0];
        EXPECT_EQ(message[2].size(), topic->size);
    }
}

TEST_F(BoardProcess, PrintsTheRecordsOfTheSamples) {
    for (const std::string name : {"three-programs", "all-tables"}) {
        start({"--print", MPEGFE_SAMPLES "/" + name + ".ts"});
        const std::string printed = output();
        EXPECT_EQ(end(), "exit code 0");
        EXPECT_EQ(printed, golden(name + ".json", printed));
    }
}

TEST_F(BoardProcess, PrintsTheSameOfAPipe) {
    start({"--print", sample});
    const std::string ofFile = output();
    board.emplace(std::vector<std::string>{"sh", "-c", "cat '" + sample + "' | '" MPEGFE_BOARD "' --print -"},
                  std::vector<std::string>{});
    EXPECT_EQ(output(), ofFile);
    EXPECT_EQ(end(), "exit code 0");
}

TEST_F(BoardProcess, PublishesTheSameTwiceWithTheStreamsClockOnly) {
    std::vector<std::vector<Message>> runs;
    for (int run = 0; run < 2; ++run) {
        start({"--deterministic", "--fast", "--once", sample});
        Client client;
        client.subscribe(allTopicBits);
        client.instruct(allTopicBits);
        runs.emplace_back();
        for (int k = 0; k < 100; ++k) {
            runs.back().push_back(client.next());
        }
        EXPECT_NE(end().find("exit code 0"), std::string::npos);
    }
    EXPECT_TRUE(runs[0] == runs[1]);
}

TEST_F(BoardProcess, AnnouncesANewStreamBeforeItsRecords) {
    start({"--deterministic", "--fast", "--new-stream-on-loop", sample});
    Client client;
    client.subscribe(patBit);
    client.instruct(patBit);
    PatRecord pat = client.nextPat();
    EXPECT_EQ(pat.newStreamFlag, 0);
    EXPECT_EQ(pat.programCount, 4) << "the network entry and three programs";
    while (pat.newStreamFlag == 0 && pat.pidListCount != 0) {
        pat = client.nextPat();
    }
    EXPECT_EQ(pat.newStreamFlag, newStreamMark);
    pat = client.nextPat();
    EXPECT_EQ(pat.newStreamFlag, 0);
    EXPECT_EQ(pat.programCount, 4) << "the network entry and three programs";
}

TEST_F(BoardProcess, PlaysALoopAsOneStream) {
    start({"--fast", "--interval", "10", sample});
    Client client;
    client.subscribe(patBit | tsStatusBit);
    client.instruct(patBit | tsStatusBit);
    for (int k = 0; k < 100; ++k) {
        const PatRecord pat = client.nextPat();
        ASSERT_EQ(pat.newStreamFlag, 0);
        ASSERT_EQ(pat.programCount, 4);
    }
    EXPECT_EQ(stop().find("new stream"), std::string::npos);
}

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

TEST_F(BoardProcess, PlaysAStreamOverSrt) {
    start({"srt://127.0.0.1:5605?mode=listener"});
    ASSERT_TRUE(awaitConsole("no packets yet")) << console;
    testSupport::ChildProcess sender({"ffmpeg", "-v", "quiet", "-re", "-i", sample, "-map", "0", "-c", "copy",
                                      "-f", "mpegts", "srt://127.0.0.1:5605?mode=caller"},
                                     {});
    EXPECT_TRUE(awaitConsole("playing srt://")) << console;
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
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
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, ReplaysWhatItRecorded) {
    {
        testSupport::ChildProcess source({MPEGFE_BOARD, sample}, {});
        EXPECT_NE(outcome({"--record", file, "--instruct", "--duration", "1500"}).find("exit code 0"),
                  std::string::npos)
            << console;
    }
    start({"--replay", file, "--deterministic", "--once"});
    Client client;
    client.subscribe(allTopicBits);
    client.instruct(allTopicBits);
    board::RecordingReader recording(file);
    int count = 0;
    while (const auto recorded = recording.next()) {
        const Message message = client.next();
        ASSERT_EQ(message.size(), 3U);
        EXPECT_EQ(message[0], recorded->topic);
        EXPECT_EQ(message[2], std::string(recorded->record.begin(), recorded->record.end()));
        ++count;
    }
    EXPECT_GE(count, 9 * 5);
    EXPECT_NE(end().find("exit code 0"), std::string::npos);
}

// A whole chain: the board on a stream or a recording of it, the real service, and a media manager.
class WholeChain : public BoardProcess {
  protected:
    // The document that a request brings from a board started with these arguments.
    std::string document(const std::vector<std::string>& boardArguments, const std::string& request) {
        zmq::context_t context;
        testSupport::Trufios trufios(context);
        start(boardArguments);
        testSupport::ChildProcess service({MPEGFE_PROGRAM}, {});
        trufios.sendRequest({request});
        std::array<zmq::pollitem_t, 3> items{{{trufios.requestSocket, 0, ZMQ_POLLIN, 0},
                                              {trufios.documentSocket, 0, ZMQ_POLLIN, 0},
                                              {nullptr, service.outputDescriptor(), ZMQ_POLLIN, 0}}};
        while (trufios.documents.empty() && zmq::poll(items.data(), items.size(), patience) > 0) {
            trufios.hear();
            std::array<char, 4096> unread{};
            while (::read(service.outputDescriptor(), unread.data(), unread.size()) > 0) {
            }
        }
        return trufios.documents.empty() ? "no document" : trufios.documents.front() + "\n";
    }
};

struct ChainRequest {
    const char* name;
    const char* text;
};

class EveryDocument : public WholeChain, public testing::WithParamInterface<ChainRequest> {};

TEST_P(EveryDocument, ComesFromTheStreamWithAllTables) {
    const std::string made = document({"--deterministic", MPEGFE_SAMPLES "/all-tables.ts"}, GetParam().text);
    EXPECT_EQ(made, golden(std::string(GetParam().name) + ".document", made));
}

TEST_P(EveryDocument, ComesFromItsRecordingAsWell) {
    const std::string made =
        document({"--deterministic", "--replay", MPEGFE_SAMPLES "/all-tables.recording"}, GetParam().text);
    EXPECT_EQ(made, golden(std::string(GetParam().name) + ".document", made));
}

INSTANTIATE_TEST_SUITE_P(
    , EveryDocument,
    testing::Values(ChainRequest{"pidData", R"({"dataStream":"pidData","status":"on"})"},
                    ChainRequest{"pgmData", R"({"dataStream":"pgmData","status":"on"})"},
                    ChainRequest{"pgmDetail", R"({"dataStream":"pgmDetail","status":"on","patIndex":"2"})"},
                    ChainRequest{"PAT", R"({"dataStream":"PAT","status":"on"})"},
                    ChainRequest{"CAT", R"({"dataStream":"CAT","status":"on"})"},
                    ChainRequest{"NIT", R"({"dataStream":"NIT","status":"on"})"},
                    ChainRequest{"SDT", R"({"dataStream":"SDT","status":"on"})"},
                    ChainRequest{"EIT", R"({"dataStream":"EIT","status":"on"})"},
                    ChainRequest{"TDT", R"({"dataStream":"TDT","status":"on"})"}),
    [](const auto& request) { return std::string(request.param.name); });

} // namespace
