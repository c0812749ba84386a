// Each document's builder beside three peers that write the same document, and beside two limits: memcpy of
// the finished text, and memcpy of its pieces one after the other with every value formatted beforehand.
//
// Before anything is timed, each peer's text is compared with the builder's, byte for byte, and a difference
// ends the program.
#include "benchMain.h"
#include "documentPeers.h"
#include "documents.h"

#include <functional>
#include <string>

namespace {

DocumentBuffer built;
DocumentBuffer peerBuilt;
rapidjson::StringBuffer rapidJsonBuilt;

// Google Benchmark runs each of these by itself, so each loads its own records first.
void addBenchmark(const std::string& document, const char* contestant, void (*load)(),
                  const std::function<void()>& run) {
    benchmark::RegisterBenchmark((document + "|" + contestant).c_str(), [=](benchmark::State& state) {
        load();
        for (auto _ : state) {
            run();
            benchmark::ClobberMemory();
        }
    });
}

std::string peerText;
using Take = void (*)(const char* text);

// A peer. write hands over its text, which is there until take returns.
void addPeer(const std::string& document, const char* peer, void (*load)(),
             const std::function<void(Take take)>& write) {
    write([](const char* text) { peerText = text; });
    if (peerText != built) {
        std::fprintf(stderr, "%s: %s writes another document\n%s\n%s\n", document.c_str(), peer,
                     peerText.c_str(), built);
        std::exit(1);
    }
    addBenchmark(document, peer, load,
                 [=] { write([](const char* text) { benchmark::DoNotOptimize(text); }); });
}

template <typename Build, typename ShapeOf>
void addDocument(const char* name, void (*load)(), Build build, ShapeOf shapeOf) {
    load();
    const std::size_t length = build(built);
    addBenchmark(name, "mpegFE", load, [=] { benchmark::DoNotOptimize(build(built)); });
    addPeer(name, "snprintf+strcat", load, [=](Take take) {
        PlainWriter writer(peerBuilt);
        tell(writer, shapeOf());
        take(peerBuilt);
    });
    addPeer(name, "Jansson", load, [=](Take take) {
        JanssonWriter writer;
        tell(writer, shapeOf());
        take(writer.result());
    });
    addPeer(name, "RapidJSON", load, [=](Take take) {
        RapidJsonWriter writer(rapidJsonBuilt);
        tell(writer, shapeOf());
        take(writer.result());
    });
    PieceWriter pieces;
    tell(pieces, shapeOf());
    addPeer(name, "pieces", load, [=](Take take) {
        pieces.copyTo(peerBuilt);
        take(peerBuilt);
    });
    addBenchmark(name, "memcpy", load, [=] { std::memcpy(peerBuilt, built, length + 1); });
}

} // namespace

int main(int argc, char** argv) {
    sendConsoleNowhere();
    forEachDocument([](auto... document) { addDocument(document...); });
    return runBenchmarks(argc, argv);
}
