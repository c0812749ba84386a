// Reception of published records beside a bare receive loop over the same messages: all nine topics in
// rotation, each record as the last time or changed in its last byte. The console is standard output,
// wherever that leads.
//
// "from the wire" is the service's own way: PUB and SUB over TCP, the publisher sending as fast as it is
// taken. "queued" has the messages wait in the socket already, so that it shows what reception costs by
// itself. A third contestant is the bare loop that prints the same console lines, which whoever receives has
// to print.
//
// The contestants take short turns at the same stream within one benchmark, so that whatever else goes on
// meets them all alike. The counters are seconds for a message, the median of a contestant's turns.
#include "benchMain.h"
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

char receivedTopic[maxTopicLength + 1];
char receivedRecord[sizeof(AvPgmRecord)]; // the longest of the nine

// Returns the record's length.
int receiveParts(void* socket) {
    const int topicLength = zmq_recv(socket, receivedTopic, maxTopicLength, 0);
    receivedTopic[std::max(topicLength, 0)] = '\0';
    char secondPart[10];
    zmq_recv(socket, secondPart, sizeof secondPart, 0);
    return zmq_recv(socket, receivedRecord, sizeof receivedRecord, 0);
}

void receiveBareAndPrint(void* socket) {
    const int length = receiveParts(socket);
    std::printf("MPEGtopic received: %s\n", receivedTopic);
    const auto* row =
        std::find_if(receivedTopics.begin(), receivedTopics.end(), [](const ReceivedTopic& candidate) {
            return std::strcmp(candidate.topic.name, receivedTopic) == 0;
        });
    if (row->announce != nullptr) {
        row->announce(receivedTopic);
    }
    if (row->report != nullptr) {
        row->report(receivedTopic, static_cast<int>(row->topic.size), length);
    }
    if (row->topic.bit == patBit) {
        PatRecord pat;
        std::memcpy(&pat, receivedRecord, sizeof pat);
        std::printf("PAT Newstream Flag %d PIDs %d\n", pat.newStreamFlag, pat.pidListCount);
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
    Contestant{"bare loop", [](void* socket) { receiveParts(socket); }},
    Contestant{"bare loop, same lines", receiveBareAndPrint},
};

// --- taking turns ----------------------------------------------------------------------------------------

// Seconds for one message.
double timeTurn(RecordStream& stream, const Contestant& contestant) {
    using Clock = std::chrono::steady_clock;
    stream.prepareTurn();
    const std::size_t messages = static_cast<std::size_t>(stream.rotationsOfATurn()) * topics.size();
    const Clock::time_point start = Clock::now();
    for (std::size_t message = 0; message < messages; ++message) {
        contestant.receive(stream.subscriber());
    }
    return std::chrono::duration<double>(Clock::now() - start).count() / static_cast<double>(messages);
}

void takeTurns(benchmark::State& state, bool fromWire, bool changing) {
    loadFullTables();
    RecordStream stream(fromWire, changing);
    for (auto _ : state) {
        std::array<std::vector<double>, contestants.size()> seconds;
        for (int turn = 0; turn < turns; ++turn) {
            for (std::size_t k = 0; k < contestants.size(); ++k) {
                seconds[k].push_back(timeTurn(stream, contestants[k]));
            }
        }
        for (std::size_t k = 0; k < contestants.size(); ++k) {
            state.counters[contestants[k].name] = quantile(seconds[k], 0.5);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    printByLine();
    for (const bool changing : {false, true}) {
        for (const bool fromWire : {true, false}) {
            const std::string name = std::string("reception/") + (fromWire ? "from the wire" : "queued") +
                                     (changing ? ", changed" : ", unchanged") + "|turns";
            benchmark::RegisterBenchmark(name.c_str(), takeTurns, fromWire, changing)->Iterations(1);
        }
    }
    return runBenchmarks(argc, argv);
}
