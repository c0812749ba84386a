// The real process beside a program that does nothing but use the same sockets in the same order: the time
// from a client's request to its document, the time from its start until it acknowledges a request, its
// memory when idle and when busy, and its heap allocations while it serves, by the module that asked for
// them.
//
// Figures but the start-up time are counters, in seconds, bytes and calls. "toDocument" is the lowest tenth
// of the exchanges, because whoever else is at work on the machine only ever adds to it; "replyWait" is what
// follows the document, the service's wait for the acknowledgement in steps of 10 ms until it takes the next
// request, the median.
#include "benchMain.h"
#include "documentRequests.h"
#include "exchange.h"
#include "isolation.h"
#include "sharedHeap.h"
#include "workloads.h"

#include <chrono>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using testSupport::Exchange;
using testSupport::silently;

constexpr int exchangesPerStart = 20; // of one kind
constexpr int exchangesWhenBusy = 3;  // of each kind
constexpr int exchangesCounted = 10;  // of each kind

// --- the exchange of a request for its document ---------------------------------------------------------

struct ExchangeTimes {
    std::chrono::duration<double> toDocument; // from the request's send to the document's arrival
    // From the document's acknowledgement until the next request is acknowledged: the reply wait and what
    // follows it.
    std::chrono::duration<double> replyWait;
};

// As the service made it when it was asked first.
std::map<std::string, std::size_t> documentLengths; // by the request's name

// What both contestants are sent. The members that begin with "bare" tell the bare program, which has no
// documents of its own, what its exchange looks like; the service has no use for them.
std::string requestText(const DocumentRequest& request) {
    unsigned wanted = 0;
    for (const Topic& topic : request.topics) {
        wanted |= topic.bit;
    }
    return std::string("{") + request.members + ", \"bareTopics\": " + std::to_string(wanted) +
           ", \"bareLength\": " + std::to_string(documentLengths[request.name]) + "}";
}

// Requests the document, publishes its records, and acknowledges the document. Leaves the feed open. Throws
// std::runtime_error when a document has another length than before.
ExchangeTimes startDocument(Exchange& exchange, const DocumentRequest& request) {
    using Clock = std::chrono::steady_clock;
    const std::string text = requestText(request);
    const Clock::time_point sent = Clock::now();
    exchange.startFeed(text, request.topics.size());
    for (const auto& [topic, bytes] : publishedNow(request.topics)) {
        exchange.publish(topic->name, {bytes.data(), bytes.size()});
    }
    const std::size_t length = exchange.awaitDocument().size();
    const Clock::time_point arrived = Clock::now();
    std::size_t& knownLength = documentLengths[request.name];
    if (knownLength != 0 && knownLength != length) {
        throw std::runtime_error("the document has another length than before");
    }
    knownLength = length;
    exchange.acknowledgeDocument();
    const Clock::time_point acknowledged = Clock::now();
    exchange.awaitReady();
    return {arrived - sent, Clock::now() - acknowledged};
}

// The same, and stops the feed again.
ExchangeTimes runDocument(Exchange& exchange, const DocumentRequest& request) {
    const ExchangeTimes times = startDocument(exchange, request);
    exchange.stopFeed();
    return times;
}

// Makes the programs known to the program if the request is to find them so, and runs the request once.
void prepare(Exchange& exchange, const DocumentRequest& request) {
    if (request.programsKnown) {
        runDocument(exchange, programDetailRequest);
    }
    runDocument(exchange, request);
}

// Asks the service for each document once, because the bare program must be told how long they are.
void learnDocumentLengths(const std::string& service) {
    for (const DocumentRequest& request : documentRequests) {
        Exchange exchange(silently(service));
        prepare(exchange, request);
    }
}

// --- what is measured of a program ----------------------------------------------------------------------

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
void measureAllocations(benchmark::State& state, const std::string& program) {
    const testSupport::SharedHeap heap;
    Exchange exchange(silently(program, heap.environment(HEAP_COUNTER)));
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
    testSupport::enterIsolation();
    loadFullTables();
    learnDocumentLengths(MPEGFE);
    const std::map<std::string, std::string> programs{{"mpegFE", MPEGFE}, {"sockets", BARE_SOCKETS}};
    for (const auto& [contestant, program] : programs) {
        for (const DocumentRequest& request : documentRequests) {
            add(std::string("request/") + request.name + "|" + contestant, measureRequest, program, request);
        }
        add("start-up|" + contestant, measureStart, program);
        add("memory, idle|" + contestant, measureIdle, silently(program));
        add("memory, busy|" + contestant, measureBusy, program);
    }
    add("memory, busy|sockets, only open", measureIdle,
        std::vector<std::string>{BARE_SOCKETS, "--open-feed"});
    add("allocations|mpegFE", measureAllocations, std::string(MPEGFE));
    return runBenchmarks(argc, argv);
}
