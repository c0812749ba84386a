// Whatever was bound at an endpoint and whatever it sent, in whatever the service was doing: the next good
// peer is served within 2 s, and the console shows nothing of it.
#include "../support/isolation.h"
#include "badPeer.h"
#include "cases.h"
#include "channelPeers.h"
#include "recordText.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <sstream>
#include <string>

namespace serviceTest {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto promptly = std::chrono::seconds(2);

// What the service waits in when the peer is replaced.
enum class Wait { answer, records, acknowledgement, request };

constexpr std::array<Wait, 4> waits{Wait::answer, Wait::records, Wait::acknowledgement, Wait::request};

RecordBook readRecords() {
    std::ifstream file(MPEGFE_SERVICE_CASES "/records");
    RecordBook book;
    RecordReader reader(book);
    for (std::string line; std::getline(file, line);) {
        const std::vector<std::string> words = splitWords(line);
        if (!words.empty() && !words[0].starts_with('#')) {
            reader.readLine(words);
        }
    }
    return book;
}

RunOptions unrecorded() {
    RunOptions options;
    options.patience = std::chrono::seconds(10);
    options.recorded = false;
    return options;
}

std::string word(std::uint16_t bits) {
    return {static_cast<char>(bits & 0xFF), static_cast<char>(bits >> 8)};
}

// A service with its four peers, and one request from its start to its end.
class Exchange {
  public:
    Exchange() : service(unrecorded()) {
        peers.startAll();
        service.startService();
        awaitConsole("Connect Trufios REQ to mpegFE REP OK\n", 0);
    }

    // What happens to a peer while the service waits for this. Nothing when there is no such moment.
    struct Disturbance {
        Wait wait;
        Channel channel;
        std::function<void()> happens;
    };

    // A request for a table up to its document, and its "off". Returns what the console showed of it.
    std::string serve(const std::optional<Disturbance>& disturbance = std::nullopt) {
        current = disturbance;
        peers.forgetSubscriptions();
        const std::size_t start = service.console().size();
        awaitAnswer();
        awaitRecords();
        awaitAcknowledgement();
        awaitConsole("Update GUI/WEB MPEG Metadata\n", start);
        disturbIn(Wait::request);
        request(R"({"dataStream":"TDT","status":"off"})");
        takeInstruction(0x001);
        answer(0x001);
        awaitConsole("Exit MPEG Processing\n", start);
        return service.console().substr(start);
    }

    template <typename Found>
    auto await(const std::string& what, Found&& found) {
        decltype(found()) result{};
        service.watchUntil(what, [&] { return static_cast<bool>(result = found()); });
        return result;
    }

    void takeInstruction(std::uint16_t expected) {
        const auto heard = await("an instruction", [&] { return peers.instruction(); });
        EXPECT_EQ(*heard, expected);
    }

    void request(const std::string& text) {
        peers.sendRequest(text);
        EXPECT_EQ(*await("an acknowledgement", [&] { return peers.acknowledgement(); }),
                  R"({"reply": "ack"})");
    }

    void publish(const std::string& name) {
        const Record& record = records.at(name);
        peers.publish({record.topic, "1", record.bytes});
    }

    // With whatever the parser is to send behind its answer.
    void answer(std::uint16_t bits) {
        testSupport::Parts parts{word(bits)};
        parts.insert(parts.end(), furtherParts.begin(), furtherParts.end());
        peers.answerInstruction(parts);
    }

    testSupport::Parts furtherParts;
    ChannelPeers peers;
    ServiceRun service;
    const RecordBook records = readRecords();

  private:
    bool disturbs(Wait wait, Channel channel) const {
        return current && current->wait == wait && current->channel == channel;
    }
    void disturbIn(Wait wait) {
        if (current && current->wait == wait) {
            current->happens();
        }
    }

    // An instruction that no good peer has heard yet reaches the next one; one that was heard is told again.
    void awaitAnswer() {
        const bool unheard = disturbs(Wait::answer, Channel::instructions);
        if (unheard) {
            peers.stop(Channel::instructions);
        }
        request(R"({"dataStream":"TDT","status":"on"})");
        if (unheard) {
            current->happens();
        }
        takeInstruction(0x025);
        if (!unheard) {
            disturbIn(Wait::answer);
        }
        answer(0x025);
    }

