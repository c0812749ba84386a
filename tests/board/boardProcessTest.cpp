// The real board, over its real sockets.
#include "boardProcess.h"

#include "streamWriter.h"

#include "wire/endpoints.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace boardProcess;

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
        "srt://ADDRESS:PORT, got \"http://\"; check the address\n"
        "exit code 1");
}

TEST_F(BoardProcess, EndsWithTwoForAWrongCommandLine) {
    EXPECT_EQ(outcome({"--record", "out", "--once"}),
              "mpegfe-board: the command line is wrong: expected a transport stream, or --record or --replay "
              "with a file, got an error: --once excludes --record; see mpegfe-board --help\nexit code 2");
    EXPECT_EQ(outcome({"--interface", "lo", sample}),
              "mpegfe-board: cannot use --interface: expected a UDP or RTP address, got a file or standard "
              "input; see mpegfe-board --help\nexit code 2");
}

TEST_F(BoardProcess, TellsItsVersion) {
    start({"--version"});
    EXPECT_EQ(output(), "mpegfe-board 1.1.0\n");
    EXPECT_EQ(end(), "exit code 0");
}

TEST_F(BoardProcess, TellsItsOptions) {
    start({"-h"});
    const std::string text = output();
    EXPECT_EQ(text.find("Analyses a transport stream and publishes its PSI/SI, programs and rates"), 0U)
        << text;
    EXPECT_NE(text.find("\n  --print  "), std::string::npos) << text;
    EXPECT_EQ(end(), "exit code 0");
    start({"--help"});
    EXPECT_EQ(output(), text);
    EXPECT_EQ(end(), "exit code 0");
}

TEST_F(BoardProcess, SaysWhatIsWrongWithAnAddress) {
    const std::string forms = "expected udp://ADDRESS:PORT, rtp://ADDRESS:PORT or srt://ADDRESS:PORT, got ";
    EXPECT_EQ(outcome({"udp://127.0.0.1:99999"}),
              "mpegfe-board: cannot open udp://127.0.0.1:99999: " + forms +
                  "port \"99999\", where ports are numbers from 1 to 65535; check the address\nexit code 1");
    EXPECT_EQ(outcome({"rtp://300.1.1.1:5"}), "mpegfe-board: cannot open rtp://300.1.1.1:5: " + forms +
                                                  "\"300.1.1.1\", which is no IP address; check the address\n"
                                                  "exit code 1");
    EXPECT_EQ(
        outcome({"udp://239.255.1.1:5616", "--interface", "nope0"}),
        "mpegfe-board: cannot open udp://239.255.1.1:5616: expected a network interface of this machine, "
        "got \"nope0\"; check --interface; ip link shows the names\nexit code 1");
}

TEST_F(BoardProcess, SaysWhatIsWrongWithItsEndpoints) {
    zmq::context_t context;
    zmq::socket_t other(context, ZMQ_PUB);
    other.bind("tcp://*:" WIRE_PARSER_PORT);
    EXPECT_EQ(outcome({sample}),
              "mpegfe-board: cannot bind tcp://127.0.0.1:5101: expected a free endpoint, got Address already "
              "in use; another program uses port 5101; find it with: ss -ltnp 'sport = :5101'\n"
              "exit code 1");
    std::filesystem::remove_all(wire::directory);
    EXPECT_EQ(outcome({sample}),
              "mpegfe-board: cannot open the instruction endpoint: expected the directory "
              "/run/shm/zmq, got No such file or directory; make it with: mkdir -p /run/shm/zmq\n"
              "exit code 1");
    std::filesystem::create_directory(wire::directory);
}

// The addresses at which something listens, as the kernel tells them: hexadecimal, least byte first.
std::string listeners(const std::string& table) {
    std::ifstream file("/proc/net/" + table);
    std::string found;
    std::string number;
    std::string local;
    std::string remote;
    std::string state;
    std::string rest;
    std::getline(file, rest);
    while (file >> number >> local >> remote >> state && std::getline(file, rest)) {
        found += state == "0A" ? local + ' ' : "";
    }
    return found;
}

