// The collection of the PID table beside the same collection written plainly. Both must make the same table
// first.
#include "benchMain.h"
#include "plainCollection.h"
#include "workloads.h"

#include "feed/recordStore.h"
#include "serviceNames.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

struct Subject {
    std::string name;
    StreamShape shape;
};

// The programs' PIDs always fill the list, so that no PID is unknown and printed, but for one subject. In the
// worst case nearly every search reads the whole list: there are more programs than fit into it, and
// the first ones fill it with PIDs that get a type. With PIDs that no program claims, the table is as long,
// but the console lines about those PIDs are what takes the time, in both collections alike.
constexpr StreamShape worstCase{maxPids, maxPmtSlots, maxAudioTracks, maxPrivatePids, maxEcmPids, true};

std::vector<Subject> makeSubjects() {
    StreamShape printed = worstCase;
    printed.listsComponents = false;
    std::vector<Subject> subjects{
        {"collection/16 PIDs", {16, 3, 1, 0, 0, true}},
        {"collection/64 PIDs", {64, 10, 2, 1, 1, true}},
        {"collection/128 PIDs", {128, 21, 2, 1, 1, true}},
        {"collection/256 PIDs", {256, 50, 2, 1, 0, true}},
        {"collection/worst case", worstCase},
        {"collection/worst case, 249 PIDs printed", printed},
    };
    for (int pids = 32; pids <= maxPids; pids += 32) {
        StreamShape shape = worstCase;
        shape.pids = pids;
        subjects.push_back({"collection by PIDs/" + std::to_string(pids), shape});
    }
    // From eight programs on, their PIDs fill the list.
    for (const int programs : {8, 16, 24, 32, 40, 48, 56}) {
        StreamShape shape = worstCase;
        shape.programs = programs;
        subjects.push_back({"collection by programs/" + std::to_string(programs), shape});
    }
    return subjects;
}

void requireSameTables(const Subject& subject) {
    loadStream(subject.shape);
    collectPlainly(newestRecords.pat.programCount);
    collectPids(newestRecords.pat.programCount);
    const auto size = static_cast<std::size_t>(subject.shape.pids) * sizeof(PidEntry);
    if (std::memcmp(pidTable, plainTable, size) != 0 || aggStreamRate != plainAggregateRate ||
        std::memcmp(programRates, plainProgramRates, static_cast<std::size_t>(subject.shape.programs) * 4) !=
            0) {
        std::fprintf(stderr, "%s: the two collections differ\n", subject.name.c_str());
        std::exit(1);
    }
}

} // namespace

int main(int argc, char** argv) {
    printByLine();
    for (const Subject& subject : makeSubjects()) {
        requireSameTables(subject);
        const auto load = [shape = subject.shape] { loadStream(shape); };
        addBenchmark(subject.name, "mpegFE", load, [] { collectPids(newestRecords.pat.programCount); });
        addBenchmark(subject.name, "plain", load, [] { collectPlainly(newestRecords.pat.programCount); });
    }
    return runBenchmarks(argc, argv);
}
