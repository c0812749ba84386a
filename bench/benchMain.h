// What the bench programs share. The figures go to the file of --benchmark_out, because standard output is
// the service's console.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

// The service prints to standard output a line at a time, as it always does.
inline void printByLine() {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

// The sample that this share of the samples is not above.
inline double quantile(std::vector<double>& samples, double share) {
    const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(samples.size() - 1));
    std::nth_element(samples.begin(), samples.begin() + rank, samples.end());
    return samples[static_cast<std::size_t>(rank)];
}

// Registers run as the contestant's work. Google Benchmark runs each benchmark by itself, so each loads its
// own records first.
template <typename Load, typename Run>
void addBenchmark(const std::string& subject, const char* contestant, Load load, Run run) {
    benchmark::RegisterBenchmark((subject + "|" + contestant).c_str(), [=](benchmark::State& state) {
        load();
        for (auto _ : state) {
            run();
            benchmark::ClobberMemory();
        }
    });
}

// Runs what has been registered.
inline int runBenchmarks(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
