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
#include <vector>

namespace {

DocumentBuffer built;
DocumentBuffer peerBuilt;
rapidjson::StringBuffer rapidJsonBuilt; // keeps its memory from one document to the next

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

// Constant texts and values in turn. Behind the envelope, a value stands between "\":\"" and a quote.
std::vector<std::string> piecesOf(const std::string& text) {
    std::vector<std::string> pieces;
    std::size_t begin = 0;
    std::size_t name = text.find("\":{");
    while ((name = text.find("\":\"", name)) != std::string::npos) {
        const std::size_t value = name + 3;
        name = text.find('"', value);
        pieces.push_back(text.substr(begin, value - begin));
        pieces.push_back(text.substr(value, name - value));
        begin = name;
    }
    pieces.push_back(text.substr(begin));
    return pieces;
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
        rapidJsonBuilt.Clear();
        RapidJsonWriter writer(rapidJsonBuilt);
        tell(writer, shapeOf());
        take(rapidJsonBuilt.GetString());
    });
    addPeer(name, "pieces", load, [pieces = piecesOf(built)](Take take) {
        char* next = peerBuilt;
        for (const std::string& piece : pieces) {
            next = static_cast<char*>(std::memcpy(next, piece.data(), piece.size())) + piece.size();
        }
        *next = '\0';
        take(peerBuilt);
    });
    addBenchmark(name, "memcpy", load, [=] { std::memcpy(peerBuilt, built, length + 1); });
}

} // namespace

int main(int argc, char** argv) {
    printByLine();
    forEachDocument([](auto... document) { addDocument(document...); });
    return runBenchmarks(argc, argv);
}