    void awaitRecords() {
        awaitSubscriptions();
        disturbIn(Wait::records);
        if (disturbs(Wait::records, Channel::instructions)) {
            takeInstruction(0x025);
            answer(0x025);
        }
        awaitSubscriptions();
        if (disturbs(Wait::acknowledgement, Channel::documents)) {
            peers.stop(Channel::documents);
        }
        publish("TDT stream");
        publish("PAT stream");
        publish("TS-STATUS stream");
    }

    void awaitSubscriptions() {
        await("subscriptions", [&] { return peers.subscriptions() == 3; });
    }

    // The same holds for a document, but one that was heard is not told again.
    void awaitAcknowledgement() {
        const bool unheard = disturbs(Wait::acknowledgement, Channel::documents);
        if (unheard) {
            current->happens();
        }
        await("a document", [&] { return peers.document(); });
        if (!unheard) {
            disturbIn(Wait::acknowledgement);
        }
        peers.answerDocument({R"({"reply": "ack"})"});
    }

    void awaitConsole(const std::string& line, std::size_t start) {
        service.waitUntil("the console line " + line,
                          [&] { return service.console().find(line, start) != std::string::npos; });
    }

    std::optional<Disturbance> current;
};

std::string randomBytes(std::size_t count) {
    std::mt19937 random(1);
    std::string bytes(count, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

struct BadKind {
    const char* name;
    BadPeerScript (*script)(const char* goodType);
    bool holds = false;       // the service has no cause to end the connection
    bool shakesHands = false; // it is a peer, if not for long: a document that it has taken is not sent again
};

// The head of a frame of 2^63 - 1 bytes, with these flags.
std::string hugeFrame(char flags) {
    std::string bytes(9, '\xFF');
    bytes[0] = flags;
    bytes[1] = '\x7F';
    return bytes;
}

const BadKind badKinds[] = {
    {"WrongSocketType",
     [](const char*) { return BadPeerScript{.says = greeting("NULL") + readyCommand("PULL")}; }},
    {"WrongMechanism", [](const char*) { return BadPeerScript{.says = greeting("CURVE")}; }},
    {"NoZmtp", [](const char*) { return BadPeerScript{.says = "HTTP/1.1 400 Bad Request\r\n\r\n"}; }, true},
    {"NoZmtpAndCloses",
     [](const char*) { return BadPeerScript{.says = "HTTP/1.1 400 Bad Request\r\n\r\n", .closes = true}; }},
    {"MalformedGreeting",
     [](const char*) {
         return BadPeerScript{.says = std::string("\xFF\0\0\0\0\0\0\0\x01\x7F\x03", 11) +
                                      std::string(53, '\xFF')};
     }},
    {"MalformedReady",
     [](const char*) {
         return BadPeerScript{.says = greeting("NULL") + std::string("\x04\x0A\x05READY\xFFxyz", 12)};
     }},
    {"UnknownCommand",
     [](const char*) {
         return BadPeerScript{.says = greeting("NULL") + std::string("\x04\x06\x05STEAD", 8)};
     }},
    {"MessageBeforeReady",
     [](const char*) { return BadPeerScript{.says = greeting("NULL") + std::string("\0\x05hello", 7)}; }},
    {"OversizedCommand",
     [](const char*) { return BadPeerScript{.says = greeting("NULL") + hugeFrame('\x06')}; }},
    {"OversizedMessage",
     [](const char* type) {
         return BadPeerScript{.says = greeting("NULL") + readyCommand(type) + hugeFrame('\x02')};
     },
     false, true},
    {"ClosesAtOnce", [](const char*) { return BadPeerScript{.closesUnheard = true}; }},
    {"ClosesAfterTheGreeting",
     [](const char*) { return BadPeerScript{.says = greeting("NULL"), .closes = true}; }},
    {"ClosesAfterTheHandshake",
     [](const char* type) {
         return BadPeerScript{.says = greeting("NULL") + readyCommand(type), .closes = true};
     },
     false, true},
    {"GarbageForEver",
     [](const char*) { return BadPeerScript{.says = "\xFF", .saysForEver = randomBytes(100000)}; }},
    {"GarbageAfterTheGreeting",
     [](const char*) { return BadPeerScript{.says = greeting("NULL"), .saysForEver = randomBytes(100000)}; }},
    {"SaysNothing", [](const char*) { return BadPeerScript{}; }, true},
    {"ReadsNothing",
     [](const char*) { return BadPeerScript{.says = greeting("NULL"), .readsNothing = true}; }, true},
};

struct Pairing {
    const BadKind* kind;
    Channel channel;
};

void PrintTo(const Pairing& pairing, std::ostream* stream) {
    *stream << pairing.kind->name << " at " << rowOf(pairing.channel).name;
}

std::vector<Pairing> allPairings() {
    std::vector<Pairing> all;
    for (const BadKind& kind : badKinds) {
        for (const Channel channel : channels) {
            all.push_back({&kind, channel});
        }
    }
    return all;
}

std::string pairingName(const testing::TestParamInfo<Pairing>& info) {
    return std::string(info.param.kind->name) + "At_" + rowOf(info.param.channel).name;
}

class BadPeers : public testing::TestWithParam<Pairing> {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
    }
};

// A peer that ends the connection, or has it ended, has met the service twice before it goes: the service has
// come again by itself.
TEST_P(BadPeers, ThatGoAreForgotten) {
    const auto& [kind, channel] = GetParam();
    const bool ofTheFeed = channel == Channel::records || channel == Channel::instructions;
    if (MPEGFE_SANITIZED && ofTheFeed && std::string(kind->name).starts_with("Oversized")) {
        GTEST_SKIP()
            << "a sanitizer ends a process that asks for so much memory; without one, ZeroMQ is refused it";
    }
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    for (const Wait wait : waits) {
        if (kind->shakesHands && channel == Channel::documents && wait == Wait::acknowledgement) {
            continue;
        }
        SCOPED_TRACE("wait " + std::to_string(static_cast<int>(wait)));
        Clock::time_point back;
        const auto happens = [&, kind = kind, channel = channel] {
            exchange.peers.stop(channel);
            {
                BadPeer peer(rowOf(channel).endpoint, kind->script(rowOf(channel).peerType));
                exchange.await("connections to the bad peer",
                               [&] { return peer.connections() >= (kind->holds ? 1 : 2); });
                if (kind->holds) {
                    exchange.service.letPass(std::chrono::milliseconds(300));
                }
            }
            back = Clock::now();
            exchange.peers.start(channel);
        };
        EXPECT_EQ(exchange.serve(Exchange::Disturbance{wait, channel, happens}), undisturbed);
        EXPECT_LT(Clock::now() - back, promptly);
    }
    EXPECT_EQ(exchange.service.terminate(), "signal 15 (Terminated)");
    EXPECT_EQ(exchange.service.errors(), "");
}

class Peers : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
    }

