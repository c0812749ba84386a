// Each document's builder beside three peers that write the same document, and beside two limits: memcpy of
// the finished text, and memcpy of its pieces one after the other with every value formatted beforehand.
//
// Before anything is timed, each peer's text is compared with the builder's, byte for byte, and a difference
// ends the program. The documents are chosen so that they have none of their irregular commas, which two of
// the peers could not write.
#include "benchMain.h"
#include "documentWorkloads.h"
#include "documentWriters.h"
#include "pieceWriter.h"

#include "feed/recordStore.h"
#include "serviceNames.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace {

DocumentBuffer built;
DocumentBuffer peerBuilt;
rapidjson::StringBuffer rapidJsonBuilt;

// One document, and what the peers write for it.
struct Subject : DocumentWorkload {
    std::function<void(PlainWriter& out)> plain;
    std::function<void(JanssonWriter& out)> jansson;
    std::function<void(RapidJsonWriter& out)> rapidJson;
    std::function<void(PieceWriter& out)> pieces;
};

template <typename Write>
Subject withPeers(const char* name, Write write) {
    return {documentWorkload(name), write, write, write, write};
}

Subject pidListOf(const char* name, int pids) {
    return withPeers(name, [pids](auto& out) { writePidList(out, pids, aggStreamRate); });
}

const std::vector<Subject> subjects{
    pidListOf("PidList/1", 1),
    pidListOf("PidList/16", 16),
    pidListOf("PidList/64", 64),
    pidListOf("PidList/108", 108),
    withPeers("PgmList/60", [](auto& out) { writePgmList(out, newestRecords.sdt); }),
    withPeers(
        "PgmDetail",
        [](auto& out) { writePgmDetail(out, newestRecords.pmt.slots[1], newestRecords.avPgm.slots[1]); }),
    withPeers("PAT/60", [](auto& out) { writePat(out, newestRecords.pat); }),
    withPeers("CAT/10", [](auto& out) { writeCat(out, newestRecords.cat); }),
    withPeers("NIT/10", [](auto& out) { writeNit(out, newestRecords.nit); }),
    withPeers("SDT/60", [](auto& out) { writeSdt(out, newestRecords.sdt); }),
    withPeers("EIT/60", [](auto& out) { writeEit(out, newestRecords.eit); }),
    withPeers("TDT", [](auto& out) { writeTdt(out, newestRecords.tdt); }),
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
    PieceWriter pieces;
    subject.pieces(pieces);
    pieces.copyTo(peerBuilt);
    requireSame(subject, "copy of pieces", peerBuilt);
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
    PieceWriter pieces;
    subject.pieces(pieces);
    addBenchmark(subject, "pieces", [pieces] { benchmark::DoNotOptimize(pieces.copyTo(peerBuilt)); });
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
