// Fixed workloads for callgrind, which counts the instructions of each: every document, a collection, the
// reception of every record, and whole requests over replayed sockets. Run it under
//   valgrind --tool=callgrind --collect-atstart=no
// which then dumps one profile for each workload, named after it. Run alone, it does the same and counts
// nothing.
#include "documentRequests.h"
#include "documents.h"
#include "replay/recording.h"
#include "replayedRecords.h"

#include "feed/reception.h"
#include "feed/recordStore.h"
#include "model/pidTable.h"
#include "requests.h"
#include "serviceNames.h"
#include "support/jsonText.h"

#include <benchmark/benchmark.h>
#include <jansson.h>
#include <valgrind/callgrind.h>

#include <optional>
#include <string>

namespace {

// Runs the workload once for the caches of libraries, then once more under callgrind's eyes.
template <typename Work>
void measure(const std::string& name, Work work) {
    work();
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    work();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

DocumentBuffer document;

void measureDocuments() {
    forEachDocument([](const char* name, void (*load)(), auto build, auto) {
        load();
        measure(std::string("document/") + name, [=] { benchmark::DoNotOptimize(build(document)); });
    });
}

void measureCollection(const std::string& name, const StreamShape& shape) {
    loadStream(shape);
    measure("collection/" + name, [] { collectPids(newestRecords.pat.programCount); });
}

// One rotation of the nine topics a run.
void measureReception(const char* name, bool changing) {
    loadFullTables();
    replay(twoRotations(changing));
    FeedContext feed{};
    feed.subscribers[0] = subscriberToAll();
    measure(std::string("reception/") + name, [&] {
        for (std::size_t message = 0; message < topics.size(); ++message) {
            receiveMpegTopic(&feed, &programCount);
        }
    });
}

// What serve asks for, each request with a call of its argument, while the parser publishes the script.
template <typename Serve>
void measureSession(const std::string& name, std::vector<PublishedRecord> script, Serve serve) {
    replay(std::move(script));
    MpegSession session{};
    session.docSocket = scriptedZmq::documentSocket();
    FeedContext feed{};
    measure("session/" + name, [&] {
        serve([&](const std::string& request) {
            json_error_t error;
            json_t* parsed = parseJson(request.c_str(), error);
            dispatchClientRequest(parsed, &session, &feed);
            json_decref(parsed);
        });
    });
}

// A client's request from its parsing to its document, and the stop that follows it.
void measureRequest(const DocumentRequest& request) {
    loadFullTables();
    const std::string text = std::string("{") + request.members + "}";
    measureSession(request.name, publishedNow(request.topics), [&](auto ask) {
        ask(text);
        ask(R"({"dataStream": "pidData", "status": "off"})");
    });
}

std::vector<PublishedRecord> readRecording(const char* path) {
    board::RecordingReader reader(path);
    std::vector<PublishedRecord> script;
    while (const std::optional<board::RecordedMessage> message = reader.next()) {
        for (const Topic& topic : topics) {
            if (topic.name == message->topic) {
                script.push_back({&topic, {message->record.begin(), message->record.end()}});
            }
        }
    }
    return script;
}

// Every request in turn, over what a board published for a stream with all tables.
void measureRecording(const char* path) {
    newestRecords = {};
    previousRecords = {};
    measureSession("every request over a recording", readRecording(path), [](auto ask) {
        ask(R"({"dataStream": "pgmDetail", "patIndex": "1"})");
        for (const char* dataStream : {"pidData", "pgmData", "PAT", "CAT", "NIT", "SDT", "EIT", "TDT"}) {
            const std::string request = std::string(R"({"dataStream": ")") + dataStream + R"(", "status": ")";
            ask(request + R"(on"})");
            ask(request + R"(off"})");
        }
    });
}

} // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // as the service does
    measureDocuments();
    measureCollection("108 PIDs", {108, 20, 2, 1, 0, true});
    measureCollection("worst case", {maxPids, maxPmtSlots, maxAudioTracks, maxPrivatePids, maxEcmPids, true});
    measureReception("unchanged", false);
    measureReception("changed", true);
    for (const DocumentRequest& request : documentRequests) {
        if (request.programsKnown) {
            measureRequest(request);
        }
    }
    measureRecording(MPEGFE_RECORDING);
}