TEST_F(BoardProcess, PublishesToThisMachineUnlessSaidOtherwise) {
    if (testSupport::enterIsolation() != testSupport::Isolation::namespaces) {
        GTEST_SKIP() << "needs a network of its own, in which nobody else listens";
    }
    const auto listensWith = [this](const std::vector<std::string>& options) {
        std::vector<std::string> words = options;
        words.push_back(sample);
        start(words);
        EXPECT_TRUE(awaitConsole("playing ")) << console;
        std::string found = listeners("tcp") + listeners("tcp6");
        EXPECT_NE(stop().find("exit code 0"), std::string::npos);
        return found;
    };
    EXPECT_EQ(listensWith({}), "0100007F:13ED ");
    EXPECT_EQ(listensWith({"--bind", "127.0.0.2"}), "0200007F:13ED ");
    EXPECT_EQ(listensWith({"--bind", "lo"}), "0100007F:13ED ");
    EXPECT_EQ(listensWith({"--bind", "*"}), "00000000:13ED ");
    EXPECT_EQ(listensWith({"--bind", "0.0.0.0"}), "00000000:13ED ");
    EXPECT_EQ(listensWith({"--bind", "::1"}), "00000000000000000000000001000000:13ED ");
}

TEST_F(BoardProcess, SaysWhatIsWrongWithTheAddressToPublishOn) {
    const auto refusal = [](const std::string& address, const std::string& got) {
        return "mpegfe-board: cannot bind tcp://" + address +
               ":5101: expected an address or a network interface of this machine, got " + got +
               "; check --bind, which looks up no names; ip address shows them\nexit code 1";
    };
    EXPECT_EQ(outcome({"--bind", "localhost", sample}), refusal("localhost", "No such device"));
    EXPECT_EQ(outcome({"--bind", "nowhere0", sample}), refusal("nowhere0", "No such device"));
    EXPECT_EQ(outcome({"--bind", "127.0.0.1:5", sample}), refusal("127.0.0.1:5", "No such device"));
    EXPECT_EQ(outcome({"--bind", "192.0.2.1", sample}),
              refusal("192.0.2.1", "Cannot assign requested address"));
}

// The board behind this shell's closing of descriptors.
std::vector<std::string> without(const std::string& closing, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"/bin/sh", "-c", "exec \"$0\" \"$@\" " + closing, MPEGFE_BOARD});
    return arguments;
}

TEST_F(BoardProcess, FindsNothingInAStandardInputThatIsClosed) {
    board.emplace(without("<&-", {"--print", "-"}), std::vector<std::string>{});
    EXPECT_EQ(end(),
              "mpegfe-board: cannot play -: expected a transport stream: packets of 188 bytes that start "
              "with 0x47, got nothing; name a transport stream\nexit code 1");
}

TEST_F(BoardProcess, WritesItsConsoleIntoNoOtherFileWhereStandardErrorIsClosed) {
    const std::string lock = WIRE_DIRECTORY "/mpegfe-board.lock";
    std::filesystem::remove(lock); // of a test before
    board.emplace(without("<&- >&- 2>&-", {"--once", "--fast", sample}), std::vector<std::string>{});
    EXPECT_EQ(end(), "exit code 0");
    std::ifstream held(lock);
    const std::string text{std::istreambuf_iterator<char>(held), {}};
    EXPECT_EQ(text.find("mpegfe-board:"), std::string::npos) << text;
}

TEST_F(BoardProcess, FollowsNoLinkToAnotherFile) {
    const std::string lock = WIRE_DIRECTORY "/mpegfe-board.lock";
    std::filesystem::remove(lock); // of a test before
    std::filesystem::create_symlink("/nowhere", lock);
    EXPECT_EQ(outcome({sample}),
              "mpegfe-board: cannot use the lock " + lock +
                  ": expected a file of its own, got a link; whoever put it there may mean harm: remove it, "
                  "and see who may write to the directory\nexit code 1");
    std::filesystem::remove(lock);
}