    // In kB: the most that the service has ever had in memory.
    static long mostMemory(const Exchange& exchange) {
        std::ifstream status("/proc/" + std::to_string(exchange.service.processId()) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmHWM:")) {
                return std::stol(line.substr(std::strlen("VmHWM:")));
            }
        }
        return 0;
    }

    // A request that waits for the parser's answer, and with it all requests behind it.
    static void keepBusy(Exchange& exchange) {
        exchange.request(R"({"dataStream":"TDT","status":"on"})");
        exchange.takeInstruction(0x025);
    }
};

// The word and the records come from one process: it goes with both of its endpoints, and forgets what it was
// told.
TEST_F(Peers, AParserThatGoesInTheMiddleIsToldAgain) {
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    for (int round = 0; round < 3; ++round) {
        for (const Wait wait : {Wait::answer, Wait::records}) {
            Clock::time_point back;
            const auto restart = [&] {
                exchange.peers.stop(Channel::instructions);
                exchange.peers.stop(Channel::records);
                exchange.peers.start(Channel::records);
                exchange.peers.start(Channel::instructions);
                back = Clock::now();
                exchange.takeInstruction(0x025);
                if (wait == Wait::records) {
                    exchange.answer(0x025);
                }
            };
            EXPECT_EQ(exchange.serve(Exchange::Disturbance{wait, Channel::records, restart}), undisturbed);
            EXPECT_LT(Clock::now() - back, promptly);
        }
    }
}

TEST_F(Peers, AParserMayAnswerInSeveralParts) {
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    exchange.furtherParts = {"second", "", "fourth"};
    EXPECT_EQ(exchange.serve(), undisturbed);
    EXPECT_EQ(exchange.serve(), undisturbed);
}

