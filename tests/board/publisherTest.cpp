// The board's two sockets and clients that are slow, gone or wrong.
#include "publish/publisher.h"
#include "boardProcess.h"
#include "publish/instructionChannel.h"

#include "wire/endpoints.h"

#include <cstring>
#include <fstream>
#include <memory>
#include <poll.h>
#include <thread>

namespace {

using namespace boardProcess;

// A client that says anything over the instruction channel.
class Speaker {
  public:
    explicit Speaker(zmq::socket_type type) : socket(context, type) {
        socket.set(zmq::sockopt::rcvtimeo, patience.count());
        socket.set(zmq::sockopt::linger, 0);
        socket.connect(wire::instructionEndpoint);
    }

    void say(const Message& parts) {
        for (std::size_t k = 0; k < parts.size(); ++k) {
            socket.send(zmq::buffer(parts[k]),
                        k + 1 < parts.size() ? zmq::send_flags::sndmore : zmq::send_flags::none);
        }
    }

    // The reply to a request of these parts.
    std::string ask(const Message& parts) {
        say(parts);
        return reply();
    }

    std::string reply() {
        zmq::message_t reply;
        return socket.recv(reply) ? reply.to_string() : "no reply";
    }

    // The next message, with what a REQ keeps to itself.
    Message replyParts() {
        Message parts;
        zmq::message_t part;
        do {
            if (!socket.recv(part)) {
                return {"no reply"};
            }
            parts.push_back(part.to_string());
        } while (part.more());
        return parts;
    }

    // From now on what has been said still goes out when it goes.
    void leave() {
        socket.set(zmq::sockopt::linger, patience.count());
    }

  private:
    zmq::context_t context;
    zmq::socket_t socket;
};

// A client of all topics that can hold next to nothing and reads only when told to.
class StallingClient {
  public:
    StallingClient() {
        subscriber.set(zmq::sockopt::rcvhwm, 1);
        subscriber.set(zmq::sockopt::rcvbuf, 4096);
        subscriber.set(zmq::sockopt::linger, 0);
        subscriber.set(zmq::sockopt::rcvtimeo, patience.count());
        subscriber.connect("tcp://127.0.0.1:" WIRE_PARSER_PORT);
        subscriber.set(zmq::sockopt::subscribe, "");
    }

    // The running number of the next message; "nothing" when none comes in time.
    std::string nextNumber() {
        zmq::message_t topic;
        zmq::message_t number;
        zmq::message_t record;
        if (!subscriber.recv(topic) || !subscriber.recv(number) || !subscriber.recv(record)) {
            return "nothing";
        }
        return number.to_string();
    }

  private:
    zmq::context_t context;
    zmq::socket_t subscriber{context, ZMQ_SUB};
};

// One who subscribes by sending, and so can send anything to where clients subscribe.
class Stranger {
  public:
    Stranger() {
        socket.set(zmq::sockopt::linger, 0);
        socket.connect("tcp://127.0.0.1:" WIRE_PARSER_PORT);
    }

    void say(const std::string& text) {
        socket.send(zmq::buffer(text), zmq::send_flags::none);
    }

