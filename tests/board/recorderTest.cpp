// The real board recording another, and replaying recordings.
#include "boardProcess.h"
#include "replay/recording.h"

#include "wire/endpoints.h"

#include <filesystem>

namespace {

using namespace boardProcess;
using namespace std::chrono_literals;

// Writes recordings and publishes as a board does.
class Recorder : public BoardProcess {
  protected:
    struct Row {
        std::chrono::microseconds time;
        std::string topic;
        std::size_t size; // of its record
    };

    void writeRecording(const std::vector<Row>& rows) const {
        board::RecordingWriter writer(file);
        std::uint8_t content = 0;
        for (const Row& row : rows) {
            EXPECT_FALSE(writer.append({row.time, row.topic, "", std::vector(row.size, ++content)}));
        }
    }

    void cutOff(std::uintmax_t bytes) const {
        std::filesystem::resize_file(file, std::filesystem::file_size(file) - bytes);
    }

    // The recording's topics and the first byte of their records.
    std::string recorded() const {
        std::string text;
        board::RecordingReader reader(file);
        while (const auto message = reader.next()) {
            text += message->topic + " " + static_cast<char>(message->record.front()) + "; ";
        }
        return text;
    }

    std::string replaying() const {
        return "mpegfe-board: replaying " + file +
               ", publishing on tcp://127.0.0.1:5101, instructed over ipc:///run/shm/zmq/uRO_MMR_MPEGFE-1\n";
    }
};

// A publisher of anything, in the place of a board.
class Publisher {
  public:
    Publisher() {
        socket.set(zmq::sockopt::linger, 0);
        socket.set(zmq::sockopt::rcvtimeo, patience.count());
        socket.bind("tcp://*:" WIRE_PARSER_PORT);
    }

    // Whether somebody subscribed in time.
    bool awaitSubscriber() {
        zmq::message_t subscription;
        return socket.recv(subscription).has_value();
    }

    void publish(const Message& parts) {
        for (std::size_t k = 0; k < parts.size(); ++k) {
            socket.send(zmq::buffer(parts[k]),
                        k + 1 < parts.size() ? zmq::send_flags::sndmore : zmq::send_flags::none);
        }
    }

