// The time from a client's request to its document, beside a program that does nothing but use the same
// sockets in the same order. Two counters, in seconds: "toDocument" is that time, the lowest tenth of the
// exchanges, because whoever else is at work on the machine only ever adds to it; "replyWait" is what follows
// the document, the service's wait for the acknowledgement in steps of 10 ms until it takes the next request,
// the median.
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

// The sample that this share of the samples is not above.
double quantile(std::vector<double>& samples, double share) {
    const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(samples.size() - 1));
    std::nth_element(samples.begin(), samples.begin() + rank, samples.end());
    return samples[static_cast<std::size_t>(rank)];
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
    state.counters["toDocument"] = quantile(toDocument, 0.1);
    state.counters["replyWait"] = quantile(replyWait, 0.5);
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
