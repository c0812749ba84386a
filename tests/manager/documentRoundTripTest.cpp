// Documents of random records, written by the service's own builders and read back value by value. The texts
// in them are hostile: quotation marks, ends of objects and lists, names of members, bytes that are no
// characters.
#include "documents/codedValues.h"
#include "documents/documentReader.h"
#include "documents/pgmDetailDocument.h"
#include "documents/pgmListDocument.h"
#include "documents/pidListDocument.h"
#include "documents/psiDocument.h"
#include "feed/recordStore.h"
#include "printed.h"
#include "recordSets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using mpegfe::clampCount;
using mpegfe::DocumentBuffer;
using mpegfe::nameOf;
using mpegfe::newestRecords;
using mpegfe::PidEntry;
using reference::Random;

constexpr int documentsOfOneSet = 9;

constexpr std::array<std::string_view, 22> hostilePieces{
    "\"",         "\",",      "\",\"",      "\"}",         "\"},",        "\"},{\"", "\"]}}", ",",
    "\":\"",      "{",        "\\",         "\\\"",        "\x1b[2J",     "\n",      "\xC3",  "svcName",
    "svcName\":", "language", "event\":\"", "descriptors", "Ki\xC3\xB1o", "pidRate"};

template <std::size_t width>
std::string textOf(const char (&field)[width]) {
    return {field, strnlen(field, width)};
}

// Behind a text the next text may follow at once. A text that holds what stands between them, or ends in its
// beginning, cannot be told from two, so there is none.
bool isAmbiguous(const std::string& text, std::string_view nextKey) {
    const std::string separator = "\",\"" + std::string(nextKey) + "\":\"";
    return !nextKey.empty() && (text + separator).find(separator) != text.size();
}

template <std::size_t width>
void makeHostile(char (&field)[width], Random& random, std::string_view nextKey = {}) {
    std::string text;
    do {
        text.clear();
        for (unsigned pieces = random.below(8); pieces > 0; --pieces) {
            text += hostilePieces[random.below(hostilePieces.size())];
        }
        text.resize(std::min(text.size(), width));
    } while (isAmbiguous(text, nextKey));
    std::memset(field, 0, width);
    std::memcpy(field, text.data(), text.size());
}

void makeTextsHostile(wire::RecordSet& set, Random& random) {
    for (wire::SdtService& service : set.sdt.services) {
        makeHostile(service.providerName, random, "svcName");
        makeHostile(service.serviceName, random, "svcProvider");
    }
    for (wire::EitEvent& event : set.eit.events) {
        makeHostile(event.startTime, random, "duration");
        makeHostile(event.duration, random, "language");
        makeHostile(event.language, random, "event");
        makeHostile(event.eventName, random, "description");
        makeHostile(event.description, random);
    }
    makeHostile(set.nit.descriptorText, random);
    for (wire::NitDescriptor& descriptor : set.nit.descriptorEntries) {
        makeHostile(descriptor.descriptorText, random);
    }
    makeHostile(set.tdt.timeOfDay, random);
    for (wire::PmtEntry& pmt : set.pmt.slots) {
        for (char(&language)[4] : pmt.audioLanguages) {
            makeHostile(language, random);
        }
    }
}

void fill(wire::RecordSet& set, Random& random) {
    random.oneIn(2) ? fillConsistently(set, random) : fillInconsistently(set, random);
    if (!random.oneIn(4)) {
        makeTextsHostile(set, random);
    }
}

// NaN is unequal to itself, so infinity stands for it here.
double comparable(double value) {
    return std::isnan(value) ? std::numeric_limits<double>::infinity() : value;
}

// A thousand times the number that three decimals leave.
double writtenThousandfold(double value) {
    std::string digits = reference::printed("%.3f", value);
    std::erase(digits, '.');
    return comparable(std::strtod(digits.c_str(), nullptr));
}

// As bit/s, what is left of a rate when it has been written.
double kilobitRate(float rate) {
    return writtenThousandfold(static_cast<double>(rate) / 1000);
}

double listRate(float rate) {
    return rate > 1000000.0F ? writtenThousandfold(static_cast<double>(rate) / 1000000) * 1000
                             : kilobitRate(rate);
}

std::string wordOf(std::string_view word) {
    return std::string(word);
}