  private:
    zmq::context_t context;
    zmq::socket_t socket{context, ZMQ_XPUB};
};

TEST_F(Recorder, ReplaysWhatItRecorded) {
    {
        testSupport::ChildProcess source({MPEGFE_BOARD, sample}, {});
        EXPECT_NE(outcome({"--record", file, "--instruct", "--duration", "3000"}).find("exit code 0"),
                  std::string::npos)
            << console;
    }
    start({"--replay", file, "--deterministic", "--once"});
    Client client;
    client.subscribe(wire::allTopicBits);
    client.instruct(wire::allTopicBits);
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

TEST_F(Recorder, EndsInTimeThoughNothingArrives) {
    const std::string expected =
        ": expected messages of the board at tcp://127.0.0.1:5101, got none in 3500 ms; start the board "
        "first, and let a client or --instruct ask it for topics\nexit code 1";
    EXPECT_EQ(outcome({"--record", file, "--duration", "3500"}),
              "mpegfe-board: nothing arrives: expected messages of the board at tcp://127.0.0.1:5101, got "
              "none in 3000 ms; still waiting, for a board that has been asked for topics\n"
              "mpegfe-board: recorded nothing to " +
                  file + expected);
}

TEST_F(Recorder, StopsThoughNothingArrives) {
    start({"--record", file});
    ASSERT_TRUE(awaitConsole("nothing arrives"));
    EXPECT_NE(stop().find("recorded 0 messages to " + file + "\nexit code 0"), std::string::npos) << console;
}

TEST_F(Recorder, SaysThatNoBoardTakesItsInstruction) {
    EXPECT_EQ(outcome({"--record", file, "--instruct"}),
              "mpegfe-board: cannot instruct the board: expected a reply to the instruction word, got none; "
              "start the board first, or leave out --instruct\nexit code 1");
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Recorder, SaysThatItsHostIsNoAddress) {
    EXPECT_EQ(outcome({"--record", file, "--host", "no host"}),
              "mpegfe-board: cannot connect to tcp://no host:5101: expected the address of a board, got "
              "Invalid argument; check --host\nexit code 1");
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Recorder, LeavesAnOlderRecordingAloneWhenItIsStoppedBeforeTheBoardAnswers) {
    writeRecording({{0us, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)}});
    const std::string before = recorded();
    zmq::context_t context;
    zmq::socket_t silentBoard(context, ZMQ_REP);
    silentBoard.set(zmq::sockopt::rcvtimeo, patience.count());
    silentBoard.bind(wire::instructionEndpoint);
    start({"--record", file, "--instruct"});
    zmq::message_t word;
    ASSERT_TRUE(silentBoard.recv(word));
    EXPECT_EQ(stop(), "exit code 0");
    EXPECT_EQ(recorded(), before);
}

TEST_F(Recorder, LeavesOutBrokenMessagesAndSaysSoOnceAKind) {
    Publisher publisher;
    start({"--record", file});
    ASSERT_TRUE(publisher.awaitSubscriber());
    publisher.publish({"MPEG-STRUCT-PAT", "0", "a"});
    for (const char* number : {"1", "2"}) {
        publisher.publish({"MPEG-STRUCT-PAT", number});
        publisher.publish({"MPEG-STRUCT-PAT", number, "b", "more"});
        publisher.publish({std::string(256, 't'), number, "c"});
        publisher.publish({"MPEG-STRUCT-PAT", std::string(300, '1'), "d"});
    }
    for (int k = 0; k < 65; ++k) {
        publisher.publish({"topic " + std::to_string(k), "3", "e"});
    }
    publisher.publish({"MPEG-STRUCT-PAT", "4", "f"});
    publisher.publish({"MPEG-STRUCT-PAT", "5", std::string(1024 * 1024 + 1, 'g')});
    ASSERT_TRUE(awaitConsole("a record of")) << "it comes last, so that all have come";
    const std::string left = "mpegfe-board: left out a message: expected ";
    const std::string more = "; further ones are left out without a line\n";
    EXPECT_EQ(stop(), left + "3 parts, got 2 parts" + more + left +
                          "a topic of at most 255 bytes, got 256 bytes" + more + left +
                          "a second part of at most 255 bytes, got 300 bytes" + more + left +
                          "at most 64 topics, got another one" + more + left +
                          "a record of at most 1048576 bytes, got 1048577 bytes" + more +
                          "mpegfe-board: recorded 65 messages to " + file + ", left out 11\nexit code 0");
    std::string expected = "MPEG-STRUCT-PAT a; ";
    for (int k = 0; k < 63; ++k) {
        expected += "topic " + std::to_string(k) + " e; ";
    }
    EXPECT_EQ(recorded(), expected + "MPEG-STRUCT-PAT f; ");
}

TEST_F(Recorder, ReplaysACutOffRecordingUpToItsLastWholeMessage) {
    writeRecording({{0us, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)},
                    {1ms, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)}});
    cutOff(1);
    start({"--replay", file, "--deterministic", "--once"});
    Client client;
    client.subscribe(wire::patBit);
    EXPECT_EQ(client.instruct(wire::patBit), wire::patBit);
    EXPECT_EQ(client.next(), (Message{"MPEG-STRUCT-PAT", "0", std::string(sizeof(wire::PatRecord), '\1')}));
    EXPECT_EQ(end(),
              replaying() + "mpegfe-board: publishing MPEG-STRUCT-PAT\nmpegfe-board: " + file +
                  " is cut off: expected the rest of message 2, got the end of the file; it is replayed up "
                  "to the message before\nexit code 0");
}

TEST_F(Recorder, ReplaysACutOffRecordingOverAndOver) {
    writeRecording({{0us, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)},
                    {1ms, "MPEG-STRUCT-SDT", sizeof(wire::SdtRecord)}});
    cutOff(sizeof(wire::SdtRecord));
    start({"--replay", file, "--deterministic", "--interval", "1"});
    Client client;
    client.subscribe(wire::patBit);
    EXPECT_EQ(client.instruct(wire::patBit), wire::patBit);
    EXPECT_EQ(client.nextTopics(3), "PAT PAT PAT ");
    EXPECT_EQ(stop(),
              replaying() + "mpegfe-board: publishing MPEG-STRUCT-PAT\nmpegfe-board: " + file +
                  " is cut off: expected the rest of message 2, got the end of the file; it is replayed "
                  "up to the message before\nexit code 0");
}

