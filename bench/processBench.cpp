// The real process beside a program that does nothing but use the same sockets in the same order: the time
// from a client's request to its document, the time from its start until it acknowledges a request, its
// memory when idle and when busy, and its heap allocations while it serves, by the module that asked for
// them.
//
// Figures but the start-up time are counters, in seconds, bytes and calls. "toDocument" is the lowest tenth
// of the exchanges, because whoever else is at work on the machine only ever adds to it; "replyWait" is what
// follows the document, the service's wait for the acknowledgement in steps of 10 ms until it takes the next
// request, the median.
//
// usage: processBench MPEGFE BARE-SOCKETS HEAP-COUNTER [options of Google Benchmark]
#include "benchMain.h"
#include "documentRequests.h"
#include "isolation.h"
#include "sharedHeap.h"

#include <algorithm>
#include <fstream>
#include <map>

namespace {

using testSupport::Exchange;
using testSupport::silently;

constexpr int exchangesPerStart = 20; // of one kind
constexpr int exchangesWhenBusy = 3;  // of each kind
constexpr int exchangesCounted = 10;  // of each kind

// The sample that this share of the samples is not above.
double quantile(std::vector<double>& samples, double share) {
    const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(samples.size() - 1));
    std::nth_element(samples.begin(), samples.begin() + rank, samples.end());
    return samples[static_cast<std::size_t>(rank)];
}

void measureRequest(benchmark::State& state, const std::string& program, const DocumentRequest& request) {
    Exchange exchange(silently(program));
    prepare(exchange, request);
    std::vector<double> toDocument;
    std::vector<double> replyWait;
    for (int k = 0; k < exchangesPerStart; ++k) {
        const ExchangeTimes times = runDocument(exchange, request);
        toDocument.push_back(times.toDocument.count());
        replyWait.push_back(times.replyWait.count());
    }
    state.counters["toDocument"] = quantile(toDocument, 0.1);
    state.counters["replyWait"] = quantile(replyWait, 0.5);
}

void measureStart(benchmark::State& state, const std::string& program) {
    Exchange exchange({program});
    exchange.awaitReady();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - exchange.startTime();
    state.SetIterationTime(seconds.count());
}

void reportMemory(benchmark::State& state, const Exchange& exchange) {
    std::ifstream file("/proc/" + std::to_string(exchange.process().processId()) + "/smaps_rollup");
    std::string line;
    std::getline(file, line);            // the range of addresses
    std::map<std::string, double> bytes; // by the names that Linux gives them
    std::string name;
    std::string unit;
    double kilobytes = 0;
    while (file >> name >> kilobytes >> unit) {
        bytes[name] = kilobytes * 1024;
    }
    state.counters["resident"] = bytes["Rss:"];
    state.counters["proportional"] = bytes["Pss:"];
    state.counters["private"] = bytes["Private_Clean:"] + bytes["Private_Dirty:"];
}

void serveEverything(Exchange& exchange, int times) {
    for (int k = 0; k < times; ++k) {
        for (const DocumentRequest& request : documentRequests) {
            if (request.programsKnown) {
                runDocument(exchange, request);
            }
        }
    }
}

// Where it waits for its first request. The bare program may have all its sockets open, and nothing sent over
// the feed's yet.
void measureIdle(benchmark::State& state, const std::vector<std::string>& words) {
    Exchange exchange(words);
    exchange.awaitReady();
    reportMemory(state, exchange);
}

// After documents of all kinds, with the feed open.
void measureBusy(benchmark::State& state, const std::string& program) {
    Exchange exchange(silently(program));
    prepare(exchange, pidListRequest);
    serveEverything(exchange, exchangesWhenBusy);
    startDocument(exchange, programDetailRequest);
    reportMemory(state, exchange);
}

// Modules that allocated nothing while the program served are left out, but for the program itself.
void measureAllocations(benchmark::State& state, const std::string& program, const std::string& counter) {
    const testSupport::SharedHeap heap;
    Exchange exchange(silently(program, heap.environment(counter)));
    prepare(exchange, pidListRequest);
    auto before = heap.modules();
    serveEverything(exchange, exchangesCounted);
    state.counters[executableModule] = 0;
    for (const auto& [module, counts] : heap.modules()) {
        const std::int64_t calls = counts.allocations - before[module].allocations;
        if (calls != 0) {
            state.counters[module] = static_cast<double>(calls);
        }
    }
    state.counters["executable, since its start"] = static_cast<double>(heap[executableModule].allocations);
}

// Each repetition starts its program once.
template <typename Measure, typename... Arguments>
void add(const std::string& name, Measure measure, const Arguments&... arguments) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     for (auto _ : state) {
                                         measure(state, arguments...);
                                     }
                                 })
        ->Iterations(1)
        ->UseManualTime();
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> files = takeFiles(argc, argv, 3);
    testSupport::enterIsolation();
    loadFullTables();
    learnDocumentLengths(files[0]);
    for (const std::string contestant : {"mpegFE", "sockets"}) {
        const std::string& program = contestant == "mpegFE" ? files[0] : files[1];
        for (const DocumentRequest& request : documentRequests) {
            add(std::string("request/") + request.name + "|" + contestant, measureRequest, program, request);
        }
        add("start-up|" + contestant, measureStart, program);
        add("memory, idle|" + contestant, measureIdle, silently(program));
        add("memory, busy|" + contestant, measureBusy, program);
    }
    add("memory, busy|sockets, only open", measureIdle, std::vector<std::string>{files[1], "--open-feed"});
    add("allocations|mpegFE", measureAllocations, files[0], files[2]);
    return runBenchmarks(argc, argv);
}