// What has to be read of as many of a record's entries as its count says and it has room for.
template <typename Entry, std::size_t size, typename Expected>
auto listOf(const Entry (&entries)[size], int count, Expected expected) {
    std::vector<decltype(expected(entries[0]))> list;
    const auto some =
        std::span(entries).first(static_cast<std::size_t>(clampCount(count, static_cast<int>(size))));
    std::ranges::transform(some, std::back_inserter(list), expected);
    return list;
}

manager::Pat expectedPat(const wire::PatRecord& record) {
    return {record.programCount, kilobitRate(record.pidRate),
            listOf(record.programs, record.programCount, [](const wire::ProgramEntry& program) {
                return manager::PatProgram{program.pgmNum, program.pmtPid};
            })};
}

manager::Cat expectedCat(const wire::CatRecord& record) {
    return {record.caCount, record.tableId, kilobitRate(record.pidRate),
            listOf(record.caEntries, record.caCount, [](const wire::CaEntry& entry) {
                return manager::CaSystem{entry.caSystemId, entry.caPid};
            })};
}

manager::Nit expectedNit(const wire::NitRecord& record) {
    return {record.descriptorCount,
            record.tableId,
            record.networkId,
            record.transportStreamId,
            record.originalNetworkId,
            {record.descriptorType, textOf(record.descriptorText)},
            kilobitRate(record.pidRate),
            listOf(record.descriptorEntries, record.descriptorCount, [](const wire::NitDescriptor& entry) {
                return manager::NetworkDescriptor{entry.descriptorType, textOf(entry.descriptorText)};
            })};
}

manager::Sdt expectedSdt(const wire::SdtRecord& record) {
    return {record.serviceCount,
            record.tableId,
            record.transportStreamId,
            record.originalNetworkId,
            kilobitRate(record.pidRate),
            record.actual != 0 ? "Actual" : "Derived",
            listOf(record.services, record.serviceCount, [](const wire::SdtService& service) {
                return manager::Service{textOf(service.serviceName), textOf(service.providerName),
                                        service.caFlag != 0 ? "Set" : "Clear"};
            })};
}

manager::Eit expectedEit(const wire::EitRecord& record) {
    return {record.eventCount,
            record.tableId,
            record.originalNetworkId,
            record.serviceId,
            record.transportStreamId,
            kilobitRate(record.pidRate),
            listOf(record.events, record.eventCount, [](const wire::EitEvent& event) {
                return manager::Event{event.eventId,
                                      event.startDateMjd,
                                      textOf(event.startTime),
                                      textOf(event.duration),
                                      textOf(event.language),
                                      textOf(event.eventName),
                                      textOf(event.description)};
            })};
}

manager::Tdt expectedTdt(const wire::TdtRecord& record) {
    return {record.tableId, record.dateMjd, textOf(record.timeOfDay), kilobitRate(record.pidRate)};
}

manager::ListedProgram expectedProgram(const wire::SdtService& service) {
    return {service.serviceId,
            service.patIndex,
            service.serviceType,
            service.pmtPid,
            service.pidCount,
            listRate(service.rate),
            service.caFlag,
            service.allScrambled,
            textOf(service.providerName),
            textOf(service.serviceName)};
}

manager::ListedPid expectedPid(const PidEntry& entry) {
    return {entry.patIndex,          entry.pidOrder,     entry.pidNum,
            entry.pidType,           entry.referencePID, entry.pgmNum,
            listRate(entry.pidRate), entry.scrambled,    textOf(entry.description)};
}

manager::VideoElement expectedVideo(const wire::PmtEntry& pmt, const wire::AvPgmEntry& av) {
    const bool isH264 = pmt.videoStreamType == mpegfe::streamTypeH264;
    const std::string number = std::to_string(static_cast<std::int32_t>(av.profile));
    return {pmt.videoPid,
            wordOf(nameOf(mpegfe::videoTypeNames, pmt.videoStreamType, "UnkVidTyp")),
            wordOf(isH264 ? nameOf(mpegfe::entropyNames, av.entropyFlag) : "N/A"),
            av.horizRes,
            av.vertRes,
            comparable(
                std::strtod(reference::printed("%.2f", static_cast<double>(av.pictRate)).c_str(), nullptr)),
            wordOf(nameOf(mpegfe::aspectRatioNames, av.aspectRatio)),
            wordOf(nameOf(mpegfe::profileNames, static_cast<std::int32_t>(av.profile), number)),
            static_cast<std::int32_t>(av.level),
            wordOf(nameOf(mpegfe::scramblingNames, av.videoScrambled))};
}

