// The time from a client's request to its document, beside a program that does nothing but use the same
// sockets in the same order. Two counters, in seconds, are medians of the exchanges, because one that the
// scheduler interrupts says nothing about the program: "toDocument" is that time, "replyWait" is what follows
// the document, the service's wait for the acknowledgement in steps of 10 ms until it takes the next request.
//
// usage: requestBench MPEGFE BARE-SOCKETS [options of Google Benchmark]
#include "benchMain.h"
#include "exchange.h"
#include "isolation.h"
#include "workloads.h"

#include <algorithm>
#include <array>
#include <string>

namespace {

constexpr int exchangesPerStart = 20;

double seconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double>(time).count();
}

double median(std::vector<double>& samples) {
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle;
}

void measure(benchmark::State& state, const std::string& program, const DocumentRequest& request) {
    Exchange exchange(silently(program));
    prepare(exchange, request);
    std::vector<double> toDocument;
    std::vector<double> replyWait;
    for (auto _ : state) {
        const ExchangeTimes times = exchange.run(request);
        toDocument.push_back(seconds(times.toDocument));
        replyWait.push_back(seconds(times.toNextAnswer));
        state.SetIterationTime(toDocument.back());
    }
    state.counters["toDocument"] = median(toDocument);
    state.counters["replyWait"] = median(replyWait);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: requestBench MPEGFE BARE-SOCKETS [options of Google Benchmark]\n", stderr);
        return 2;
    }
    sendConsoleNowhere();
    testSupport::enterIsolation();
    loadFullTables();
    const std::array<std::pair<const char*, std::string>, 2> contestants{
        {{"mpegFE", argv[1]}, {"sockets", argv[2]}}};
    learnDocumentLengths(contestants[0].second);
    for (const DocumentRequest& request : documentRequests()) {
        for (const auto& [name, program] : contestants) {
            benchmark::RegisterBenchmark(
                (std::string("request/") + request.name + "|" + name).c_str(),
                [&request, &program = program](benchmark::State& state) { measure(state, program, request); })
                ->UseManualTime()
                ->Iterations(exchangesPerStart);
        }
    }
    argv[2] = argv[0];
    return runBenchmarks(argc - 2, argv + 2);
}
