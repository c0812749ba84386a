// Whatever bytes the parser sends, nothing outside a record or a document is touched: random records go
// through the collection, the summary and every document. The sanitizers see what the checks here do not.
#include "documents/catDocument.h"
#include "documents/eitDocument.h"
#include "documents/nitDocument.h"
#include "documents/patDocument.h"
#include "documents/pgmDetailDocument.h"
#include "documents/pgmListDocument.h"
#include "documents/pidListDocument.h"
#include "documents/psiDocument.h"
#include "documents/sdtDocument.h"
#include "documents/tdtDocument.h"
#include "model/pidTable.h"
#include "model/sdtSummary.h"
#include "model/streamRecords.h"
#include "support/console.h"
#include "support/documents.h"
#include "support/records.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

#ifdef MPEGFE_EMULATED
constexpr int seedsOfAShard = 100;
#else
constexpr int seedsOfAShard = 1000;
#endif

// Bytes of any value. What is in the records decides how far the code gets, so counts are often possible
// ones.
void fillRecords(std::mt19937& random) {
    auto* bytes = reinterpret_cast<unsigned char*>(&newestRecords);
    for (std::size_t at = 0; at < sizeof newestRecords; at += sizeof(std::uint32_t)) {
        const auto word = static_cast<std::uint32_t>(random());
        std::memcpy(bytes + at, &word, std::min(sizeof word, sizeof newestRecords - at));
    }
    const auto count = [&](int atMost) {
        return static_cast<std::uint16_t>(random() % 4 == 0 ? random()
                                                            : random() % static_cast<unsigned>(atMost + 1));
    };
    newestRecords.pat.pidListCount = count(maxPids);
    newestRecords.pat.sectionProgramCount = count(maxPrograms);
    newestRecords.pat.programCount = random() % 4 == 0 ? static_cast<std::int32_t>(random())
                                                       : static_cast<std::int32_t>(count(maxPrograms));
    newestRecords.sdt.serviceCount = count(maxServices);
    newestRecords.cat.caCount = count(maxCaEntries);
    newestRecords.nit.descriptorCount = count(maxNitDescriptors);
    newestRecords.eit.eventCount = count(maxEvents);
    for (PmtEntry& pmt : newestRecords.pmt.slots) {
        pmt.ecmCount = count(maxEcmPids);
        pmt.audioCount = count(maxAudioTracks);
        pmt.privateCount = count(maxPrivatePids);
        pmt.pmtPid = newestRecords.pat.pidList[random() % maxPids] & pidMask;
    }
    for (AvPgmEntry& av : newestRecords.avPgm.slots) {
        av.audioCount = count(maxAudioTracks);
        av.privateCount = count(maxPrivatePids);
        av.videoPid = newestRecords.pat.pidList[random() % maxPids] & pidMask;
        for (AvAudioTrack& track : av.audio) {
            track.pid = newestRecords.pat.pidList[random() % maxPids] & pidMask;
        }
    }
}

// The reserved bytes of the records, which are the parser's.
std::string reservedBytes() {
    const RecordSet& r = newestRecords;
    return std::string(reinterpret_cast<const char*>(r.pat.reserved512), sizeof r.pat.reserved512) +
           std::string(reinterpret_cast<const char*>(r.pat.reserved1112), sizeof r.pat.reserved1112) +
           std::string(reinterpret_cast<const char*>(r.sdt.reserved5536), sizeof r.sdt.reserved5536) +
           std::string(reinterpret_cast<const char*>(r.sdt.reserved5546), sizeof r.sdt.reserved5546) +
           std::string(reinterpret_cast<const char*>(r.tsStatus.reserved0), sizeof r.tsStatus.reserved0) +
           std::string(reinterpret_cast<const char*>(r.tsStatus.reserved2304),
                       sizeof r.tsStatus.reserved2304) +
           bytesOf(r.pmt) + bytesOf(r.avPgm);
}

