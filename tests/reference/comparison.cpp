#include "comparison.h"

#include "documents/pgmDetailDocument.h"
#include "documents/pgmListDocument.h"
#include "documents/pidListDocument.h"
#include "documents/psiDocument.h"
#include "model/pidTable.h"
#include "model/sdtSummary.h"
#include "printed.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

using namespace mpegfe;
using namespace wire;

namespace reference {
namespace {

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
    outcome.add("result", std::to_string(::collectPids(questions.programCount)));
    ::printSdtSummary();
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

// With every byte visible.
std::string escaped(const std::string& text) {
    std::string visible;
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        visible += code >= ' ' && code < 0x7F ? std::string(1, byte) : printed("\\x%02x", code);
    }
    return visible;
}

// A few characters on either side of the first difference.
std::string aroundDifference(const std::string& text, std::size_t at) {
    const std::size_t from = at > 60 ? at - 60 : 0;
    return escaped(text.substr(from, 120));
}

std::string differenceOf(const Outcome& service, const Outcome& expected) {
    for (std::size_t i = 0; i < expected.sums.size(); ++i) {
        if (!sameSum(service.sums[i], expected.sums[i])) {
            return printed("rate %zu is %.9g, not %.9g", i, static_cast<double>(service.sums[i]),
                           static_cast<double>(expected.sums[i]));
        }
    }
    const bool sumsAreNan = std::ranges::any_of(expected.sums, [](float sum) { return std::isnan(sum); });
    for (std::size_t i = 0; i < expected.texts.size(); ++i) {
        const auto& [name, text] = expected.texts[i];
        const std::string& other = service.texts[i].second;
        if (!sameText(name, other, text, sumsAreNan)) {
            const auto at = static_cast<std::size_t>(std::ranges::mismatch(other, text).in1 - other.begin());
            return printed("%s differs at byte %zu\nservice:   %s\nreference: %s", name.c_str(), at,
                           aroundDifference(other, at).c_str(), aroundDifference(text, at).c_str());
        }
    }
    return "";
}

} // namespace

void clearService() {
    const auto clear = [](auto& state) { std::memset(static_cast<void*>(&state), 0, sizeof state); };
    clear(newestRecords);
    clear(previousRecords);
    clear(pidTable);
    clear(programRates);
    aggStreamRate = 0;
    programCount = 0;
}

void copyRecords(StreamModel& model) {
    const auto copy = [](const auto& record, std::vector<unsigned char>& to) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
        to.assign(bytes, bytes + sizeof record);
    };
    copy(newestRecords.pat, model.records.patBytes);
    copy(newestRecords.sdt, model.records.sdtBytes);
    copy(newestRecords.cat, model.records.catBytes);
    copy(newestRecords.nit, model.records.nitBytes);
    copy(newestRecords.eit, model.records.eitBytes);
    copy(newestRecords.tdt, model.records.tdtBytes);
    copy(newestRecords.pmt, model.records.pmtBytes);
    copy(newestRecords.tsStatus, model.records.tsStatusBytes);
    copy(newestRecords.avPgm, model.records.avPgmBytes);
}

std::string firstDifference(StreamModel& model, const Questions& questions) {
    Outcome service;
    {
        CapturedConsole console;
        service = runService(questions, console);
    }
    return differenceOf(service, runReference(model, questions));
}

} // namespace reference
