// Serves one process many requests of each kind and compares what it holds after the first hundred with what
// it holds at the end: descriptors, threads, memory, and the heap of its own code and of Jansson. Prints a
// table; fails when something has grown.
//
// usage: soak [--short]     --short: a few hundred of each
#include "../support/isolation.h"
#include "../support/sharedHeap.h"
#include "recordText.h"
#include "serviceRun.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

using serviceTest::RecordBook;
using serviceTest::ServiceRun;
using testSupport::SharedHeap;

constexpr int warmUp = 100;
constexpr int shortTimes = 300;
// What the C library keeps of freed memory differs from one moment to the next.
constexpr long noiseKilobytes = 1024;

constexpr const char* janssonModule = "libjansson";

// What the process holds while it waits for a request.
struct Holdings {
    long descriptors = 0;
    long threads = 0;
    long residentKilobytes = 0;
    long ownHeap = 0;     // bytes in use by the program's own code
    long janssonHeap = 0; // and by Jansson for it
};

RecordBook readRecords() {
    std::ifstream file(MPEGFE_RECORDS);
    RecordBook book;
    serviceTest::RecordReader reader(book);
    for (std::string line; std::getline(file, line);) {
        const std::vector<std::string> words = serviceTest::splitWords(line);
        if (!words.empty() && !words[0].starts_with('#')) {
            reader.readLine(words);
        }
    }
    return book;
}

serviceTest::RunOptions soakOptions(const SharedHeap& heap) {
    serviceTest::RunOptions options;
    options.recorded = false;
    options.environment = heap.environment(MPEGFE_HEAP_COUNTER);
    return options;
}

// The service between peers that answer everything.
class Soak {
  public:
    Soak() : run(soakOptions(heap)) {
        run.startTrufios();
        run.startParser();
        run.startService();
    }

    // A table that is asked for, up to its acknowledged document.
    void tableOn() {
        startRequest(R"({"dataStream":"PAT","status":"on"})", 3);
        publish({"PAT", "TS-STATUS"});
        acknowledgeDocument();
    }
    void tableOff() {
        startRequest(R"({"dataStream":"PAT","status":"off"})", 0);
    }
    void programDetail() {
        startRequest(R"({"dataStream":"pgmDetail","patIndex":"1"})", 5);
        publish({"AVPGM", "PAT", "PMT", "TS-STATUS"});
        acknowledgeDocument();
    }
    void refused() {
        request(R"({"dataStream":"nonsense","status":["on"],"patIndex":"1"})");
    }

    // Once the service waits for a request and for nothing else.
    Holdings holdings() {
        refused();
        run.waitForSleep();
        const std::string process = "/proc/" + std::to_string(run.processId());
        Holdings held;
        held.descriptors = static_cast<long>(run.descriptorCount());
        held.threads = static_cast<long>(std::distance(std::filesystem::directory_iterator(process + "/task"),
                                                       std::filesystem::directory_iterator()));
        std::ifstream statm(process + "/statm");
        long pages = 0;
        statm >> pages >> held.residentKilobytes;
        held.residentKilobytes *= sysconf(_SC_PAGESIZE) / 1024;
        held.ownHeap = heap[executableModule].bytesInUse;
        held.janssonHeap = heap[janssonModule].bytesInUse;
        return held;
    }

    long ownAllocations() const {
        return heap[executableModule].allocations;
    }
    long janssonAllocations() const {
        return heap[janssonModule].allocations;
    }

  private:
    void request(const std::string& text) {
        run.trufios().sendRequest({text});
        run.waitUntil("an acknowledgement", [&] { return !run.trufios().acknowledgements.empty(); });
        run.trufios().acknowledgements.pop_front();
    }

    // Up to the answered instruction, when the service has made this many subscriptions.
    void startRequest(const std::string& text, std::size_t subscriptions) {
        run.parser().subscriptions.clear();
        run.parser().unsubscriptions.clear();
        request(text);
        run.waitUntil("subscriptions and an instruction", [&] {
            return run.parser().subscriptions.size() == subscriptions && !run.parser().instructions.empty();
        });
        run.parser().answerInstruction(run.parser().instructions.front());
        run.parser().instructions.pop_front();
    }

    void publish(std::initializer_list<const char*> topics) {
        for (const char* topic : topics) {
            const serviceTest::Record& record = records.at(std::string(topic) + " stream");
            run.parser().publish({record.topic, "1", record.bytes});
        }
    }

    void acknowledgeDocument() {
        run.waitUntil("a document", [&] { return !run.trufios().documents.empty(); });
        run.trufios().documents.pop_front();
        run.trufios().answerDocument(R"({"reply": "ack"})");
    }

    SharedHeap heap;
    ServiceRun run;
    RecordBook records = readRecords();
};

struct Load {
    const char* name;
    int times;
    std::function<void(Soak&)> once;
};

const std::vector<Load>& loads() {
    static const std::vector<Load> all{
        {R"("on" without "off")", 10000, [](Soak& soak) { soak.tableOn(); }},
        {R"("on" and "off")", 10000,
         [](Soak& soak) {
             soak.tableOn();
             soak.tableOff();
         }},
        {"program details", 1000, [](Soak& soak) { soak.programDetail(); }},
        {"refused requests", 1000, [](Soak& soak) { soak.refused(); }},
    };
    return all;
}

bool hasGrown(const Holdings& early, const Holdings& late) {
    return early.descriptors != late.descriptors || early.threads != late.threads ||
           late.residentKilobytes > early.residentKilobytes + noiseKilobytes || late.ownHeap != 0 ||
           late.janssonHeap != 0;
}

void printHeadings() {
    std::printf("%-20s %7s %15s %13s %18s %12s %12s\n", "", "times", "descriptors", "threads", "resident kB",
                "own heap", "Jansson");
}

void printRow(const char* name, int times, const Holdings& early, const Holdings& late, bool grown) {
    std::printf("%-20s %7d %6ld -> %5ld %5ld -> %4ld %7ld -> %7ld %3ld -> %5ld %3ld -> %5ld%s\n", name, times,
                early.descriptors, late.descriptors, early.threads, late.threads, early.residentKilobytes,
                late.residentKilobytes, early.ownHeap, late.ownHeap, early.janssonHeap, late.janssonHeap,
                grown ? "  GROWN" : "");
    std::fflush(stdout);
}

// Returns whether nothing has grown.
bool soakAll(bool inShort) {
    Soak soak;
    printHeadings();
    bool steady = true;
    for (const Load& load : loads()) {
        const int times = inShort ? std::min(load.times, shortTimes) : load.times;
        Holdings early;
        for (int k = 0; k < times; ++k) {
            if (k == warmUp) {
                early = soak.holdings();
            }
            load.once(soak);
        }
        const Holdings late = soak.holdings();
        const bool grown = hasGrown(early, late);
        printRow(load.name, times, early, late, grown);
        steady = steady && !grown;
    }
    std::printf("allocations since the start: %ld by the service's own code, %ld by Jansson for it\n",
                soak.ownAllocations(), soak.janssonAllocations());
    return steady;
}

} // namespace

int main(int argc, char** argv) {
    const bool inShort = argc == 2 && std::string_view(argv[1]) == "--short";
    if (argc > 1 && !inShort) {
        std::fputs("usage: soak [--short]\n", stderr);
        return 2;
    }
    testSupport::enterIsolation();
    try {
        return soakAll(inShort) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& trouble) {
        std::fprintf(stderr, "soak: %s\n", trouble.what());
        return EXIT_FAILURE;
    }
}