void writeEveryDocument() {
    const RecordSet& r = newestRecords;
    const auto lists = [&](const std::string& document, const std::string& name) {
        EXPECT_TRUE(document.starts_with(R"({"requestReply":"dataStream","dataStream":")" + name + '"'));
        EXPECT_TRUE(document.ends_with("}}"));
    };
    lists(documentOf([&](DocumentBuffer& out) {
              return buildPidListJson(pidTable, r.pat.pidListCount, aggStreamRate, out);
          }),
          "pidData");
    lists(documentOf([&](DocumentBuffer& out) { return buildPgmListJson(&r.sdt, out); }), "pgmData");
    for (int g = 0; g < maxPmtSlots; ++g) {
        lists(documentOf([&](DocumentBuffer& out) {
                  return buildPgmDetailJson(&r.pmt.slots[g], &r.avPgm.slots[g], out);
              }),
              "pgmDetail");
    }
    lists(documentOf([&](DocumentBuffer& out) { return buildPsiJson(patPid, out); }), "PAT");
    lists(documentOf([&](DocumentBuffer& out) { return buildPsiJson(catPid, out); }), "CAT");
    lists(documentOf([&](DocumentBuffer& out) { return buildPsiJson(nitPid, out); }), "NIT");
    lists(documentOf([&](DocumentBuffer& out) { return buildPsiJson(sdtPid, out); }), "SDT");
    lists(documentOf([&](DocumentBuffer& out) { return buildPsiJson(eitPid, out); }), "EIT");
    lists(documentOf([&](DocumentBuffer& out) { return buildPsiJson(tdtPid, out); }), "TDT");
}

} // namespace

class Bounds : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Shards, Bounds, testing::Range(0, 4),
                         [](const auto& row) { return "Shard" + std::to_string(row.param); });

TEST_P(Bounds, RandomRecordsStayInsideRecordsAndDocuments) {
    clearProcessState();
    for (int seed = 0; seed < seedsOfAShard && !HasFailure(); ++seed) {
        std::mt19937 random(static_cast<unsigned>(GetParam() * seedsOfAShard + seed));
        fillRecords(random);
        const std::string reserved = reservedBytes();
        consoleOf([&] {
            collectPids(random() % 2 == 0 ? newestRecords.pat.programCount
                                          : static_cast<std::int32_t>(random()));
            printSdtSummary();
            writeEveryDocument();
        });
        for (int place = 0; place < pidListLength(); ++place) {
            EXPECT_EQ(pidTable[place].pidOrder, place);
            EXPECT_LT(strnlen(pidTable[place].description, 36), 8U);
        }
        EXPECT_LE(newestRecords.sdt.scrambledCount, maxServices);
        EXPECT_EQ(reservedBytes(), reserved) << "seed " << seed;
    }
}

TEST(BoundsOfThePidList, EntriesOfVeryDifferentLengthsNeverPassTheBuffer) {
    std::mt19937 random(20240229);
    for (int round = 0; round < 2000 && !testing::Test::HasFailure(); ++round) {
        PidEntry entries[maxPids];
        for (PidEntry& entry : entries) {
            // Short entries make the prediction small, and a long one behind them goes beyond it.
            const bool isLong = random() % 8 == 0;
            std::memset(static_cast<void*>(&entry), isLong ? 0xFF : 0, sizeof entry);
            entry.pidRate = isLong ? 3.4e38F : 0.0F;
            std::memset(entry.description, isLong ? 'd' : 0, sizeof entry.description);
        }
        std::string document;
        const std::string console = consoleOf([&] {
            document = documentOf(
                [&](DocumentBuffer& out) { return buildPidListJson(entries, maxPids, 3.4e38F, out); });
        });
        EXPECT_EQ(console, "JSON PID Overflow\n");
        EXPECT_TRUE(document.ends_with("\"}]}}"));
    }
}
