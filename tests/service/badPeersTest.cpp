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
#include <csignal>
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
        peers.answerInstruction({word(0x001)});
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
        peers.answerInstruction({word(0x025)});
    }

    void awaitRecords() {
        awaitSubscriptions();
        disturbIn(Wait::records);
        if (disturbs(Wait::records, Channel::instructions)) {
            takeInstruction(0x025);
            peers.answerInstruction({word(0x025)});
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
    bool holds = false; // the service has no cause to end the connection
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
     }},
    {"ClosesAtOnce", [](const char*) { return BadPeerScript{.closesUnheard = true}; }},
    {"ClosesAfterTheGreeting",
     [](const char*) { return BadPeerScript{.says = greeting("NULL"), .closes = true}; }},
    {"ClosesAfterTheHandshake",
     [](const char* type) {
         return BadPeerScript{.says = greeting("NULL") + readyCommand(type), .closes = true};
     }},
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
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    for (const Wait wait : waits) {
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

INSTANTIATE_TEST_SUITE_P(Are, BadPeers, testing::ValuesIn(allPairings()), pairingName);

} // namespace
} // namespace serviceTest
