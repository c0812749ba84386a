// Fixed workloads for callgrind, which counts the instructions of each: every document, a collection, the
// reception of every record, and whole requests over replayed sockets. Run it under
//   valgrind --tool=callgrind --collect-atstart=no
// which then dumps one profile for each workload, named after it. Run alone, it does the same and counts
// nothing.
//
// usage: instructionWorkloads [--toolchain]     --toolchain: prints what the counts depend on
#include "benchMain.h"
#include "documents.h"
#include "replay/recording.h"
#include "replayedSockets.h"

#include "feed/reception.h"
#include "feed/recordStore.h"
#include "model/pidTable.h"
#include "requests.h"
#include "serviceNames.h"
#include "support/jsonText.h"

#include <gnu/libc-version.h>
#include <jansson.h>
#include <valgrind/callgrind.h>

#include <optional>
#include <string>
#include <string_view>

namespace {

// Runs the workload once for the caches of libraries, then once more under callgrind's eyes.
template <typename Work>
void measure(const std::string& name, Work work) {
    work();
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

// One rotation of the nine topics a run. Two different rotations in turn change every record.
void measureReception(const char* name, bool changing) {
    loadFullTables();
    std::vector<PublishedRecord> script = allPublishedNow();
    std::vector<PublishedRecord> next = script;
    if (changing) {
        changeLastBytes(next);
    }
    script.insert(script.end(), next.begin(), next.end());
    replay(script);
    FeedContext feed{};
    feed.subscribers[0] = recordSocket();
    measure(std::string("reception/") + name, [&] {
        for (std::size_t message = 0; message < topics.size(); ++message) {
            receiveMpegTopic(&feed, &programCount);
        }
    });
}

void serve(const std::string& request, MpegSession& session, FeedContext& feed) {
    json_error_t error;
    json_t* parsed = parseJson(request.c_str(), error);
    dispatchClientRequest(parsed, &session, &feed);
    json_decref(parsed);
}

// A client's request from its parsing to its document, and the stop that follows it.
void measureSession(const std::string& name, const char* request, std::initializer_list<Topic> published) {
    loadFullTables();
    std::vector<PublishedRecord> script;
    for (const Topic& topic : published) {
        script.push_back(publishedNow(topic));
    }
    replay(script);
    MpegSession session{};
    session.docSocket = documentSocket();
    FeedContext feed{};
    measure("session/" + name, [&] {
        serve(request, session, feed);
        serve(R"({"dataStream": "pidData", "status": "off"})", session, feed);
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
    replay(readRecording(path));
    newestRecords = {};
    previousRecords = {};
    MpegSession session{};
    session.docSocket = documentSocket();
    FeedContext feed{};
    measure("session/every request over a recording", [&] {
        serve(R"({"dataStream": "pgmDetail", "patIndex": "1"})", session, feed);
        for (const char* dataStream : {"pidData", "pgmData", "PAT", "CAT", "NIT", "SDT", "EIT", "TDT"}) {
            const std::string request = std::string(R"({"dataStream": ")") + dataStream + R"(", "status": ")";
            serve(request + R"(on"})", session, feed);
            serve(request + R"(off"})", session, feed);
        }
    });
}

void measureSessions() {
    measureSession("pidData", R"({"dataStream": "pidData", "status": "on"})",
                   {patTopic, sdtTopic, pmtTopic, tsStatusTopic});
    measureSession("pgmData", R"({"dataStream": "pgmData", "status": "on"})",
                   {patTopic, sdtTopic, pmtTopic, tsStatusTopic});
    measureSession("pgmDetail", R"({"dataStream": "pgmDetail", "patIndex": "1"})",
                   {patTopic, sdtTopic, pmtTopic, avPgmTopic, tsStatusTopic});
    measureSession("EIT", R"({"dataStream": "EIT", "status": "on"})", {eitTopic, patTopic, tsStatusTopic});
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "--toolchain") {
        std::printf("compiler %s, C library %s, Jansson %s\n", __VERSION__, gnu_get_libc_version(),
                    jansson_version_str());
        return 0;
    }
    sendConsoleNowhere();
    measureDocuments();
    measureCollection("108 PIDs", {108, 20, 2, 1, 0, true});
    measureCollection("worst case", {maxPids, maxPmtSlots, maxAudioTracks, maxPrivatePids, maxEcmPids, true});
    measureReception("unchanged", false);
    measureReception("changed", true);
    measureSessions();
    measureRecording(MPEGFE_RECORDING);
}
