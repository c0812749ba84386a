// The service's stream model and documents against the reference, on random record sets: return values,
// console lines, PID table, rates, every byte of the nine records and all documents.
//
// MPEGFE_REFERENCE_SETS sets how many record sets are compared (50000), half of them consistent.
#include "documents/pgmDetailDocument.h"
#include "documents/pgmListDocument.h"
#include "documents/pidListDocument.h"
#include "documents/psiDocument.h"
#include "model/pidTable.h"
#include "model/sdtSummary.h"
#include "recordSets.h"
#include "streamModel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using reference::Random;
using reference::StreamModel;

// Sets that follow one another from the state in which the process starts.
constexpr int setsOfOneRun = 8;

int setsToCompare() {
    const char* wanted = std::getenv("MPEGFE_REFERENCE_SETS");
    return wanted == nullptr ? 50000 : std::atoi(wanted);
}

// Standard output, kept in memory while this lives.
class CapturedConsole {
  public:
    CapturedConsole() : console(stdout), memory(open_memstream(&text, &length)) {
        std::fflush(console);
        stdout = memory;
    }
    ~CapturedConsole() {
        stdout = console;
        std::fclose(memory);
        std::free(text);
    }
    CapturedConsole(const CapturedConsole&) = delete;
    CapturedConsole& operator=(const CapturedConsole&) = delete;

    // What was printed since the last call.
    std::string take() {
        std::fflush(memory);
        const std::string printed(text + taken, length - taken);
        taken = length;
        return printed;
    }

  private:
    char* text = nullptr;
    std::size_t length = 0;
    std::size_t taken = 0;
    FILE* console;
    FILE* memory;
};

// What one of the two made of a record set. Texts by name, so that a difference says where it is.
struct Outcome {
    std::vector<std::pair<std::string, std::string>> texts;
    std::vector<float> sums; // programRates and aggStreamRate

    void add(const std::string& name, const std::string& text) {
        texts.emplace_back(name, text);
    }
};

// What a set is asked for, besides what every set is.
struct Questions {
    std::int32_t programCount;
    std::array<int, 3> programIndexes;
    int psiPid; // mostly one without a document
};

constexpr std::array psiPids{0, 1, 16, 17, 18, 20};

