// The collection of the PID table beside the same collection written plainly. Both must make the same table
// first.
#include "benchMain.h"
#include "plainCollection.h"
#include "workloads.h"

#include "feed/recordStore.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Subject {
    const char* name;
    StreamShape shape;
};

const std::vector<Subject> subjects{
    {"collection/16 PIDs", {16, 2, 1, 0, 0, true}},
    {"collection/64 PIDs", {64, 10, 2, 1, 1, true}},
    {"collection/128 PIDs", {128, 20, 2, 1, 1, true}},
    {"collection/256 PIDs", {256, 45, 2, 1, 0, true}},
    {"collection/256 PIDs, 58 programs of 32 PIDs", {256, 58, 12, 12, 6, true}},
    {"collection/256 PIDs, 58 programs of 32 absent PIDs", {256, 58, 12, 12, 6, false}},
};

void requireSameTables(const Subject& subject) {
    loadStream(subject.shape);
    collectPlainly(newestRecords.pat.programCount);
    collectPids(newestRecords.pat.programCount);
    const auto size = static_cast<std::size_t>(subject.shape.pids) * sizeof(PidEntry);
    if (std::memcmp(pidTable, plainTable, size) != 0 || aggStreamRate != plainAggregateRate ||
        std::memcmp(programRates, plainProgramRates, static_cast<std::size_t>(subject.shape.programs) * 4) !=
            0) {
        std::fprintf(stderr, "%s: the two collections differ\n", subject.name);
        std::exit(1);
    }
}

template <typename Collect>
void addBenchmark(const Subject& subject, const char* contestant, Collect collect) {
    benchmark::RegisterBenchmark((std::string(subject.name) + "|" + contestant).c_str(),
                                 [&subject, collect](benchmark::State& state) {
                                     loadStream(subject.shape);
                                     for (auto _ : state) {
                                         collect(newestRecords.pat.programCount);
                                         benchmark::ClobberMemory();
                                     }
                                 });
}

} // namespace

int main(int argc, char** argv) {
    sendConsoleNowhere();
    for (const Subject& subject : subjects) {
        requireSameTables(subject);
        addBenchmark(subject, "mpegFE", [](std::int32_t count) { collectPids(count); });
        addBenchmark(subject, "plain", [](std::int32_t count) { collectPlainly(count); });
    }
    return runBenchmarks(argc, argv);
}
