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

#include <algorithm>

namespace {

constexpr int exchangesPerStart = 20;

// The sample that this share of the samples is not above.
double quantile(std::vector<double>& samples, double share) {
    const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(samples.size() - 1));
    std::nth_element(samples.begin(), samples.begin() + rank, samples.end());
    return samples[static_cast<std::size_t>(rank)];
}

void measure(benchmark::State& state, const std::string& program, const DocumentRequest& request) {
    Exchange exchange(silently(program));
    exchange.prepare(request);
    std::vector<double> toDocument;
    std::vector<double> replyWait;
    for (auto _ : state) {
        const ExchangeTimes times = exchange.run(request);
        toDocument.push_back(times.toDocument.count());
        replyWait.push_back(times.replyWait.count());
        state.SetIterationTime(toDocument.back());
    }
    state.counters["toDocument"] = quantile(toDocument, 0.1);
    state.counters["replyWait"] = quantile(replyWait, 0.5);
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> programs = takeFiles(argc, argv, 2);
    testSupport::enterIsolation();
    loadFullTables();
    learnDocumentLengths(programs[0]);
    for (const DocumentRequest& request : documentRequests()) {
        for (const std::size_t k : {0, 1}) {
            benchmark::RegisterBenchmark(
                (std::string("request/") + request.name + (k == 0 ? "|mpegFE" : "|sockets")).c_str(),
                [&, k](benchmark::State& state) { measure(state, programs[k], request); })
                ->UseManualTime()
                ->Iterations(exchangesPerStart);
        }
    }
    return runBenchmarks(argc, argv);
}