template <typename Number>
void appendBytes(std::string& bytes, Number number) {
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

// What follows a text in its field belongs to nobody, and neither does the sign of a sum that is NaN: which
// of two NaN an addition keeps is the processor's and the compiler's choice.
std::string comparable(SdtRecord record) {
    const auto clearTail = [](auto& field) {
        const std::size_t length = strnlen(field, sizeof field);
        std::memset(field + length, 0, sizeof field - length);
    };
    const auto clearSignOfNan = [](float& sum) {
        sum = std::isnan(sum) ? std::numeric_limits<float>::quiet_NaN() : sum;
    };
    for (SdtService& service : record.services) {
        clearTail(service.providerName);
        clearTail(service.serviceName);
        clearSignOfNan(service.rate);
    }
    clearSignOfNan(record.aggregateRate);
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

template <typename Record>
std::string bytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

std::string bytesOf(const std::vector<unsigned char>& record) {
    return {record.begin(), record.end()};
}

void clearService() {
    const auto clear = [](auto& state) { std::memset(static_cast<void*>(&state), 0, sizeof state); };
    clear(newestRecords);
    clear(pidTable);
    clear(programRates);
    aggStreamRate = 0;
}

// One builder's document. It must be terminated where its length says, inside the buffer.
template <typename Build>
std::string documentOf(Build build) {
    static DocumentBuffer buffer;
    std::memset(buffer, 0x7F, sizeof buffer);
    const std::size_t length = build(buffer);
    if (length >= sizeof buffer) {
        return "a length of " + std::to_string(length);
    }
    if (std::memchr(buffer, '\0', sizeof buffer) != buffer + length) {
        return "no terminator at the length";
    }
    return {buffer, length};
}

std::string tableOfService() {
    std::string bytes;
    for (const PidEntry& entry : pidTable) {
        bytes.append(reinterpret_cast<const char*>(&entry), offsetof(PidEntry, description));
        bytes += entry.description;
        bytes += '\n';
    }
    return bytes;
}

std::string tableOfReference(const StreamModel& model) {
    std::string bytes;
    for (const reference::PidRow& row : model.pidTable) {
        appendBytes(bytes, row.patIndex);
        appendBytes(bytes, row.pidOrder);
        for (const int word : {row.pidNum, row.pidType, row.referencePid, row.pgmNum}) {
            appendBytes(bytes, static_cast<std::uint16_t>(word));
        }
        appendBytes(bytes, row.pidRate);
        appendBytes(bytes, row.scrambled);
        bytes += row.description + '\n';
    }
    return bytes;
}

Outcome runService(const Questions& questions, CapturedConsole& console) {
    Outcome outcome;
    outcome.add("result", std::to_string(collectPids(questions.programCount)));
    printSdtSummary();
    outcome.add("PID table", tableOfService());
    outcome.sums.assign(std::begin(programRates), std::end(programRates));
    outcome.sums.push_back(aggStreamRate);
    outcome.add("pidData", documentOf([](DocumentBuffer& out) {
                    return buildPidListJson(pidTable, newestRecords.pat.pidListCount, aggStreamRate, out);
                }));
    outcome.add("pgmData",
                documentOf([](DocumentBuffer& out) { return buildPgmListJson(&newestRecords.sdt, out); }));
    for (const int g : questions.programIndexes) {
        outcome.add("pgmDetail " + std::to_string(g), documentOf([&](DocumentBuffer& out) {
                        return buildPgmDetailJson(&newestRecords.pmt.slots[g], &newestRecords.avPgm.slots[g],
                                                  out);
                    }));
    }
    const auto addPsi = [&](int pid) {
        outcome.add("PSI " + std::to_string(pid), documentOf([&](DocumentBuffer& out) {
                        return buildPsiJson(static_cast<std::uint16_t>(pid), out);
                    }));
    };
    std::ranges::for_each(psiPids, addPsi);
    addPsi(questions.psiPid);
    outcome.add("console", console.take());
    outcome.add("PAT record", bytesOf(newestRecords.pat));
    outcome.add("SDT record", comparable(newestRecords.sdt));
    outcome.add("CAT record", bytesOf(newestRecords.cat));
    outcome.add("NIT record", bytesOf(newestRecords.nit));
    outcome.add("EIT record", bytesOf(newestRecords.eit));
    outcome.add("TDT record", bytesOf(newestRecords.tdt));
    outcome.add("PMT record", bytesOf(newestRecords.pmt));
    outcome.add("TS-STATUS record", bytesOf(newestRecords.tsStatus));
    outcome.add("AVPGM record", bytesOf(newestRecords.avPgm));
    return outcome;
}

Outcome runReference(StreamModel& model, const Questions& questions) {
    Outcome outcome;
    model.console.clear();
    outcome.add("result", std::to_string(collectPids(model, questions.programCount)));
    printSdtSummary(model);
    outcome.add("PID table", tableOfReference(model));
    outcome.sums = model.programRates;
    outcome.sums.push_back(model.aggStreamRate);
    outcome.add("pidData", pidListDocument(model));
    outcome.add("pgmData", programListDocument(model));
    for (const int g : questions.programIndexes) {
        outcome.add("pgmDetail " + std::to_string(g), programDetailDocument(model, g));
    }
    for (const int pid : psiPids) {
        outcome.add("PSI " + std::to_string(pid), psiDocument(model, pid));
    }
    outcome.add("PSI " + std::to_string(questions.psiPid), psiDocument(model, questions.psiPid));
    outcome.add("console", model.console);
    SdtRecord sdt;
    std::memcpy(static_cast<void*>(&sdt), model.records.sdtBytes.data(), sizeof sdt);
    outcome.add("PAT record", bytesOf(model.records.patBytes));
    outcome.add("SDT record", comparable(sdt));
    outcome.add("CAT record", bytesOf(model.records.catBytes));
    outcome.add("NIT record", bytesOf(model.records.nitBytes));
    outcome.add("EIT record", bytesOf(model.records.eitBytes));
    outcome.add("TDT record", bytesOf(model.records.tdtBytes));
    outcome.add("PMT record", bytesOf(model.records.pmtBytes));
    outcome.add("TS-STATUS record", bytesOf(model.records.tsStatusBytes));
    outcome.add("AVPGM record", bytesOf(model.records.avPgmBytes));
    return outcome;
}

// Both get the same records. Now and then the parser sends no SDT, so that the one made before stays.
void load(const RecordSet& set, StreamModel& model, bool withSdt) {
    const SdtRecord kept = newestRecords.sdt;
    newestRecords = set;
    if (withSdt) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(&set.sdt);
        model.records.sdtBytes.assign(bytes, bytes + sizeof set.sdt);
    } else {
        newestRecords.sdt = kept;
    }
    const auto copy = [](const auto& record, std::vector<unsigned char>& to) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
        to.assign(bytes, bytes + sizeof record);
    };
    copy(set.pat, model.records.patBytes);
    copy(set.cat, model.records.catBytes);
    copy(set.nit, model.records.nitBytes);
    copy(set.eit, model.records.eitBytes);
    copy(set.tdt, model.records.tdtBytes);
    copy(set.pmt, model.records.pmtBytes);
    copy(set.tsStatus, model.records.tsStatusBytes);
    copy(set.avPgm, model.records.avPgmBytes);
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

// Whether two sums are the same, but for the sign of a NaN.
bool sameSum(float service, float expected) {
    return std::memcmp(&service, &expected, sizeof service) == 0 ||
           (std::isnan(service) && std::isnan(expected));
}

// The texts of a sum that is NaN, without its sign.
std::string withoutSignOfNan(std::string text) {
    for (std::size_t at = text.find("-nan"); at != std::string::npos; at = text.find("-nan", at)) {
        text.replace(at, 4, " nan");
    }
    return text;
}

bool sameText(const std::string& name, const std::string& service, const std::string& expected,
              bool sumsAreNan) {
    if (service == expected) {
        return true;
    }
    const bool showsSums = name == "pidData" || name == "pgmData" || name == "console";
    return sumsAreNan && showsSums && withoutSignOfNan(service) == withoutSignOfNan(expected);
}

// A few characters on either side of the first difference.
std::string aroundDifference(const std::string& text, std::size_t at) {
    const std::size_t from = at > 60 ? at - 60 : 0;
    return testing::PrintToString(text.substr(from, 120));
}

testing::AssertionResult sameOutcome(const Outcome& service, const Outcome& expected) {
    const bool sumsAreNan = std::ranges::any_of(expected.sums, [](float sum) { return std::isnan(sum); });
    for (std::size_t i = 0; i < expected.sums.size(); ++i) {
        if (!sameSum(service.sums[i], expected.sums[i])) {
            return testing::AssertionFailure()
                   << "rate " << i << " is " << service.sums[i] << ", not " << expected.sums[i];
        }
    }
    for (std::size_t i = 0; i < expected.texts.size(); ++i) {
        const auto& [name, text] = expected.texts[i];
        const std::string& other = service.texts[i].second;
        if (!sameText(name, other, text, sumsAreNan)) {
            const auto [left, right] = std::ranges::mismatch(other, text);
            const auto at = static_cast<std::size_t>(left - other.begin());
            return testing::AssertionFailure()
                   << name << " differs at byte " << at << "\nservice:   " << aroundDifference(other, at)
                   << "\nreference: " << aroundDifference(text, at);
        }
    }
    return testing::AssertionSuccess();
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
        clearService();
        for (int i = 0; i < setsOfOneRun && compared < sets; ++i, ++compared) {
            fill(*set, random);
            load(*set, model, i == 0 || !random.oneIn(4));
            const Questions questions = ask(*set, random, consistent);
            Outcome service;
            {
                CapturedConsole console;
                service = runService(questions, console);
            }
            ASSERT_TRUE(sameOutcome(service, runReference(model, questions)))
                << "set " << i << " of the run with seed " << seed;
        }
    }
    std::printf("%d record sets compared, equal in every byte\n", sets);
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
        load(*set, model, true);
        runReference(model, ask(*set, random, false));
        seen += model.console;
    }
    for (const char* line :
         {"EMM Missing PID ", "EMM Pid < 32 pid ", "Artificial SDT constructed", "PMT Pid < 32 PMT ",
          "VID Pid < 32 PMT ", "PCR Pid < 32 PMT ", "ECM Pid < 32 PMT ", "AUD Pid < 32 PMT ",
          "PVT Pid < 32 PMT ", "Unk Pid < 32 PMT ", "Collecting PIDs match Audio error", "TYPE 12 ORDER ",
          "SDT Svcs ", "Service: ", "JSON PID Overflow", "Unsupported PSI "}) {
        EXPECT_NE(seen.find(line), std::string::npos) << line;
    }
}
