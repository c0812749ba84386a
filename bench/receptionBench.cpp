// Reception of published records beside a bare receive loop over the same messages: all nine topics in
// rotation, each record as the last time or changed in its last byte, with the console in three places.
//
// "from the wire" is the service's own way: PUB and SUB over TCP, the publisher sending as fast as it is
// taken. "queued" has the messages wait in the socket already, so that it shows what reception costs by
// itself. A third contestant is the bare loop that prints the same console lines, which whoever receives has
// to print.
//
// The contestants take short turns at the same stream within one benchmark, so that whatever else goes on
// meets them all alike. The counters are seconds for a message, the median of a contestant's turns.
#include "benchMain.h"
#include "consoles.h"
#include "recordStreams.h"

#include "feed/reception.h"
#include "feed/recordStore.h"

#include <zmq.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int turns = 15; // of each contestant in a repetition

// --- the contestants: each receives one message ----------------------------------------------------------

struct ReceivedMessage {
    std::array<char, maxTopicLength + 1> topic;
    std::array<char, 10> secondPart;
    std::array<char, sizeof(AvPgmRecord)> record; // the longest of the nine
    int topicLength;
    int recordLength;
};

ReceivedMessage received;

void receiveBare(void* socket) {
    received.topicLength = zmq_recv(socket, received.topic.data(), maxTopicLength, 0);
    zmq_recv(socket, received.secondPart.data(), received.secondPart.size(), 0);
    received.recordLength = zmq_recv(socket, received.record.data(), received.record.size(), 0);
}

void receiveBareAndPrint(void* socket) {
    receiveBare(socket);
    received.topic[static_cast<std::size_t>(received.topicLength)] = '\0';
    std::printf("MPEGtopic received: %s\n", received.topic.data());
    for (const auto& [topic, captureBits, brokenText, announce, report] : receivedTopics) {
        if (std::strcmp(topic.name, received.topic.data()) != 0) {
            continue;
        }
        if (announce != nullptr) {
            announce(topic.name);
        }
        if (report != nullptr) {
            report(topic.name, static_cast<int>(topic.size), received.recordLength);
        }
        if (topic.bit == patBit) {
            PatRecord pat;
            std::memcpy(&pat, received.record.data(), sizeof pat);
            std::printf("PAT Newstream Flag %d PIDs %d\n", pat.newStreamFlag, pat.pidListCount);
        }
        return;
    }
}

void receiveAsService(void* socket) {
    static FeedContext feed;
    feed.subscribers[0] = socket;
    if (receiveMpegTopic(&feed, &programCount) != captured) {
        std::fputs("receptionBench: a message was lost\n", stderr);
        std::exit(1);
    }
}

struct Contestant {
    const char* name;
    void (*receive)(void* socket);
};

constexpr std::array contestants{
    Contestant{"mpegFE", receiveAsService},
    Contestant{"bare loop", receiveBare},
    Contestant{"bare loop, same lines", receiveBareAndPrint},
};

// --- taking turns ----------------------------------------------------------------------------------------

// Seconds for one message.
template <typename Stream>
double timeTurn(Stream& stream, const Contestant& contestant) {
    using Clock = std::chrono::steady_clock;
    stream.prepareTurn();
    constexpr std::size_t messages = Stream::rotationsOfATurn * topics.size();
    const Clock::time_point start = Clock::now();
    for (std::size_t message = 0; message < messages; ++message) {
        contestant.receive(stream.subscriber());
    }
    return std::chrono::duration<double>(Clock::now() - start).count() / messages;
}

double median(std::vector<double>& samples) {
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle;
}

template <typename Stream>
void takeTurns(benchmark::State& state, const char* console, bool changing) {
    loadFullTables();
    Stream stream(changing);
    const ConsoleTo leading(console);
    for (auto _ : state) {
        std::array<std::vector<double>, contestants.size()> seconds;
        for (int turn = 0; turn < turns; ++turn) {
            for (std::size_t k = 0; k < contestants.size(); ++k) {
                seconds[k].push_back(timeTurn(stream, contestants[k]));
            }
        }
        for (std::size_t k = 0; k < contestants.size(); ++k) {
            state.counters[contestants[k].name] = median(seconds[k]);
        }
    }
}

template <typename Stream>
void addBenchmark(const std::string& way, const char* console, bool changing) {
    const std::string circumstances = std::string(changing ? ", changed" : ", unchanged") + ", console to ";
    benchmark::RegisterBenchmark(
        ("reception/" + way + circumstances + console + "|turns").c_str(),
        [=](benchmark::State& state) { takeTurns<Stream>(state, console, changing); })
        ->Iterations(1);
}

} // namespace

int main(int argc, char** argv) {
    sendConsoleNowhere();
    for (const char* console : consoles) {
        for (const bool changing : {false, true}) {
            addBenchmark<WireStream>("from the wire", console, changing);
            addBenchmark<QueuedStream>("queued", console, changing);
        }
    }
    return runBenchmarks(argc, argv);
}
