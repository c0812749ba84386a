// Each document's builder beside three peers that write the same document, and beside memcpy of the finished
// text.
//
// Before anything is timed, each peer's text is compared with the builder's, byte for byte, and a difference
// ends the program. The documents are chosen so that they have none of their irregular commas, which two of
// the peers could not write.
#include "benchMain.h"
#include "documentWriters.h"
#include "workloads.h"

#include "documents/catDocument.h"
#include "documents/eitDocument.h"
#include "documents/nitDocument.h"
#include "documents/patDocument.h"
#include "documents/pgmDetailDocument.h"
#include "documents/pgmListDocument.h"
#include "documents/pidListDocument.h"
#include "documents/sdtDocument.h"
#include "documents/tdtDocument.h"
#include "feed/recordStore.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace {

DocumentBuffer built;
DocumentBuffer peerBuilt;
rapidjson::StringBuffer rapidJsonBuilt;

// One document at one size: how to load its records, how the service builds it, what the peers write.
struct Subject {
    const char* name;
    void (*load)();
    std::size_t (*build)(DocumentBuffer& out);
    void (*plain)(PlainWriter& out);
    void (*jansson)(JanssonWriter& out);
    void (*rapidJson)(RapidJsonWriter& out);
};

template <int pids>
void loadPids() {
    loadStream({pids, (pids - 8) / 5, 2, 1, 0, true});
    collectPids(newestRecords.pat.programCount);
}

template <int pids>
constexpr Subject pidListOf(const char* name) {
    return {name,
            loadPids<pids>,
            [](DocumentBuffer& out) { return buildPidListJson(pidTable, pids, aggStreamRate, out); },
            [](PlainWriter& out) { writePidList(out, pids, aggStreamRate); },
            [](JanssonWriter& out) { writePidList(out, pids, aggStreamRate); },
            [](RapidJsonWriter& out) { writePidList(out, pids, aggStreamRate); }};
}

void loadDetail() {
    loadStream({108, 3, maxAudioTracks, 0, maxEcmPids, true});
}

const std::vector<Subject> subjects{
    pidListOf<1>("PidList/1"),
    pidListOf<16>("PidList/16"),
    pidListOf<64>("PidList/64"),
    pidListOf<108>("PidList/108"),
    {"PgmList/60", loadFullTables,
     [](DocumentBuffer& out) { return buildPgmListJson(&newestRecords.sdt, out); },
     [](PlainWriter& out) { writePgmList(out, newestRecords.sdt); },
     [](JanssonWriter& out) { writePgmList(out, newestRecords.sdt); },
     [](RapidJsonWriter& out) { writePgmList(out, newestRecords.sdt); }},
    {"PgmDetail", loadDetail,
     [](DocumentBuffer& out) {
         return buildPgmDetailJson(&newestRecords.pmt.slots[1], &newestRecords.avPgm.slots[1], out);
     },
     [](PlainWriter& out) { writePgmDetail(out, newestRecords.pmt.slots[1], newestRecords.avPgm.slots[1]); },
     [](JanssonWriter& out) {
         writePgmDetail(out, newestRecords.pmt.slots[1], newestRecords.avPgm.slots[1]);
     },
     [](RapidJsonWriter& out) {
         writePgmDetail(out, newestRecords.pmt.slots[1], newestRecords.avPgm.slots[1]);
     }},
    {"PAT/60", loadFullTables, [](DocumentBuffer& out) { return buildPatJson(newestRecords.pat, out); },
     [](PlainWriter& out) { writePat(out, newestRecords.pat); },
     [](JanssonWriter& out) { writePat(out, newestRecords.pat); },
     [](RapidJsonWriter& out) { writePat(out, newestRecords.pat); }},
    {"CAT/10", loadFullTables, [](DocumentBuffer& out) { return buildCatJson(newestRecords.cat, out); },
     [](PlainWriter& out) { writeCat(out, newestRecords.cat); },
     [](JanssonWriter& out) { writeCat(out, newestRecords.cat); },
     [](RapidJsonWriter& out) { writeCat(out, newestRecords.cat); }},
    {"NIT/10", loadFullTables, [](DocumentBuffer& out) { return buildNitJson(newestRecords.nit, out); },
     [](PlainWriter& out) { writeNit(out, newestRecords.nit); },
     [](JanssonWriter& out) { writeNit(out, newestRecords.nit); },
     [](RapidJsonWriter& out) { writeNit(out, newestRecords.nit); }},
    {"SDT/60", loadFullTables, [](DocumentBuffer& out) { return buildSdtJson(newestRecords.sdt, out); },
     [](PlainWriter& out) { writeSdt(out, newestRecords.sdt); },
     [](JanssonWriter& out) { writeSdt(out, newestRecords.sdt); },
     [](RapidJsonWriter& out) { writeSdt(out, newestRecords.sdt); }},
    {"EIT/60", loadFullTables, [](DocumentBuffer& out) { return buildEitJson(newestRecords.eit, out); },
     [](PlainWriter& out) { writeEit(out, newestRecords.eit); },
     [](JanssonWriter& out) { writeEit(out, newestRecords.eit); },
     [](RapidJsonWriter& out) { writeEit(out, newestRecords.eit); }},
    {"TDT", loadFullTables, [](DocumentBuffer& out) { return buildTdtJson(newestRecords.tdt, out); },
     [](PlainWriter& out) { writeTdt(out, newestRecords.tdt); },
     [](JanssonWriter& out) { writeTdt(out, newestRecords.tdt); },
     [](RapidJsonWriter& out) { writeTdt(out, newestRecords.tdt); }},
};