template <std::size_t size>
std::optional<int> numberAt(const std::array<int, size>& numbers, unsigned code) {
    return code < size ? std::optional(numbers[code]) : std::nullopt;
}

manager::AudioElement expectedAudio(const wire::PmtEntry& pmt, const wire::AvAudioTrack& track, int t) {
    constexpr std::array bitRates{0,      32000,  48000,  56000,  64000,  80000,  96000, 112000,
                                  128000, 160000, 192000, 224000, 256000, 320000, 384000};
    constexpr std::array sampleRates{44100, 48000, 32000};
    return {pmt.audioPids[t],
            wordOf(nameOf(mpegfe::audioTypeNames, pmt.audioCodings[t])),
            textOf(pmt.audioLanguages[t]),
            numberAt(bitRates, track.bitRateIndex),
            numberAt(sampleRates, track.sampleRateIndex),
            wordOf(nameOf(mpegfe::audioModeNames, track.modeIndex)),
            wordOf(nameOf(mpegfe::scramblingNames, track.scrambled))};
}

manager::ProgramDetail expectedDetail(const wire::PmtEntry& pmt, const wire::AvPgmEntry& av) {
    manager::ProgramDetail detail;
    detail.pidCount = (av.videoPid != 0 ? 1 : 0) + av.audioCount;
    detail.pmt = {pmt.pmtPid, pmt.pgmNum};
    if (av.videoPid != 0) {
        detail.video = expectedVideo(pmt, av);
    }
    for (int t = 0; t < clampCount(av.audioCount, wire::maxAudioTracks); ++t) {
        detail.audio.push_back(expectedAudio(pmt, av.audio[t], t));
    }
    for (int p = 0; p < clampCount(av.privateCount, wire::maxPrivatePids); ++p) {
        detail.privateData.push_back({pmt.pvtPids[p]});
    }
    for (int e = 0; e < clampCount(pmt.ecmCount, wire::maxEcmPids); ++e) {
        detail.ecm.push_back({pmt.ecmPids[e]});
    }
    return detail;
}

// The whole range of every member, small numbers as often as large ones.
PidEntry randomPid(Random& random) {
    const auto number = [&] { return static_cast<std::int32_t>(random.bits() >> random.below(64)); };
    const auto number16 = [&] { return static_cast<std::uint16_t>(number()); };
    PidEntry entry{};
    entry.patIndex = number();
    entry.pidOrder = number();
    entry.pidNum = number16();
    entry.pidType = number16();
    entry.referencePID = number16();
    entry.pgmNum = number16();
    entry.pidRate = static_cast<float>(number()) / 7.0F;
    entry.scrambled = number();
    makeHostile(entry.description, random);
    return entry;
}

template <typename Body>
Body readBack(const std::string& text) {
    const auto result = manager::readDocument(text);
    const auto* const document = std::get_if<manager::Document>(&result);
    if (document == nullptr) {
        ADD_FAILURE() << describe(std::get<manager::ReadError>(result)) << " of\n" << text;
        return {};
    }
    const auto* const body = std::get_if<Body>(document);
    if (body == nullptr) {
        ADD_FAILURE() << "another document than\n" << text;
        return {};
    }
    return *body;
}

template <typename Body>
void makeRateComparable(Body& body) {
    body.rateBitPerSecond = comparable(body.rateBitPerSecond);
}

// Entries that have found no room in a document are missing from its end.
template <typename Entry>
void leaveOutWhatHasNoRoom(std::vector<Entry>& expected, std::size_t read, std::size_t length) {
    constexpr std::size_t longestEntry = 600;
    if (read < expected.size() && length + longestEntry > mpegfe::listTextLimit) {
        expected.resize(read);
    }
}

