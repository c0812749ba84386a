// What the service takes from the machine, beside a program that only uses the same sockets: the time from
// its start until it acknowledges a request, its memory when idle and when busy, and its heap allocations
// while it serves, by the module that asked for them. Figures but the time are counters, in bytes or calls.
//
// usage: footprintBench MPEGFE BARE-SOCKETS HEAP-COUNTER [options of Google Benchmark]
#include "benchMain.h"
#include "exchange.h"
#include "isolation.h"
#include "sharedHeap.h"

#include <fstream>
#include <map>

namespace {

constexpr int exchangesWhenBusy = 3; // of each kind
constexpr int exchangesCounted = 10; // of each kind

// --- memory ----------------------------------------------------------------------------------------------

void reportMemory(benchmark::State& state, const Exchange& exchange) {
    std::ifstream file("/proc/" + std::to_string(exchange.processId()) + "/smaps_rollup");
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
        for (const DocumentRequest& request : documentRequests()) {
            if (request.programsKnown) {
                exchange.run(request);
            }
        }
    }
}

void measureIdle(benchmark::State& state, const std::string& program) {
    reportMemory(state, Exchange(silently(program)));
}

// After documents of all kinds, with the feed open.
void measureBusy(benchmark::State& state, const std::string& program) {
    Exchange exchange(silently(program));
    exchange.prepare(documentRequest("PID list"));
    serveEverything(exchange, exchangesWhenBusy);
    exchange.start(documentRequest("program detail"));
    reportMemory(state, exchange);
}

// The bare program with all its sockets open, and nothing sent over the feed's yet.
void measureOpen(benchmark::State& state, const std::string& program) {
    reportMemory(state, Exchange({program, "--open-feed"}));
}

// --- allocations -----------------------------------------------------------------------------------------

// Modules that allocated nothing while the program served are left out, but for the program itself.
void measureAllocations(benchmark::State& state, const std::string& program, const std::string& counter) {
    const testSupport::SharedHeap heap;
    Exchange exchange(silently(program, heap.environment(counter)));
    exchange.prepare(documentRequest("PID list"));
    auto before = heap.modules();
    serveEverything(exchange, exchangesCounted);
    const auto calls = [](std::int64_t count) { return static_cast<double>(count); };
    state.counters[executableModule] = 0;
    for (const auto& [module, counts] : heap.modules()) {
        if (counts.allocations != before[module].allocations) {
            state.counters[module] = calls(counts.allocations - before[module].allocations);
        }
    }
    state.counters["executable, since its start"] = calls(heap[executableModule].allocations);
}

// Each repetition starts its program once.
template <typename Measure, typename... Files>
void add(const char* name, Measure measure, const Files&... files) {
    benchmark::RegisterBenchmark(name,
                                 [=](benchmark::State& state) {
                                     for (auto _ : state) {
                                                                      measure(state, files...);
                                     }
                                 })
        ->Iterations(1)
        ->UseManualTime();
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> files = takeFiles(argc, argv, 3);
    const std::string& service = files[0];
    const std::string& bareSockets = files[1];
    testSupport::enterIsolation();
    loadFullTables();
    learnDocumentLengths(service);
    const auto measureStart = [](benchmark::State& state, const std::string& program) {
        state.SetIterationTime(Exchange({program}).secondsToReady());
    };
    add("start-up|mpegFE", measureStart, service);
    add("start-up|sockets", measureStart, bareSockets);
    add("memory, idle|mpegFE", measureIdle, service);
    add("memory, idle|sockets", measureIdle, bareSockets);
    add("memory, busy|mpegFE", measureBusy, service);
    add("memory, busy|sockets", measureBusy, bareSockets);
    add("memory, busy|sockets, only open", measureOpen, bareSockets);
    add("allocations|mpegFE", measureAllocations, service, files[2]);
    return runBenchmarks(argc, argv);
}
