// The service's stream model and documents against the reference, on random record sets.
//
// MPEGFE_REFERENCE_SETS in the environment sets how many record sets are compared, half of them consistent;
// otherwise the build does.
#include "comparison.h"
#include "recordSets.h"
#include "streamModel.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace mpegfe;
using namespace wire;
using reference::Questions;
using reference::Random;
using reference::StreamModel;

// Sets that follow one another from the state in which the process starts.
constexpr int setsOfOneRun = 8;

int setsToCompare() {
    const char* wanted = std::getenv("MPEGFE_REFERENCE_SETS");
    return wanted == nullptr ? MPEGFE_USUAL_REFERENCE_SETS : std::atoi(wanted);
}

// Both get the same records. Now and then the parser sends no SDT, so that the one made before stays.
void load(const RecordSet& set, StreamModel& model, bool withSdt) {
    const SdtRecord keptByService = newestRecords.sdt;
    const std::vector<unsigned char> keptByReference = model.records.sdtBytes;
    newestRecords = set;
    copyRecords(model);
    if (!withSdt) {
        newestRecords.sdt = keptByService;
        model.records.sdtBytes = keptByReference;
    }
}

Questions ask(const RecordSet& set, Random& random, bool consistent) {
    Questions questions{set.pat.programCount, {}, static_cast<int>(random.below(65536))};
    if (!consistent && random.oneIn(4)) {
        questions.programCount = static_cast<std::int32_t>(random.bits());
    }
    std::ranges::generate(questions.programIndexes,
                          [&] { return static_cast<int>(random.below(maxPmtSlots)); });
    return questions;
}

using FillSet = void (*)(RecordSet&, Random&);

// Runs of a few sets each, until that many are compared. The seed of a run is its number.
void compare(int sets, bool consistent) {
    const FillSet fill = consistent ? reference::fillConsistently : reference::fillInconsistently;
    const auto set = std::make_unique<RecordSet>();
    for (int compared = 0; compared < sets;) {
        const auto seed = static_cast<std::uint64_t>(compared / setsOfOneRun);
        Random random(seed);
        StreamModel model;
        reference::clearService();
        for (int i = 0; i < setsOfOneRun && compared < sets; ++i, ++compared) {
            fill(*set, random);
            load(*set, model, i == 0 || !random.oneIn(4));
            ASSERT_EQ(reference::firstDifference(model, ask(*set, random, consistent)), "")
                << "set " << i << " of the run with seed " << seed;
        }
    }
    std::printf("%d record sets compared, equal in every byte\n", sets);
}

// The console lines of the reference alone.
std::string linesOf(StreamModel& model) {
    reference::collectPids(model, model.records.pat().programCount());
    reference::printSdtSummary(model);
    reference::pidListDocument(model);
    reference::psiDocument(model, 19);
    return model.console;
}

} // namespace

TEST(Reference, AgreesWithTheServiceOnConsistentRecords) {
    compare(setsToCompare() / 2, true);
}

TEST(Reference, AgreesWithTheServiceOnInconsistentRecords) {
    compare(setsToCompare() - setsToCompare() / 2, false);
}

// What the comparison is worth: the sets are random, and yet bring up every line that the model can print.
TEST(Reference, IsAskedForEveryConsoleLine) {
    std::string seen;
    Random random(0);
    const auto set = std::make_unique<RecordSet>();
    for (int i = 0; i < 400; ++i) {
        StreamModel model;
        reference::fillInconsistently(*set, random);
        newestRecords = *set;
        copyRecords(model);
        seen += linesOf(model);
    }
    for (const char* line :
         {"EMM Missing PID ", "EMM Pid < 32 pid ", "Artificial SDT constructed", "PMT Pid < 32 PMT ",
          "VID Pid < 32 PMT ", "PCR Pid < 32 PMT ", "ECM Pid < 32 PMT ", "AUD Pid < 32 PMT ",
          "PVT Pid < 32 PMT ", "Unk Pid < 32 PMT ", "Collecting PIDs match Audio error", "TYPE 12 ORDER ",
          "SDT Svcs ", "Service: ", "JSON PID Overflow", "Unsupported PSI "}) {
        EXPECT_NE(seen.find(line), std::string::npos) << line;
    }
}