  private:
    zmq::context_t context;
    zmq::socket_t socket{context, ZMQ_XSUB};
};

// A publisher in this process, so that the test says when it does what.
class PublisherInHand : public BoardProcess {
  protected:
    board::Publisher publisher{board::PublishOptions{}};
    wire::RecordSet records{};
};

board::Instant atOnce() {
    return board::Instant(0);
}

const std::string allTopics{static_cast<char>(wire::allTopicBits & 0xFF),
                            static_cast<char>(wire::allTopicBits >> 8)};

// Each is more than what lies between board and client can hold.
const std::string largestTopic{static_cast<char>(wire::avPgmBit & 0xFF),
                               static_cast<char>(wire::avPgmBit >> 8)};

TEST_F(BoardProcess, UnderstandsTheNextWordAfterOneThatIsNone) {
    start({sample});
    ASSERT_TRUE(awaitConsole("playing ")); // words are answered before that line, too
    Speaker client(zmq::socket_type::req);
    const std::string word{wire::patBit, 0};
    EXPECT_EQ(client.ask({word, word, "more"}).size(), 2U);
    EXPECT_EQ(client.ask({""}).size(), 2U);
    EXPECT_EQ(client.ask({"", word}).size(), 2U);
    EXPECT_EQ(client.ask({word + "x"}).size(), 2U);
    EXPECT_EQ(client.ask({word}), word);
    const std::string said = stop();
    const auto refusal = [](const std::string& got) {
        return "mpegfe-board: cannot use an instruction: expected 2 bytes, got " + got +
               "; the topics stay as they were\n";
    };
    EXPECT_NE(said.find(refusal("3 parts") + refusal("0") + refusal("2 parts") + refusal("3") +
                        "mpegfe-board: publishing MPEG-STRUCT-PAT\n"),
              std::string::npos)
        << said;
}

TEST_F(BoardProcess, PublishesOnAfterARequestWithoutAnEnvelope) {
    start({"--fast", "--interval", "10", sample});
    Client client;
    client.subscribe(wire::allTopicBits);
    client.instruct(wire::allTopicBits);
    Speaker stranger(zmq::socket_type::dealer);
    stranger.say({"no envelope"});
    stranger.say({"none", "either"});
    for (int k = 0; k < 1000; ++k) { // by far more than are under way when the requests come
        ASSERT_EQ(client.next().size(), 3U) << k;
    }
    EXPECT_EQ(client.instruct(wire::patBit), wire::patBit);
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, LosesNoMessageForASlowClientWithTheStreamsClockOnly) {
    start({"--deterministic", "--fast", "--interval", "10", sample});
    StallingClient client;
    Speaker(zmq::socket_type::req).ask({allTopics});
    for (int k = 0; k < 5000; ++k) {
        ASSERT_EQ(client.nextNumber(), std::to_string(k));
    }
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, StopsThoughTheClientThatItWaitsForStalls) {
    start({"--deterministic", "--fast", "--interval", "10", sample});
    const StallingClient client;
    Speaker speaker(zmq::socket_type::req);
    for (int k = 0; k < 3; ++k) { // the client that stalls may still instruct
        EXPECT_EQ(speaker.ask({allTopics}), allTopics);
        ASSERT_TRUE(awaitConsole("playing "));
        while (!board->sleeps()) {
        }
    }
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, StopsThoughItStillSendsToTheClientThatItWaitsFor) {
    if (testSupport::enterIsolation() != testSupport::Isolation::namespaces) {
        GTEST_SKIP() << "needs a network of its own, to make its buffers small";
    }
    std::ofstream("/proc/sys/net/ipv4/tcp_wmem") << "4096 4096 4096";
    start({"--deterministic", "--fast", "--once", "--interval", "1000", sample});
    StallingClient client;
    Speaker(zmq::socket_type::req).ask({largestTopic});
    pollfd said{board->errorDescriptor(), POLLIN, 0};
    while (console.find("stopped after") == std::string::npos) {
        if (::poll(&said, 1, 100) > 0) { // one message at a time, so that the last ones stay on their way
            ASSERT_TRUE(readConsole());
        } else {
            client.nextNumber();
        }
    }
    while (!board->sleeps()) { // the client has not taken the last messages
    }
    const auto asked = std::chrono::steady_clock::now();
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
    EXPECT_LT(std::chrono::steady_clock::now() - asked, board::tunables::slowClientPatience / 2);
}

TEST_F(BoardProcess, GoesOnWhenTheClientThatItWaitsForLeaves) {
    start({"--deterministic", "--fast", "--interval", "10", sample});
    {
        const StallingClient client;
        Speaker(zmq::socket_type::req).ask({allTopics});
        ASSERT_TRUE(awaitConsole("playing "));
        while (!board->sleeps()) {
        }
    }
    Client other;
    other.subscribe(wire::allTopicBits);
    for (int k = 0; k < 100; ++k) {
        ASSERT_EQ(other.next().size(), 3U) << k;
    }
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, LetsClientsInBehindAStrangersMessages) {
    start({sample});
    ASSERT_TRUE(awaitConsole("playing "));
    for (int k = 0; k < 10; ++k) {
        Stranger stranger;
        for (int count = 0; count < 40; ++count) {
            stranger.say("nonsense");
            stranger.say("");
        }
        Client first;
        Client second;
        first.subscribe(wire::patBit);
        second.subscribe(wire::sdtBit);
        EXPECT_EQ(first.instruct(wire::patBit | wire::sdtBit), wire::patBit | wire::sdtBit);
        ASSERT_EQ(first.nextTopics(2), "PAT PAT ") << k;
        ASSERT_EQ(second.nextTopics(2), "SDT SDT ") << k;
    }
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(BoardProcess, RepliesThoughTheClientBeforeHasGoneBeforeItsReply) {
    start({"--fast", sample});
    const std::string word{wire::patBit, 0};
    for (int k = 0; k < 30; ++k) {
        {
            Speaker leaving(zmq::socket_type::req);
            leaving.say({word});
            leaving.leave();
        }
        ASSERT_EQ(Speaker(zmq::socket_type::req).ask({word}), word) << k;
    }
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

// The endpoint alone, whose connections the test hears of.
class ChannelInHand : public BoardProcess {
  protected:
    ChannelInHand() {
        zmq_socket_monitor(channel.socket().handle(), "inproc://events",
                           ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_DISCONNECTED);
        events.set(zmq::sockopt::rcvtimeo, patience.count());
        events.connect("inproc://events");
        channel.socket().bind(wire::instructionEndpoint);
    }
    ~ChannelInHand() override {
        zmq_socket_monitor(channel.socket().handle(), nullptr, 0);
    }

    // Whether this is the next that happens.
    bool happens(std::uint16_t expected) {
        zmq::message_t event;
        zmq::message_t place;
        std::uint16_t number = 0;
        if (events.recv(event) && events.recv(place)) {
            std::memcpy(&number, event.data(), sizeof number);
        }
        return number == expected;
    }

    // Takes messages until one is a word. Whether that came.
    bool takesAWord() {
        zmq_pollitem_t item{channel.socket().handle(), 0, ZMQ_POLLIN, 0};
        while (zmq_poll(&item, 1, patience.count()) > 0) {
            const auto instruction = channel.take();
            if (instruction && instruction->usable()) {
                return true;
            }
        }
        return false;
    }

    zmq::context_t context;
    board::InstructionChannel channel{context};
    zmq::socket_t events{context, ZMQ_PAIR};
};

// What it left has no way back, and it has gone when that is taken. A REP keeps a reply to nobody open then,
// and the next word's becomes its end.
TEST_F(ChannelInHand, RepliesThoughAPeerHasLeftAMessageWithoutAWayBack) {
    const std::string word{wire::patBit, 0};
    for (int k = 0; k < 10; ++k) {
        {
            Speaker leaving(zmq::socket_type::dealer);
            leaving.say(k % 2 == 0 ? Message{"none"} : Message{"none", "either"});
            leaving.leave();
        }
        ASSERT_TRUE(happens(ZMQ_EVENT_HANDSHAKE_SUCCEEDED));
        ASSERT_TRUE(happens(ZMQ_EVENT_DISCONNECTED));
        {
            Speaker client(zmq::socket_type::req);
            client.say({word});
            ASSERT_TRUE(happens(ZMQ_EVENT_HANDSHAKE_SUCCEEDED));
            ASSERT_TRUE(takesAWord());
            ASSERT_EQ(client.reply(), word) << k;
        }
        ASSERT_TRUE(happens(ZMQ_EVENT_DISCONNECTED));
    }
}

// As devices between client and board put it there; and what no REQ sends.
TEST_F(BoardProcess, RepliesTheWayThatAWordCame) {
    start({sample});
    const std::string word{wire::patBit, 0};
    Speaker device(zmq::socket_type::dealer);
    device.say({"one", "two", "", word});
    EXPECT_EQ(device.replyParts(), (Message{"one", "two", "", word}));
    device.say({word});
    device.say({""});
    device.say(Message(40, "way"));
    device.say({"", word});
    EXPECT_EQ(device.replyParts(), (Message{"", word}));
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(PublisherInHand, LeavesAClientThePauseToSubscribeFromWhenItCame) {
    using namespace std::chrono_literals;
    Speaker client(zmq::socket_type::req);
    client.say({allTopics});
    bool came = false;
    publisher.attend(patience, -1, [&] {
        came = client.reply() == allTopics;
        return 50ms;
    });
    EXPECT_TRUE(came) << "the time was asked before the wait";
    EXPECT_FALSE(publisher.clientJoined(69ms));
    EXPECT_TRUE(publisher.clientJoined(70ms));
}

TEST_F(PublisherInHand, LeavesAClientOutOfARoundInItsPause) {
    using namespace std::chrono_literals;
    Client client;
    std::thread instructing([&client] { client.instruct(wire::patBit); });
    publisher.attend(patience, -1, atOnce);
    instructing.join();
    publisher.acceptClients();
    client.subscribe(wire::patBit);
    publisher.attend(patience, -1, atOnce);
    publisher.publishRound(records, wire::allTopicBits, 19ms);
    publisher.publishRound(records, wire::allTopicBits, 20ms);
    EXPECT_EQ(client.next(), (Message{"MPEG-STRUCT-PAT", "1", std::string(sizeof(wire::PatRecord), '\0')}));
}

TEST_F(PublisherInHand, TakesNoSubscriptionBackForAMessageThatIsNone) {
    Client client;
    client.subscribe(wire::patBit);
    std::thread instructing([&client] { client.instruct(wire::patBit); });
    publisher.awaitClient();
    instructing.join();
    Stranger stranger;
    stranger.say("\2MPEG-STRUCT-PAT");
    publisher.attend(patience, -1, atOnce);
    publisher.acceptClients();
    EXPECT_TRUE(publisher.clientReady());
    publisher.publishRound(records, wire::allTopicBits, board::Instant(0));
    EXPECT_EQ(client.nextTopics(1), "PAT ");
}

} // namespace