TEST_F(BoardProcess, LeavesAnotherBoardAlone) {
    start({sample});
    ASSERT_TRUE(awaitConsole("playing "));
    testSupport::ChildProcess second({MPEGFE_BOARD, sample}, {});
    const auto status = second.waitFor(patience);
    ASSERT_TRUE(status);
    EXPECT_EQ(testSupport::describeStatus(*status), "exit code 1");
    EXPECT_EQ(Client().instruct(wire::patBit), wire::patBit);
    EXPECT_NE(stop(SIGINT).find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, PublishesOnlyTheTopicsOfTheLastWordAndEchoesIt) {
    start({sample});
    Client client;
    client.subscribe(wire::allTopicBits);
    EXPECT_EQ(client.instruct(wire::patBit | wire::sdtBit), wire::patBit | wire::sdtBit);
    EXPECT_EQ(client.nextTopics(4), "SDT PAT SDT PAT ");
    EXPECT_EQ(client.instruct(wire::catBit), wire::catBit);
    std::string topic;
    while ((topic = client.nextTopics(1)) != "CAT ") {
        EXPECT_TRUE(topic == "SDT " || topic == "PAT ") << topic;
    }
    EXPECT_EQ(client.nextTopics(2), "CAT CAT ");
    EXPECT_EQ(client.instruct(0), 0);
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, EndsThoughItsClientsLeaveAtThatMoment) {
    start({"--fast", "--interval", "10", sample});
    std::list<Client> clients(40);
    for (Client& client : clients) {
        client.subscribe(wire::allTopicBits);
        client.instruct(wire::allTopicBits);
    }
    for (Client& client : clients) {
        EXPECT_EQ(client.next().size(), 3U);
    }
    clients.resize(20);
    board->signal(SIGTERM);
    clients.clear();
    EXPECT_NE(end().find("exit code 0"), std::string::npos) << "it waits for clients that have gone";
}

TEST_F(BoardProcess, GivesAClientARoundThatEndsWithWhatItWaitsFor) {
    start({"--deterministic", sample});
    Client client;
    client.subscribe(wire::allTopicBits);
    EXPECT_EQ(client.instruct(wire::allTopicBits), wire::allTopicBits);
    EXPECT_EQ(client.nextTopics(9), "SDT AVPGM CAT NIT EIT TDT PMT TS-STATUS PAT ");
}

TEST_F(BoardProcess, SendsThreePartsOfTheRecordsSizes) {
    start({"--deterministic", sample});
    Client client;
    client.subscribe(wire::allTopicBits);
    client.instruct(wire::allTopicBits);
    for (int k = 0; k < 9; ++k) {
        const Message message = client.next();
        ASSERT_EQ(message.size(), 3U);
        EXPECT_LE(message[1].size(), 10U);
        const auto topic = std::find_if(wire::topics.begin(), wire::topics.end(),
                                        [&](const wire::Topic& one) { return message[0] == one.name; });
        ASSERT_NE(topic, wire::topics.end()) << message[0];
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

// The name of a service, the time and an event of a stream that has ATSC's tables only.
TEST_F(BoardProcess, PrintsTheRecordsOfAnAtscStream) {
    constexpr std::uint16_t psipPid = 0x1FFB;
    constexpr std::uint16_t eitPid = 0x1D00;
    constexpr std::uint16_t ettPid = 0x1E00;
    constexpr std::uint32_t gps = (60000 - 44244) * 86400 + 3661 + 18;
    streamWriter::Packets packets;
    packets.section(0, streamWriter::pat(77, {{5, 0x100}}));
    packets.section(0x100, streamWriter::pmt(5, 0x101, {}, {{0x02, 0x101, {}}}));
    packets.section(psipPid, streamWriter::mgt({{0x0100, eitPid}, {0x0200, ettPid}}));
    packets.section(psipPid, streamWriter::vct(0xC8, 77, {{"WXYZ-DT", 77, 5, 50, 0x2002, {}}}));
    packets.section(psipPid, streamWriter::stt(gps, 18));
    packets.section(eitPid,
                    streamWriter::psipEit(50, {{7, gps, 5400, streamWriter::latinString("eng", "News")}}));
    packets.section(ettPid, streamWriter::ett(50, 7, streamWriter::latinString("eng", "All of it")));
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(packets.bytes().data()),
               static_cast<std::streamsize>(packets.bytes().size()));
    start({"--print", file});
    std::string printed = output();
    EXPECT_EQ(end(), "exit code 0");
    std::erase_if(printed, [](unsigned char c) { return std::isspace(c) != 0; });
    for (const std::string part :
         {R"("pidList":[0,256,8187,7424,7680])", R"("tableId":200)", R"("pid":8187)",
          R"("serviceName":"WXYZ-DT")", R"("caFlag":1)", R"("serviceType":1)", R"("dateMjd":60000)",
          R"("timeOfDay":"01:01:01")", R"("tableId":205)", R"("tableId":203)", R"("eventId":7)",
          R"("startTime":"01:01:01")", R"("duration":"01:30:00")", R"("eventName":"News")",
          R"("description":"Allofit")"}) {
        EXPECT_NE(printed.find(part), std::string::npos) << part << " in " << printed;
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

TEST_F(BoardProcess, PrintsAllThatHasComeWhenASignalEndsIt) {
    std::string part(std::size_t{188} * 1001, '\0');
    ASSERT_TRUE(
        std::ifstream(sample, std::ios::binary).read(part.data(), static_cast<std::streamsize>(part.size())));
    std::ofstream(file, std::ios::binary) << part;
    start({"--print", file});
    const std::string ofFile = output();
    std::filesystem::remove(file);
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    start({"--print", file});
    const int pipe =
        ::open(file.c_str(), O_RDWR | O_CLOEXEC); // its other end is there, whatever the board does
    EXPECT_EQ(::write(pipe, part.data(), part.size()), static_cast<ssize_t>(part.size()));
    for (int unread = 1, look = 0; unread != 0 && look < 5000; ++look) {
        EXPECT_EQ(::ioctl(pipe, FIONREAD, &unread), 0);
        ::usleep(1000);
    }
    board->signal(SIGTERM);
    EXPECT_EQ(output(), ofFile);
    EXPECT_EQ(end(), "exit code 0");
    ::close(pipe);
}

TEST_F(BoardProcess, PublishesTheSameTwiceWithTheStreamsClockOnly) {
    std::vector<std::vector<Message>> runs;
    for (int run = 0; run < 2; ++run) {
        start({"--deterministic", "--fast", "--once", sample});
        Client client;
        client.subscribe(wire::allTopicBits);
        client.instruct(wire::allTopicBits);
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
    client.subscribe(wire::patBit);
    client.instruct(wire::patBit);
    wire::PatRecord pat = client.nextPat();
    EXPECT_EQ(pat.newStreamFlag, 0);
    EXPECT_EQ(pat.programCount, 4) << "the network entry and three programs";
    while (pat.newStreamFlag == 0 && pat.pidListCount != 0) {
        pat = client.nextPat();
    }
    EXPECT_EQ(pat.newStreamFlag, wire::newStreamMark);
    pat = client.nextPat();
    EXPECT_EQ(pat.newStreamFlag, 0);
    EXPECT_EQ(pat.programCount, 4) << "the network entry and three programs";
}

TEST_F(BoardProcess, PlaysALoopAsOneStream) {
    start({"--fast", "--interval", "10", sample});
    Client client;
    client.subscribe(wire::patBit | wire::tsStatusBit);
    client.instruct(wire::patBit | wire::tsStatusBit);
    for (int k = 0; k < 100; ++k) {
        const wire::PatRecord pat = client.nextPat();
        ASSERT_EQ(pat.newStreamFlag, 0);
        ASSERT_EQ(pat.programCount, 4);
    }
    EXPECT_EQ(stop().find("new stream"), std::string::npos);
}

// A pipe with a name that the test writes into.
class PipedStream : public BoardProcess {
  protected:
    PipedStream() {
        EXPECT_EQ(::mkfifo(file.c_str(), S_IRUSR | S_IWUSR), 0);
        pipe.open(file, std::ios::in | std::ios::out | std::ios::binary); // for writing alone it would wait
    }

    // The first packets of the sample; what comes behind them does not come.
    void send(std::size_t packets) {
        std::vector<char> bytes(packets * 188);
        std::ifstream(sample, std::ios::binary)
            .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        pipe.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush();
    }

    std::fstream pipe;
};

TEST_F(PipedStream, IsPublishedThoughItStopsBeforeMuchIsKnown) {
    start({file});
    send(100);
    Client client;
    client.subscribe(wire::patBit);
    ASSERT_EQ(client.instruct(wire::patBit), wire::patBit);
    const wire::PatRecord pat = client.nextPat();
    EXPECT_EQ(pat.programCount, 4);
    EXPECT_GT(pat.pidListCount, 5);
}

TEST_F(PipedStream, HasNoRatesWhenItHasFallenSilent) {
    const auto hasRates = [](const Message& message) {
        wire::TsStatusRecord status{};
        std::memcpy(&status, message.back().data(), std::min(sizeof status, message.back().size()));
        return std::ranges::any_of(status.pidStats, [](const auto& pid) { return pid.rate > 0; });
    };
    start({"--fast", file});
    Client client;
    client.subscribe(wire::tsStatusBit);
    ASSERT_EQ(client.instruct(wire::tsStatusBit), wire::tsStatusBit);
    send(2000); // a second and a half
    Message message = client.next();
    EXPECT_TRUE(hasRates(message));
    while (message.size() == 3 && hasRates(message)) {
        message = client.next();
    }
    EXPECT_EQ(message.size(), 3U) << "there were rates until nothing came any more";
}

// A file that plays in a loop, and what it holds instead from now on.
class ChangedFile : public BoardProcess {
  protected:
    // What the board says of it in the end.
    std::string endAfter(const std::function<void()>& change) {
        std::filesystem::copy_file(sample, file);
        start({"--fast", file});
        EXPECT_TRUE(awaitConsole("playing "));
        change();
        return end();
    }

    std::string complaint(const std::string& got) const {
        return "mpegfe-board: cannot go on with " + file + ": expected the packets that it had before, got " +
               got + "; check what writes it\nexit code 1";
    }
};

TEST_F(ChangedFile, EndsTheBoardWhenItIsEmpty) {
    const std::string said = endAfter([this] { std::filesystem::resize_file(file, 0); });
    EXPECT_NE(said.find(complaint("an empty file")), std::string::npos) << said;
}

TEST_F(ChangedFile, EndsTheBoardWhenItIsShorterThanAPacket) {
    const std::string said = endAfter([this] { std::filesystem::resize_file(file, 100); });
    EXPECT_NE(said.find(complaint("no such packets in 100 bytes")), std::string::npos) << said;
}

// As long as it was: so each pass reads all of it, even while it is being written.
TEST_F(ChangedFile, EndsTheBoardWhenItHoldsNoPacketsAnyMore) {
    const std::string size = std::to_string(std::filesystem::file_size(sample));
    const std::string said = endAfter([this] {
        std::fstream(file, std::ios::in | std::ios::out | std::ios::binary)
            << std::string(std::filesystem::file_size(sample), 'x');
    });
    EXPECT_NE(said.find(complaint("no such packets in " + size + " bytes")), std::string::npos) << said;
}

} // namespace