TEST_F(Recorder, RefusesARecordingWithoutAUsableMessage) {
    const std::string symptom = "mpegfe-board: cannot replay " + file +
                                ": expected a message of a known topic with a record of its size, got ";
    const std::string meaning = "; record a board of this kind while it publishes\nexit code 1";
    writeRecording({});
    EXPECT_EQ(outcome({"--replay", file}), symptom + "no message" + meaning);
    writeRecording({{0us, "MPEG-STRUCT-PAT", 3}, {1ms, "MPEG-STRUCT-NEW", 8}});
    EXPECT_EQ(outcome({"--replay", file}), symptom + "2 other messages" + meaning);
    cutOff(1);
    EXPECT_EQ(outcome({"--replay", file}), symptom + "1 other message" + meaning);
}

TEST_F(Recorder, TellsEachTopicThatItCannotReplayOnce) {
    writeRecording({{0us, "MPEG-STRUCT-CAT", 3},
                    {0us, "a\nb\x1B[2J", 8},
                    {0us, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)},
                    {0us, "a\nb\x1B[2J", 9},
                    {0us, "MPEG-STRUCT-CAT", 4}});
    EXPECT_EQ(outcome({"--replay", file, "--once"}),
              replaying() + "mpegfe-board: left out messages of topic MPEG-STRUCT-CAT: expected records of " +
                  std::to_string(sizeof(wire::CatRecord)) +
                  " bytes, got 3 bytes; they are of another kind of board\n"
                  "mpegfe-board: left out messages of topic a?b?[2J: expected a topic of this board, got "
                  "another; they are of another kind of board\nexit code 0");
}

TEST_F(Recorder, ReplaysNoMessageBeforeItsTime) {
    const std::vector<Row> rows{{0us, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)},
                                {150ms, "MPEG-STRUCT-SDT", sizeof(wire::SdtRecord)},
                                {150ms, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)},
                                {220ms, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)},
                                {600ms, "MPEG-STRUCT-SDT", sizeof(wire::SdtRecord)}};
    writeRecording(rows);
    start({"--replay", file, "--deterministic", "--once"});
    ASSERT_TRUE(awaitConsole("replaying")) << "its start would count as part of the pauses";
    Client client;
    client.subscribe(wire::patBit | wire::sdtBit);
    const auto begin = std::chrono::steady_clock::now(); // the replay begins with the instruction
    EXPECT_EQ(client.instruct(wire::patBit | wire::sdtBit), wire::patBit | wire::sdtBit);
    char content = 0;
    for (const Row& row : rows) {
        EXPECT_EQ(client.next().back(), std::string(row.size, ++content));
        EXPECT_GE(std::chrono::steady_clock::now() - begin, row.time) << "message " << int{content};
    }
    EXPECT_NE(end().find("exit code 0"), std::string::npos);
}

TEST_F(Recorder, TakesAnIntervalForARecordingOfAMoment) {
    writeRecording({{0us, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)}});
    start({"--replay", file, "--deterministic", "--interval", "100"});
    Client client;
    client.subscribe(wire::patBit);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(client.instruct(wire::patBit), wire::patBit);
    EXPECT_EQ(client.nextTopics(5), "PAT PAT PAT PAT PAT ");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 400ms);
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(Recorder, AnswersWhileItWaitsForAMessageThatItCannotReplay) {
    writeRecording({{0us, "MPEG-STRUCT-PAT", sizeof(wire::PatRecord)}, {1h, "another", 1}});
    start({"--replay", file});
    ASSERT_TRUE(awaitConsole("replaying"));
    Client client;
    client.subscribe(wire::patBit);
    EXPECT_EQ(client.instruct(wire::patBit), wire::patBit);
    EXPECT_EQ(client.nextTopics(1), "PAT ");
    EXPECT_EQ(stop(SIGINT), replaying() + "mpegfe-board: publishing MPEG-STRUCT-PAT\nexit code 0");
}

} // namespace