TEST_F(Peers, RequestsThatWaitTakeABoundedAmountOfMemory) {
    if (MPEGFE_SANITIZED) {
        GTEST_SKIP() << "sanitizers keep freed memory";
    }
    constexpr int count = 900; // the sender holds 1000
    Exchange exchange;
    keepBusy(exchange);
    for (int request = 0; request < count; ++request) {
        exchange.peers.sendRequest(std::string(60000, 'x'));
    }
    exchange.answer(0x025);
    exchange.await("subscriptions", [&] { return exchange.peers.subscriptions() == 3; });
    exchange.publish("TDT stream");
    exchange.publish("PAT stream");
    exchange.publish("TS-STATUS stream");
    exchange.await("a document", [&] { return exchange.peers.document(); });
    exchange.peers.answerDocument({R"({"reply": "ack"})"});
    for (int request = 0; request < count; ++request) {
        exchange.await("an acknowledgement", [&] { return exchange.peers.acknowledgement(); });
    }
    EXPECT_LT(mostMemory(exchange), 32 * 1024);
}

// More than a request may have ends the connection. The next one is served all the same.
TEST_F(Peers, RequestsThatAreTooLargeTakeABoundedAmountOfMemory) {
    if (MPEGFE_SANITIZED) {
        GTEST_SKIP() << "sanitizers keep freed memory";
    }
    constexpr int count = 1500;
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    const std::string large(1000000, 'x');
    Clock::time_point back;
    const auto overwhelm = [&] {
        const Clock::time_point start = Clock::now();
        for (int sent = 0; sent < count && Clock::now() - start < std::chrono::seconds(3);) {
            sent += exchange.peers.trySendRequest(large) ? 1 : 0;
        }
        exchange.peers.stop(Channel::requests);
        back = Clock::now();
        exchange.peers.start(Channel::requests);
    };
    EXPECT_EQ(exchange.serve(Exchange::Disturbance{Wait::records, Channel::requests, overwhelm}),
              undisturbed);
    EXPECT_LT(Clock::now() - back, promptly);
    EXPECT_LT(mostMemory(exchange), 32 * 1024);
}

// Beginnings of a true handshake with some bytes changed, at any channel in any wait.
TEST_F(Peers, OfRandomBytesAreForgotten) {
    constexpr unsigned rounds = 16;
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    std::mt19937 random(20);
    const auto any = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
    for (unsigned round = 0; round < rounds; ++round) {
        const Channel channel = channels[any(channels.size())];
        const Wait wait = waits[any(waits.size())];
        std::string bytes = greeting("NULL") + readyCommand(rowOf(channel).peerType) + randomBytes(any(300));
        bytes.resize(any(bytes.size() + 1));
        for (std::size_t changes = any(4); changes > 0 && !bytes.empty(); --changes) {
            bytes[any(bytes.size())] = static_cast<char>(random());
        }
        const bool closes = any(2) == 0;
        SCOPED_TRACE("round " + std::to_string(round) + " at " + rowOf(channel).name);
        Clock::time_point back;
        const auto happens = [&] {
            exchange.peers.stop(channel);
            {
                BadPeer peer(rowOf(channel).endpoint, {.says = bytes, .closes = closes});
                exchange.await("a connection to the peer", [&] { return peer.connections() > 0; });
                exchange.service.letPass(std::chrono::milliseconds(any(400)));
            }
            back = Clock::now();
            exchange.peers.start(channel);
        };
        EXPECT_EQ(exchange.serve(Exchange::Disturbance{wait, channel, happens}), undisturbed);
        EXPECT_LT(Clock::now() - back, promptly);
    }
    EXPECT_EQ(exchange.service.errors(), "");
}

// A monitor that nobody reads stops libzmq after 2000 events. Two channels have peers that close what they
// accept, two events each time, and two have none.
TEST_F(Peers, MayCloseOrBeAwayForAThousandAttempts) {
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    Clock::time_point back;
    const auto closeOften = [&] {
        exchange.peers.stopAll();
        {
            const BadPeerScript closing{.closesUnheard = true};
            BadPeer requests(rowOf(Channel::requests).endpoint, closing);
            BadPeer records(rowOf(Channel::records).endpoint, closing);
            while (std::min(requests.connections(), records.connections()) < 1100) {
                exchange.service.letPass(std::chrono::seconds(1));
            }
        }
        exchange.peers.startAll();
        back = Clock::now();
    };
    EXPECT_EQ(exchange.serve(Exchange::Disturbance{Wait::request, Channel::requests, closeOften}),
              undisturbed);
    EXPECT_LT(Clock::now() - back, promptly);
}

INSTANTIATE_TEST_SUITE_P(Are, BadPeers, testing::ValuesIn(allPairings()), pairingName);

} // namespace
} // namespace serviceTest