void requireSame(const Subject& subject, const char* peer, const char* text) {
    if (std::strcmp(text, built) != 0) {
        std::fprintf(stderr, "%s: %s writes another document\n%s\n%s\n", subject.name, peer, text, built);
        std::exit(1);
    }
}

void requireSameDocuments(const Subject& subject) {
    subject.load();
    subject.build(built);
    PlainWriter plain(peerBuilt);
    subject.plain(plain);
    requireSame(subject, "snprintf and strcat", peerBuilt);
    JanssonWriter jansson;
    subject.jansson(jansson);
    requireSame(subject, "Jansson", jansson.result());
    RapidJsonWriter rapidJson(rapidJsonBuilt);
    subject.rapidJson(rapidJson);
    requireSame(subject, "RapidJSON", rapidJson.result());
}

// Google Benchmark runs each of these by itself, so each loads its own records first.
void addBenchmark(const Subject& subject, const char* contestant, const std::function<void()>& run) {
    benchmark::RegisterBenchmark((std::string(subject.name) + "|" + contestant).c_str(),
                                 [load = subject.load, run](benchmark::State& state) {
                                     load();
                                     for (auto _ : state) {
                                         run();
                                         benchmark::ClobberMemory();
                                     }
                                 });
}

void addSubject(const Subject& subject) {
    addBenchmark(subject, "mpegFE", [&subject] { benchmark::DoNotOptimize(subject.build(built)); });
    addBenchmark(subject, "snprintf+strcat", [&subject] {
        PlainWriter writer(peerBuilt);
        subject.plain(writer);
        benchmark::DoNotOptimize(writer.length());
    });
    addBenchmark(subject, "Jansson", [&subject] {
        JanssonWriter writer;
        subject.jansson(writer);
        benchmark::DoNotOptimize(writer.result());
    });
    addBenchmark(subject, "RapidJSON", [&subject] {
        RapidJsonWriter writer(rapidJsonBuilt);
        subject.rapidJson(writer);
        benchmark::DoNotOptimize(writer.result());
    });
    subject.load();
    const std::size_t length = subject.build(built);
    addBenchmark(subject, "memcpy", [length] { std::memcpy(peerBuilt, built, length + 1); });
}

} // namespace

int main(int argc, char** argv) {
    sendConsoleNowhere();
    for (const Subject& subject : subjects) {
        requireSameDocuments(subject);
        addSubject(subject);
    }
    return runBenchmarks(argc, argv);
}