void comparePsiTable(int pid, const auto& expect) {
    DocumentBuffer buffer;
    const std::string text(buffer, mpegfe::buildPsiJson(static_cast<std::uint16_t>(pid), buffer));
    const auto expected = expect(); // of the record with its rate, which building has set
    auto read = readBack<std::remove_const_t<decltype(expected)>>(text);
    makeRateComparable(read);
    EXPECT_TRUE(read == expected) << text;
}

void comparePidList(Random& random) {
    std::array<PidEntry, wire::maxPids> entries{};
    const int count = static_cast<int>(random.below(random.oneIn(4) ? wire::maxPids : 20));
    const float rate = static_cast<float>(random.below(60'000'000));
    manager::PidList expected{count, listRate(rate), {}};
    for (PidEntry& entry : std::span(entries).first(static_cast<std::size_t>(count))) {
        entry = randomPid(random);
        expected.pids.push_back(expectedPid(entry));
    }
    DocumentBuffer buffer;
    const std::string text(buffer, mpegfe::buildPidListJson(entries.data(), count, rate, buffer));
    const auto read = readBack<manager::PidList>(text);
    leaveOutWhatHasNoRoom(expected.pids, read.pids.size(), text.size());
    EXPECT_TRUE(read == expected) << text;
}

void compareProgramList(const wire::SdtRecord& record) {
    manager::ProgramList expected{
        record.serviceCount, record.actual, listRate(record.aggregateRate), record.scrambledCount, {}};
    for (int k = 0; k < clampCount(record.serviceCount, wire::maxServices); ++k) {
        expected.programs.push_back(expectedProgram(record.services[k]));
    }
    DocumentBuffer buffer;
    const std::string text(buffer, mpegfe::buildPgmListJson(&record, buffer));
    auto read = readBack<manager::ProgramList>(text);
    makeRateComparable(read);
    for (manager::ListedProgram& program : read.programs) {
        makeRateComparable(program);
    }
    leaveOutWhatHasNoRoom(expected.programs, read.programs.size(), text.size());
    EXPECT_TRUE(read == expected) << text;
}

void compareDetail(const wire::PmtEntry& pmt, const wire::AvPgmEntry& av) {
    DocumentBuffer buffer;
    const std::string text(buffer, mpegfe::buildPgmDetailJson(&pmt, &av, buffer));
    auto read = readBack<manager::ProgramDetail>(text);
    if (read.video) {
        read.video->picturesPerSecond = comparable(read.video->picturesPerSecond);
    }
    EXPECT_TRUE(read == expectedDetail(pmt, av)) << text;
}

void compareAll(Random& random) {
    fill(newestRecords, random);
    comparePidList(random);
    compareProgramList(newestRecords.sdt);
    const unsigned slot = random.below(wire::maxPmtSlots);
    compareDetail(newestRecords.pmt.slots[slot], newestRecords.avPgm.slots[slot]);
    comparePsiTable(wire::patPid, [] { return expectedPat(newestRecords.pat); });
    comparePsiTable(wire::catPid, [] { return expectedCat(newestRecords.cat); });
    comparePsiTable(wire::nitPid, [] { return expectedNit(newestRecords.nit); });
    comparePsiTable(wire::sdtPid, [] { return expectedSdt(newestRecords.sdt); });
    comparePsiTable(wire::eitPid, [] { return expectedEit(newestRecords.eit); });
    comparePsiTable(wire::tdtPid, [] { return expectedTdt(newestRecords.tdt); });
}

TEST(DocumentRoundTrip, bringsEveryValueOfRandomRecordsBack) {
    const char* const asked = std::getenv("MPEGFE_ROUND_TRIPS");
    const long documents = asked != nullptr ? std::strtol(asked, nullptr, 10) : ROUND_TRIPS;
    Random random(1);
    for (long done = 0; done < documents && !HasFailure(); done += documentsOfOneSet) {
        SCOPED_TRACE("after " + std::to_string(done) + " documents");
        compareAll(random);
    }
}

TEST(DocumentRoundTrip, bringsBackTheEmptyDocumentOfAnUnknownTable) {
    DocumentBuffer buffer;
    const std::string text(buffer, mpegfe::buildPsiJson(4000, buffer));
    EXPECT_TRUE(std::holds_alternative<manager::EmptyDocument>(
        std::get<manager::Document>(manager::readDocument(text))));
}

} // namespace
