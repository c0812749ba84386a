// Whatever was bound at an endpoint and whatever it sent, in whatever the service was doing: the next good
// peer is served within 2 s, and the console shows nothing of it.
#include "../support/acknowledgement.h"
#include "../support/isolation.h"
#include "badKinds.h"
#include "disturbedExchange.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/stat.h>

namespace serviceTest {
namespace {

using Clock = std::chrono::steady_clock;
using Exchange = DisturbedExchange;

constexpr auto promptly = std::chrono::seconds(2);

struct Pairing {
    const BadKind* kind;
    Channel channel;
};

void PrintTo(const Pairing& pairing, std::ostream* stream) {
    *stream << pairing.kind->name << " at " << rowOf(pairing.channel).name;
}

std::vector<Pairing> allPairings() {
    std::vector<Pairing> all;
    for (const BadKind& kind : badKinds()) {
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

// The records' connection stands on the service's side, and nothing will ever come of it.
TEST_F(Peers, AParserWhoseHostLosesItsPowerIsSubscribedToAgain) {
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    for (const Wait wait : {Wait::answer, Wait::records}) {
        SCOPED_TRACE("wait " + std::to_string(static_cast<int>(wait)));
        Clock::time_point back;
        const auto losePower = [&] {
            exchange.peers.stop(Channel::records);
            const std::string hello = greeting("NULL") + readyCommand("SUB");
            BadPeer parser(rowOf(Channel::records).endpoint,
                           {.says = greeting("NULL") + readyCommand(rowOf(Channel::records).peerType)});
            exchange.await("a handshake", [&] { return parser.heard() >= hello.size(); });
            parser.vanish();
            exchange.peers.stop(Channel::instructions);
            exchange.peers.start(Channel::records);
            exchange.peers.start(Channel::instructions);
            back = Clock::now();
            exchange.takeInstruction(0x025);
            if (wait == Wait::records) {
                exchange.answer(0x025);
            }
        };
        EXPECT_EQ(exchange.serve(Exchange::Disturbance{wait, Channel::records, losePower}), undisturbed);
        EXPECT_LT(Clock::now() - back, promptly + std::chrono::seconds(3));
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
    exchange.peers.answerDocument({testSupport::ack});
    for (int request = 0; request < count; ++request) {
        exchange.await("an acknowledgement", [&] { return exchange.peers.acknowledgement(); });
    }
    EXPECT_LT(mostMemory(exchange), 32 * 1024);
}

TEST_F(Peers, MayComeOneBehindTheOther) {
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    for (const Channel channel : channels) {
        for (const Wait wait : waits) {
            SCOPED_TRACE(std::string(rowOf(channel).name) + ", wait " +
                         std::to_string(static_cast<int>(wait)));
            Clock::time_point back;
            const auto happens = [&] {
                exchange.peers.stop(channel);
                for (const BadKind& kind : badKinds()) {
                    const bool mayTakeTheDocument = channel == Channel::documents && kind.shakesHands;
                    if (!(MPEGFE_SANITIZED && std::string(kind.name).starts_with("Oversized")) &&
                        !mayTakeTheDocument) {
                        BadPeer peer(rowOf(channel).endpoint, kind.script(rowOf(channel).peerType));
                        exchange.service.letPass(std::chrono::milliseconds(50));
                    }
                }
                back = Clock::now();
                exchange.peers.start(channel);
            };
            EXPECT_EQ(exchange.serve(Exchange::Disturbance{wait, channel, happens}), undisturbed);
            EXPECT_LT(Clock::now() - back, promptly);
        }
    }
    EXPECT_EQ(exchange.service.errors(), "");
}

// Where its socket should be.
TEST_F(Peers, MayFindThatTheirEndpointHasBeenSomethingElse) {
    namespace fs = std::filesystem;
    using Making = void (*)(const fs::path& path);
    const std::array<Making, 5> makings{{
        [](const fs::path& path) { fs::create_directory(path); },
        [](const fs::path& path) { std::ofstream(path) << "text"; },
        [](const fs::path& path) { fs::create_symlink("/nowhere", path); },
        [](const fs::path& path) { fs::create_symlink(path.filename(), path); },
        [](const fs::path& path) { EXPECT_EQ(::mkfifo(path.c_str(), 0666), 0); },
    }};
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    for (const Channel channel : {Channel::requests, Channel::documents, Channel::instructions}) {
        const fs::path path = std::string(rowOf(channel).endpoint).substr(std::strlen("ipc://"));
        for (const Wait wait : waits) {
            SCOPED_TRACE(std::string(rowOf(channel).name) + ", wait " +
                         std::to_string(static_cast<int>(wait)));
            Clock::time_point back;
            const auto happens = [&] {
                exchange.peers.stop(channel);
                for (const Making make : makings) {
                    fs::remove(path);
                    make(path);
                    exchange.service.letPass(std::chrono::milliseconds(250)); // it tries again each 100 ms
                }
                fs::remove(path);
                back = Clock::now();
                exchange.peers.start(channel);
            };
            EXPECT_EQ(exchange.serve(Exchange::Disturbance{wait, channel, happens}), undisturbed);
            EXPECT_LT(Clock::now() - back, promptly);
        }
    }
    EXPECT_EQ(exchange.service.errors(), "");
}

// The document has gone with it, and is waited for as long as for any other.
TEST_F(Peers, ADocumentThatWentWithTrufiosIsGivenUpBeforeTheNextRequest) {
    Exchange exchange;
    exchange.request(R"({"dataStream":"TDT","status":"on"})");
    exchange.takeInstruction(0x025);
    exchange.answer(0x025);
    exchange.await("subscriptions", [&] { return exchange.peers.subscriptions() == 3; });
    for (const char* record : {"TDT stream", "PAT stream", "TS-STATUS stream"}) {
        exchange.publish(record);
    }
    exchange.await("a document", [&] { return exchange.peers.document(); });
    for (const Channel channel : {Channel::documents, Channel::requests}) {
        exchange.peers.stop(channel);
        exchange.peers.start(channel);
    }
    const Clock::time_point back = Clock::now();
    exchange.request(R"({"dataStream":"TDT","status":"off"})");
    EXPECT_LT(Clock::now() - back, std::chrono::seconds(5) + promptly);
    EXPECT_THAT(exchange.service.console(), testing::HasSubstr("\n5s Abort\nPSI Sent to Client\n"));
    exchange.takeInstruction(0x001);
    exchange.answer(0x001);
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

// Beginnings of a true handshake with some bytes changed, at any channel in any wait. MPEGFE_RANDOM_PEERS in
// the environment makes it more of them.
TEST_F(Peers, OfRandomBytesAreForgotten) {
    const char* const more = std::getenv("MPEGFE_RANDOM_PEERS");
    const unsigned long rounds = more == nullptr ? 16 : std::stoul(more);
    Exchange exchange;
    const std::string undisturbed = exchange.serve();
    std::mt19937 random(20);
    const auto any = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
    for (unsigned long round = 0; round < rounds; ++round) {
        const Channel channel = channels[any(channels.size())];
        const Wait wait = waits[any(waits.size())];
        const std::string handshake = greeting("NULL") + readyCommand(rowOf(channel).peerType);
        std::string bytes = handshake + randomBytes(any(300));
        bytes.resize(any(bytes.size() + 1));
        if (channel == Channel::documents && wait == Wait::acknowledgement) {
            bytes.resize(std::min(bytes.size(), handshake.size() - 1)); // else it may take the document
        }
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
