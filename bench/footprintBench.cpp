// What the service takes from the machine, beside a program that only uses the same sockets: the time from
// its start until it acknowledges a request, its memory when idle and when busy, and its heap allocations
// while it serves, by the module that asked for them. Figures but the time are counters, in bytes or calls.
//
// usage: footprintBench MPEGFE BARE-SOCKETS ALLOCATION-COUNTER [options of Google Benchmark]
#include "allocationCounts.h"
#include "benchMain.h"
#include "exchange.h"
#include "isolation.h"
#include "workloads.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <string>

namespace {

constexpr int exchangesWhenBusy = 3; // of each kind
constexpr int exchangesCounted = 10; // of each kind

struct Programs {
    std::string service;
    std::string bareSockets;
    std::string allocationCounter;
};

// --- start-up --------------------------------------------------------------------------------------------

void measureStart(benchmark::State& state, const std::string& program) {
    for (auto _ : state) {
        Exchange exchange({program});
        exchange.awaitReady();
        state.SetIterationTime(exchange.secondsSinceStart());
    }
}

// --- memory ----------------------------------------------------------------------------------------------

// Bytes by the names that Linux gives them: "Rss", "Pss", "Private_Dirty".
std::map<std::string, double> memoryOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
    std::string line;
    std::getline(file, line); // the range of addresses
    std::map<std::string, double> bytes;
    std::string name;
    std::string unit;
    double kilobytes = 0;
    while (file >> name >> kilobytes >> unit) {
        name.pop_back(); // the colon
        bytes[name] = kilobytes * 1024;
    }
    return bytes;
}

void reportMemory(benchmark::State& state, pid_t process) {
    std::map<std::string, double> bytes = memoryOf(process);
    state.counters["resident"] = bytes["Rss"];
    state.counters["proportional"] = bytes["Pss"];
    state.counters["private"] = bytes["Private_Clean"] + bytes["Private_Dirty"];
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
    for (auto _ : state) {
        Exchange exchange(silently(program));
        exchange.awaitReady();
        reportMemory(state, exchange.processId());
    }
}

// After documents of all kinds, with the feed open.
void measureBusy(benchmark::State& state, const std::string& program) {
    for (auto _ : state) {
        Exchange exchange(silently(program));
        prepare(exchange, documentRequest("PID list"));
        serveEverything(exchange, exchangesWhenBusy);
        exchange.start(documentRequest("program detail"));
        reportMemory(state, exchange.processId());
    }
}

// The bare program with all its sockets open, and nothing sent over the feed's yet.
void measureOpen(benchmark::State& state, const std::string& program) {
    for (auto _ : state) {
        Exchange exchange({program, "--open-feed"});
        exchange.awaitReady();
        reportMemory(state, exchange.processId());
    }
}

// --- allocations -----------------------------------------------------------------------------------------

// The counts that the preloaded counter keeps.
class SharedCounts {
  public:
    SharedCounts() {
        const int file = mkstemp(path.data());
        if (file < 0 || ftruncate(file, sizeof(AllocationCounts)) != 0) {
            throw std::runtime_error("no file for the allocation counts");
        }
        void* shared = mmap(nullptr, sizeof(AllocationCounts), PROT_READ, MAP_SHARED, file, 0);
        close(file);
        if (shared == MAP_FAILED) {
            throw std::runtime_error("the allocation counts cannot be shared");
        }
        counts = static_cast<const AllocationCounts*>(shared);
    }
    ~SharedCounts() {
        munmap(const_cast<AllocationCounts*>(counts), sizeof(AllocationCounts));
        unlink(path.c_str());
    }
    SharedCounts(const SharedCounts&) = delete;
    SharedCounts& operator=(const SharedCounts&) = delete;

    std::string variable() const {
        return std::string(allocationFileVariable) + "=" + path;
    }

    // Calls so far, by module.
    std::map<std::string, double> calls() const {
        std::map<std::string, double> result;
        for (const ModuleAllocations& module : counts->modules) {
            if (module.module[0] != '\0') {
                result[module.module.data()] += static_cast<double>(module.calls.load());
            }
        }
        return result;
    }

  private:
    std::string path = "/tmp/mpegfe-allocations-XXXXXX";
    const AllocationCounts* counts = nullptr;
};

// Modules that allocated nothing while the program served are left out, but for the program itself.
void measureAllocations(benchmark::State& state, const Programs& programs) {
    for (auto _ : state) {
        const SharedCounts counts;
        Exchange exchange(
            silently(programs.service, {"LD_PRELOAD=" + programs.allocationCounter, counts.variable()}));
        prepare(exchange, documentRequest("PID list"));
        const std::map<std::string, double> before = counts.calls();
        serveEverything(exchange, exchangesCounted);
        for (const auto& [module, calls] : counts.calls()) {
            const double whileServing = calls - before.at(module);
            if (whileServing != 0 || module == executableName) {
                state.counters[module] = whileServing;
            }
        }
        state.counters["executable, since its start"] = counts.calls().at(executableName);
    }
}

void addBenchmarks(const Programs& programs) {
    using Measure = void (*)(benchmark::State & state, const std::string& program);
    const auto add = [](const char* name, Measure measure, const std::string& program) {
        return benchmark::RegisterBenchmark(
                   name, [measure, &program](benchmark::State& state) { measure(state, program); })
            ->Iterations(1)
            ->UseManualTime();
    };
    add("start-up|mpegFE", measureStart, programs.service);
    add("start-up|sockets", measureStart, programs.bareSockets);
    add("memory, idle|mpegFE", measureIdle, programs.service);
    add("memory, idle|sockets", measureIdle, programs.bareSockets);
    add("memory, busy|mpegFE", measureBusy, programs.service);
    add("memory, busy|sockets", measureBusy, programs.bareSockets);
    add("memory, busy|sockets, only open", measureOpen, programs.bareSockets);
    benchmark::RegisterBenchmark("allocations|mpegFE", [&programs](benchmark::State& state) {
        measureAllocations(state, programs);
    })->Iterations(1);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fputs(
            "usage: footprintBench MPEGFE BARE-SOCKETS ALLOCATION-COUNTER [options of Google Benchmark]\n",
            stderr);
        return 2;
    }
    sendConsoleNowhere();
    testSupport::enterIsolation();
    loadFullTables();
    const Programs programs{argv[1], argv[2], argv[3]};
    learnDocumentLengths(programs.service);
    addBenchmarks(programs);
    argv[3] = argv[0];
    return runBenchmarks(argc - 3, argv + 3);
}
