// Serves one process many requests of each kind and compares what it holds after the first hundred with what
// it holds at the end: descriptors, threads, memory, and the heap of its own code and of Jansson. Prints a
// table; fails when something has grown.
//
// usage: soak [--short]     --short: a few hundred of each
#include "../support/exchange.h"
#include "../support/isolation.h"
#include "../support/sharedHeap.h"
#include "recordText.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using serviceTest::RecordBook;
using testSupport::Exchange;
using testSupport::SharedHeap;
using testSupport::silently;

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

// The service between peers that answer everything.
class Soak {
  public:
    // A table that is asked for, up to its acknowledged document.
    void tableOn() {
        document(R"({"dataStream":"PAT","status":"on"})", 3, {"PAT", "TS-STATUS"});
    }
    void tableOff() {
        service.startFeed(R"({"dataStream":"PAT","status":"off"})", 0);
    }
    void programDetail() {
        document(R"({"dataStream":"pgmDetail","patIndex":"1"})", 5, {"AVPGM", "PAT", "PMT", "TS-STATUS"});
    }
    void refused() {
        service.request(R"({"dataStream":"nonsense","status":["on"],"patIndex":"1"})");
    }

    // Once the service waits for a request and for nothing else.
    Holdings holdings() {
        refused();
        while (!service.process().sleeps()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const std::string process = "/proc/" + std::to_string(service.process().processId());
        Holdings held;
        held.descriptors = static_cast<long>(service.process().descriptorCount());
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
    void document(const char* request, std::size_t subscriptions, std::initializer_list<const char*> topics) {
        service.startFeed(request, subscriptions);
        for (const char* topic : topics) {
            const serviceTest::Record& record = records.at(std::string(topic) + " stream");
            service.publish(record.topic, record.bytes);
        }
        service.awaitDocument();
        service.acknowledgeDocument();
    }

    SharedHeap heap;
    Exchange service{silently(MPEGFE_PROGRAM, heap.environment(MPEGFE_HEAP_COUNTER))};
    RecordBook records = serviceTest::readRecordBook(MPEGFE_RECORDS);
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
