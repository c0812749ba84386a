#include "model/pidTable.h"
#include "support/console.h"
#include "support/records.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

class PidTable : public ProcessStateTest {
  protected:
    PidTable() {
        newestRecords.sdt.actual = 0;
    }

    // What the collection of all announced programs prints; its result is in result.
    std::string collect() {
        return collect(programCount);
    }

    std::string collect(std::int32_t count) {
        return consoleOf([&] { result = collectPids(count); });
    }

    // One row of the table: program index, place, PID, type, PMT PID, program number, rate, scrambling, name.
    static std::string row(int place) {
        const PidEntry& entry = pidTable[place];
        char text[120];
        std::snprintf(text, sizeof text, "%d %d %u %u %u %u %.0f %d %s\n", entry.patIndex, entry.pidOrder,
                      entry.pidNum, entry.pidType, entry.referencePID, entry.pgmNum,
                      static_cast<double>(entry.pidRate), entry.scrambled, entry.description);
        return text;
    }

    static std::string table() {
        std::string rows;
        for (int place = 0; place < newestRecords.pat.pidListCount; ++place) {
            rows += row(place);
        }
        return rows;
    }

    int result = -1;
};

TEST_F(PidTable, EveryKindOfPidIsClassifiedWithItsProgramRateAndScrambling) {
    listPids({{0, 15040},   {1, 1504},      {16, 3008},   {17, 4512},     {18, 6016},    {20, 752},
              {31, 376},    {5, 188},       {256, 15000}, {512, 3000000}, {513, 192000}, {514, 128000},
              {515, 50000}, {516, 8000},    {272, 16000}, {528, 4000000}, {529, 35000},  {530, 256000},
              {600, 20000}, {8191, 500000}, {700, 9000}});
    announcePrograms({{.pgmNum = 0, .pmtPid = 16},
                      {.pgmNum = 1,
                       .pmtPid = 256,
                       .pcrPid = 512,
                       .videoPid = 512,
                       .videoScrambled = 1,
                       .audio = {{513, 0}, {514, 1}},
                       .privatePids = {515},
                       .ecmPids = {516}},
                      {.pgmNum = 2,
                       .pmtPid = 272,
                       .pcrPid = 529,
                       .videoPid = 528,
                       .audio = {{530, 0}},
                       .ecmPids = {272}}});
    newestRecords.cat.caCount = 1;
    newestRecords.cat.caEntries[0] = {0x500, 600};

    EXPECT_EQ(collect(),
              "PID   700 TYPE 12 ORDER  20 PGM     0 REF     0 RATE   9000.000 Scramb 0      Unk\n");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(table(), "0 0 0 8 0 0 15040 0 PAT\n"
                       "0 1 1 8 0 0 1504 0 CAT\n"
                       "0 2 16 8 0 0 3008 0 NIT\n"
                       "0 3 17 8 0 0 4512 0 SDT\n"
                       "0 4 18 8 0 0 6016 0 EIT\n"
                       "0 5 20 8 0 0 752 0 TDT\n"
                       "0 6 31 8 0 0 376 0 SIT\n"
                       "0 7 5 8 0 0 188 0 PSI\n"
                       "1 8 256 1 256 1 15000 0 PMT\n"
                       "1 9 512 5 256 1 3000000 1 VID+PCR\n"
                       "1 10 513 6 256 1 192000 0 AUDIO\n"
                       "1 11 514 6 256 1 128000 1 AUDIO\n"
                       "1 12 515 7 256 1 50000 0 PVT\n"
                       "1 13 516 10 256 1 8000 0 ECM\n"
                       "2 14 272 2 272 2 16000 0 PMT+ECM\n"
                       "2 15 528 4 272 2 4000000 0 VIDEO\n"
                       "2 16 529 3 272 2 35000 0 PCR\n"
                       "2 17 530 6 272 2 256000 0 AUDIO\n"
                       "0 18 600 9 0 0 20000 0 EMM\n"
                       "0 19 8191 11 0 0 500000 0 NULL\n"
                       "0 20 700 12 0 0 9000 0 Unk\n");
    EXPECT_EQ(programRates[0], 3393000.0F);
    EXPECT_EQ(programRates[1], 4307000.0F);
    EXPECT_EQ(programRates[2], 0.0F);
    EXPECT_EQ(aggStreamRate, 8260396.0F);
}

TEST_F(PidTable, WithoutPidsThereIsNothingButAnArtificialSdt) {
    aggStreamRate = 5;
    programRates[0] = 5;
    EXPECT_EQ(collect(), "Artificial SDT constructed\n");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(aggStreamRate, 0.0F);
    EXPECT_EQ(programRates[0], 0.0F);
}

TEST_F(PidTable, TheResultTellsWhetherARealSdtStands) {
    listPids({{0, 1}, {17, 1}});
    EXPECT_EQ(collect(), "");
    EXPECT_EQ(result, 0);
    newestRecords.sdt.actual = 2;
    EXPECT_EQ(collect(), "");
    EXPECT_EQ(result, 0);
    newestRecords.sdt.actual = 1;
    EXPECT_EQ(collect(), "Artificial SDT constructed\n");
    EXPECT_EQ(result, 1);
}

TEST_F(PidTable, PsiPidsAreNamedByTheirTable) {
    std::vector<ListedPid> pids;
    for (std::uint16_t pid = 0; pid < 32; ++pid) {
        pids.push_back({pid, 1000});
    }
    listPids(pids);
    collect();
    std::string names;
    for (int place = 0; place < 32; ++place) {
        EXPECT_EQ(pidTable[place].pidType, 8);
        names += std::string(pidTable[place].description) + ' ';
    }
    EXPECT_EQ(names, "PAT CAT PSI PSI PSI PSI PSI PSI PSI PSI PSI PSI PSI PSI PSI PSI "
                     "NIT SDT EIT PSI TDT PSI PSI PSI PSI PSI PSI PSI PSI PSI PSI SIT ");
}

TEST_F(PidTable, BitsAboveThePidAreIgnored) {
    listPids({{0xE000, 1}, {0x2011, 2}, {0x4100, 3}, {0x82BC, 4}, {0xFFFF, 5}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 0x100, .pcrPid = 0x1F00, .videoPid = 0x1F01}});
    EXPECT_EQ(collect(),
              "PID   700 TYPE 12 ORDER   3 PGM     0 REF     0 RATE      4.000 Scramb 0      Unk\n");
    EXPECT_EQ(table(), "0 0 0 8 0 0 1 0 PAT\n"
                       "0 1 17 8 0 0 2 0 SDT\n"
                       "0 2 256 1 256 1 3 0 PMT\n"
                       "0 3 700 12 0 0 4 0 Unk\n"
                       "0 4 8191 11 0 0 5 0 NULL\n");
}

TEST_F(PidTable, VideoThatCarriesThePcrIsListedOnceAsVidPcr) {
    listPids({{17, 0}, {256, 100}, {512, 3000}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 512, .videoPid = 512}});
    EXPECT_EQ(collect(), "");
    EXPECT_EQ(row(2), "0 2 512 5 256 1 3000 0 VID+PCR\n");
    EXPECT_EQ(programRates[0], 3100.0F);
}

TEST_F(PidTable, AnEcmOnThePmtPidIsListedOnceAsPmtEcm) {
    listPids({{17, 0}, {256, 100}, {512, 3000}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 8000, .videoPid = 512, .ecmPids = {256}}});
    EXPECT_EQ(collect(), "");
    EXPECT_EQ(row(1), "0 1 256 2 256 1 100 0 PMT+ECM\n");
    EXPECT_EQ(programRates[0], 3100.0F);
}

TEST_F(PidTable, PmtPcrAndEcmPidsAreThePmtRecordsAndTheRestIsTheAvRecords) {
    listPids({{17, 0}, {256, 1}, {257, 2}, {512, 4}, {513, 8}, {600, 16}});
    announcePrograms({{.pgmNum = 7, .pmtPid = 256, .pcrPid = 600, .videoPid = 512, .ecmPids = {256}}});
    newestRecords.avPgm.slots[0].pmtPid = 257; // shown as the reference; an ECM on it would be PMT+ECM
    newestRecords.pmt.slots[0].videoPid = 513; // not looked at
    newestRecords.pmt.slots[0].pgmNum = 9;     // not looked at
    collect();
    EXPECT_EQ(table(), "0 0 17 8 0 0 0 0 SDT\n"
                       "0 1 256 10 257 7 1 0 ECM\n"
                       "0 2 257 12 0 0 2 0 Unk\n"
                       "0 3 512 4 257 7 4 0 VIDEO\n"
                       "0 4 513 12 0 0 8 0 Unk\n"
                       "0 5 600 3 257 7 16 0 PCR\n");
    EXPECT_EQ(programRates[0], 22.0F); // PID 256 once as PMT and once as ECM
}

TEST_F(PidTable, AnEcmOnTheReferencedPmtPidThatNoPmtClaimedEndsUnknown) {
    listPids({{17, 0}, {257, 2}});
    announcePrograms({{.pgmNum = 7, .pmtPid = 256, .pcrPid = 600, .videoPid = 512, .ecmPids = {257}}});
    newestRecords.avPgm.slots[0].pmtPid = 257;
    collect();
    EXPECT_EQ(row(1), "0 1 257 12 0 0 2 0 Unk\n");
}

TEST_F(PidTable, ProgramPidsAtTheHeadOfTheListCountAsAbsent) {
    for (const std::uint16_t head : std::vector<std::uint16_t>{256, 512, 513, 514, 515}) {
        clearProcessState();
        listPids({{head, 1000}, {17, 0}});
        announcePrograms({{.pgmNum = 1,
                           .pmtPid = 256,
                           .pcrPid = 600,
                           .videoPid = 512,
                           .audio = {{513, 1}},
                           .privatePids = {514},
                           .ecmPids = {515}}});
        collect();
        EXPECT_EQ(row(0), "0 0 " + std::to_string(head) + " 12 0 0 1000 0 Unk\n");
        EXPECT_EQ(programRates[0], 0.0F);
        EXPECT_EQ(aggStreamRate, 1000.0F);
    }
}

TEST_F(PidTable, PsiNullAndPcrPidsAreTakenAtTheHeadOfTheListToo) {
    listPids({{0, 1000}, {17, 0}});
    collect();
    EXPECT_EQ(row(0), "0 0 0 8 0 0 1000 0 PAT\n");
    listPids({{8191, 1000}, {17, 0}});
    collect();
    EXPECT_EQ(row(0), "0 0 8191 11 0 0 1000 0 NULL\n");
    listPids({{600, 1000}, {17, 0}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 512}});
    collect();
    EXPECT_EQ(row(0), "0 0 600 3 256 1 1000 0 PCR\n");
}

TEST_F(PidTable, VideoWithPcrAtTheHeadOfTheListIsNotClaimedAndEndsUnknown) {
    listPids({{512, 3000}, {17, 0}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 512, .videoPid = 512}});
    EXPECT_EQ(collect(),
              "PID   512 TYPE 12 ORDER   0 PGM     0 REF     0 RATE   3000.000 Scramb 0      Unk\n");
    EXPECT_EQ(programRates[0], 0.0F);
    EXPECT_EQ(aggStreamRate, 3000.0F);
}

TEST_F(PidTable, AnEcmOnAPmtPidAtTheHeadOfTheListCountsAsAbsent) {
    listPids({{256, 3000}, {17, 0}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 512, .ecmPids = {256}}});
    collect();
    EXPECT_EQ(row(0), "0 0 256 12 0 0 3000 0 Unk\n");
}

TEST_F(PidTable, PidsThatTheListLacksAreSkippedSilently) {
    listPids({{0, 1}, {17, 2}});
    announcePrograms({{.pgmNum = 1,
                       .pmtPid = 256,
                       .pcrPid = 512,
                       .videoPid = 512,
                       .audio = {{513, 0}},
                       .privatePids = {514},
                       .ecmPids = {256, 515}}});
    EXPECT_EQ(collect(), "");
    EXPECT_EQ(table(), "0 0 0 8 0 0 1 0 PAT\n"
                       "0 1 17 8 0 0 2 0 SDT\n");
}

TEST_F(PidTable, AMissingPidDoesNotKeepTheNextOneFromBeingTaken) {
    listPids({{1, 0}, {17, 0}, {514, 1}, {516, 2}, {518, 4}, {520, 8}});
    announcePrograms({{.pgmNum = 1,
                       .pmtPid = 256,
                       .pcrPid = 600,
                       .videoPid = 601,
                       .audio = {{513}, {514}},
                       .privatePids = {515, 516},
                       .ecmPids = {517, 518}}});
    newestRecords.cat.caCount = 2;
    newestRecords.cat.caEntries[0] = {0x500, 519};
    newestRecords.cat.caEntries[1] = {0x500, 520};
    EXPECT_EQ(collect(), "EMM Missing PID 519 p -1\n");
    EXPECT_EQ(table(), "0 0 1 8 0 0 0 0 CAT\n"
                       "0 1 17 8 0 0 0 0 SDT\n"
                       "0 2 514 6 256 1 1 0 AUDIO\n"
                       "0 3 516 7 256 1 2 0 PVT\n"
                       "0 4 518 10 256 1 4 0 ECM\n"
                       "0 5 520 9 0 0 8 0 EMM\n");
}

TEST_F(PidTable, ALaterBuilderTakesTheEntryOver) {
    listPids({{17, 0}, {256, 1}, {512, 10}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 512, .audio = {{512, 0}}},
                      {.pgmNum = 2, .pmtPid = 256, .pcrPid = 601, .videoPid = 602}});
    collect();
    EXPECT_EQ(table(), "0 0 17 8 0 0 0 0 SDT\n"
                       "1 1 256 1 256 2 1 0 PMT\n"
                       "0 2 512 6 256 1 10 0 AUDIO\n");
    EXPECT_EQ(programRates[0], 21.0F);
    EXPECT_EQ(programRates[1], 1.0F);
}

TEST_F(PidTable, OnlyTheFirstNullPidIsTaken) {
    listPids({{17, 0}, {0xFFFF, 10}, {8191, 20}});
    EXPECT_EQ(collect(),
              "PID  8191 TYPE 12 ORDER   2 PGM     0 REF     0 RATE     20.000 Scramb 0      Unk\n");
    EXPECT_EQ(row(1), "0 1 8191 11 0 0 10 0 NULL\n");
    EXPECT_EQ(aggStreamRate, 30.0F);
}

TEST_F(PidTable, APidListedTwiceIsUnknownTheSecondTime) {
    listPids({{17, 100}, {700, 10}, {17, 30}});
    newestRecords.pmt.slots[2].pmtPid = 4096; // the line names the PMT slot of the PID's place
    EXPECT_EQ(collect(),
              "Unk Pid < 32 PMT 4096\n"
              "PID   700 TYPE 12 ORDER   1 PGM     0 REF     0 RATE     10.000 Scramb 0      Unk\n"
              "PID    17 TYPE 12 ORDER   2 PGM     0 REF     0 RATE     30.000 Scramb 0      Unk\n");
    EXPECT_EQ(aggStreamRate, 110.0F); // PSI 100 - 30, unknown 10 + 30
}

TEST_F(PidTable, AVideoPidOfZeroIsSearchedLikeAnyOther) {
    listPids({{17, 100}, {0, 10}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 0, .videoScrambled = 1}});
    EXPECT_EQ(collect(), "");
    EXPECT_EQ(row(1), "0 1 0 4 256 1 10 1 VIDEO\n");
    EXPECT_EQ(programRates[0], 10.0F);
    EXPECT_EQ(aggStreamRate, 120.0F); // counted as PSI and in the program: video never corrects PID 0
}

TEST_F(PidTable, AProgramWithoutVideoAndPcrTurnsThePatIntoVidPcr) {
    listPids({{0, 10}, {17, 100}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 0, .videoPid = 0}});
    collect();
    EXPECT_EQ(row(0), "0 0 0 5 0 0 10 0 VID+PCR\n");
}

// One builder's line for a PID in the PSI range, and what is left of the PSI sum.
struct LowPid {
    const char* name;
    Program program;
    const char* console;
    float programRate;
    float aggregate;
};

class LowPids : public PidTable, public testing::WithParamInterface<LowPid> {};

// Rates: PID 17 1000, PID 0 (not at the head of the list) 100, PID 5 10.
INSTANTIATE_TEST_SUITE_P(
    Builders, LowPids,
    testing::Values(
        LowPid{"PmtOnPid5",
               {.pgmNum = 1, .pmtPid = 5, .pcrPid = 600, .videoPid = 601},
               "PMT Pid < 32 PMT 5\n",
               10,
               1110},
        LowPid{"PmtOnPid0",
               {.pgmNum = 1, .pmtPid = 0, .pcrPid = 600, .videoPid = 601},
               "PMT Pid < 32 PMT 0\n",
               100,
               1110},
        LowPid{"VideoOnPid5",
               {.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 5},
               "VID Pid < 32 PMT 256 PID 5\n",
               10,
               1110},
        LowPid{"VideoOnPid0", {.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 0}, "", 100, 1210},
        LowPid{"PcrOnPid5",
               {.pgmNum = 1, .pmtPid = 256, .pcrPid = 5, .videoPid = 601},
               "PCR Pid < 32 PMT 256\n",
               10,
               1110},
        LowPid{"PcrOnPid0",
               {.pgmNum = 1, .pmtPid = 256, .pcrPid = 0, .videoPid = 601},
               "PCR Pid < 32 PMT 256\n",
               100,
               1110},
        LowPid{"EcmOnPid5",
               {.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .ecmPids = {5}},
               "ECM Pid < 32 PMT 256\n",
               10,
               1110},
        LowPid{"EcmOnPid0",
               {.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .ecmPids = {0}},
               "ECM Pid < 32 PMT 256\n",
               100,
               1110},
        LowPid{"AudioOnPid5",
               {.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .audio = {{5}}},
               "AUD Pid < 32 PMT 256 PID 5\n",
               10,
               1110},
        LowPid{"AudioOnPid0",
               {.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .audio = {{0}}},
               "",
               100,
               1210},
        LowPid{"PrivateOnPid5",
               {.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .privatePids = {5}},
               "PVT Pid < 32 PMT 256 PID 5\n",
               10,
               1110},
        LowPid{"PrivateOnPid0",
               {.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .privatePids = {0}},
               "",
               100,
               1210}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_P(LowPids, AreCountedOnceOrAsTheirBuilderCountsThem) {
    listPids({{17, 1000}, {0, 100}, {5, 10}});
    announcePrograms({GetParam().program});
    EXPECT_EQ(collect(), GetParam().console);
    EXPECT_EQ(programRates[0], GetParam().programRate);
    EXPECT_EQ(aggStreamRate, GetParam().aggregate);
}

TEST_F(PidTable, APrivatePidInThePsiRangeThatIsTakenForSilentKeepsItsShareOfThePsiSum) {
    listPids({{17, 1000}, {5, 250000}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .privatePids = {5}}});
    EXPECT_EQ(collect(), "PVT Pid < 32 PMT 256 PID 5\n");
    EXPECT_EQ(row(1), "0 1 5 7 256 1 0 0 PVT\n");
    EXPECT_EQ(programRates[0], 0.0F);
    EXPECT_EQ(aggStreamRate, 251000.0F);
}

TEST_F(PidTable, Pid31IsTheLastOfThePsiRange) {
    listPids({{17, 0}, {31, 10}, {32, 100}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 31, .pcrPid = 600, .videoPid = 32}});
    EXPECT_EQ(collect(), "PMT Pid < 32 PMT 31\n");
    EXPECT_EQ(aggStreamRate, 110.0F);
}

TEST_F(PidTable, EmmPidsAreThoseOfTheCat) {
    listPids({{1, 1}, {17, 2}, {600, 10}, {601, 20}});
    newestRecords.cat.caCount = 2;
    newestRecords.cat.caEntries[0] = {0x500, 600};
    newestRecords.cat.caEntries[1] = {0x1802, 601};
    EXPECT_EQ(collect(), "");
    EXPECT_EQ(row(2), "0 2 600 9 0 0 10 0 EMM\n");
    EXPECT_EQ(row(3), "0 3 601 9 0 0 20 0 EMM\n");
    EXPECT_EQ(aggStreamRate, 33.0F);
}

TEST_F(PidTable, WithoutPid1TheCatIsNotLookedAt) {
    listPids({{17, 2}, {600, 10}});
    newestRecords.cat.caCount = 2;
    newestRecords.cat.caEntries[0] = {0x500, 600};
    newestRecords.cat.caEntries[1] = {0x1802, 601};
    EXPECT_EQ(collect(),
              "PID   600 TYPE 12 ORDER   1 PGM     0 REF     0 RATE     10.000 Scramb 0      Unk\n");
}

TEST_F(PidTable, AnEmmPidThatIsMissingOrAtTheHeadOfTheListIsReported) {
    listPids({{600, 10}, {1, 1}, {17, 2}});
    newestRecords.cat.caCount = 3;
    newestRecords.cat.caEntries[0] = {0x500, 601};
    newestRecords.cat.caEntries[1] = {0x500, 600};
    newestRecords.cat.caEntries[2] = {0x500, 0x2258}; // not masked: no PID of the list is that large
    EXPECT_EQ(collect(),
              "EMM Missing PID 601 p -1\n"
              "EMM Missing PID 600 p 0\n"
              "EMM Missing PID 8792 p -1\n"
              "PID   600 TYPE 12 ORDER   0 PGM     0 REF     0 RATE     10.000 Scramb 0      Unk\n");
}

TEST_F(PidTable, AnEmmPidInThePsiRangeIsReportedAndCountedOnce) {
    listPids({{1, 1}, {17, 2}, {25, 10}});
    newestRecords.cat.caCount = 1;
    newestRecords.cat.caEntries[0] = {0x500, 25};
    EXPECT_EQ(collect(), "EMM Pid < 32 pid 25\n");
    EXPECT_EQ(row(2), "0 2 25 9 0 0 10 0 EMM\n");
    EXPECT_EQ(aggStreamRate, 13.0F);
}

TEST_F(PidTable, AnEmmEntryKeepsTheProgramIndexThatItsPlaceHadBefore) {
    listPids({{1, 1}, {17, 2}, {600, 10}});
    newestRecords.cat.caCount = 1;
    newestRecords.cat.caEntries[0] = {0x500, 600};
    pidTable[2].patIndex = 7;
    pidTable[2].scrambled = 1;
    collect();
    EXPECT_EQ(row(2), "7 2 600 9 0 0 10 0 EMM\n");
}

TEST_F(PidTable, EmmWarningsComeBeforeTheArtificialSdtAndProgramWarningsBehindIt) {
    listPids({{0, 1}, {1, 1}, {5, 1}});
    newestRecords.cat.caCount = 1;
    newestRecords.cat.caEntries[0] = {0x500, 600};
    announcePrograms({{.pgmNum = 1, .pmtPid = 5, .pcrPid = 600, .videoPid = 601}});
    EXPECT_EQ(collect(), "EMM Missing PID 600 p -1\n"
                         "Artificial SDT constructed\n"
                         "PMT Pid < 32 PMT 5\n");
}

TEST_F(PidTable, APrivatePidOfMoreThan200KbpsIsCountedAsNothing) {
    listPids({{17, 0}, {700, 250000}, {701, 200000}, {702, 200001}});
    announcePrograms(
        {{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .privatePids = {700, 701, 702}}});
    collect();
    EXPECT_EQ(table(), "0 0 17 8 0 0 0 0 SDT\n"
                       "0 1 700 7 256 1 0 0 PVT\n"
                       "0 2 701 7 256 1 200000 0 PVT\n"
                       "0 3 702 7 256 1 0 0 PVT\n");
    EXPECT_EQ(newestRecords.tsStatus.pidStats[1].rate, 0.0F);
    EXPECT_EQ(newestRecords.tsStatus.pidStats[2].rate, 200000.0F);
    EXPECT_EQ(newestRecords.tsStatus.pidStats[3].rate, 0.0F);
    EXPECT_EQ(programRates[0], 200000.0F);
}

TEST_F(PidTable, WithANetworkEntryTheFirstRateIsThatOfProgramIndex1) {
    listPids({{17, 0}, {256, 10}, {272, 20}});
    announcePrograms({{.pgmNum = 0, .pmtPid = 16},
                      {.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601},
                      {.pgmNum = 2, .pmtPid = 272, .pcrPid = 602, .videoPid = 603}});
    collect();
    EXPECT_EQ(programRates[0], 10.0F);
    EXPECT_EQ(programRates[1], 20.0F);
    EXPECT_EQ(row(1), "1 1 256 1 256 1 10 0 PMT\n");
    EXPECT_EQ(row(2), "2 2 272 1 272 2 20 0 PMT\n");
}

TEST_F(PidTable, ANetworkEntryAloneIsNoProgram) {
    listPids({{17, 0}, {256, 10}});
    announcePrograms({{.pgmNum = 0, .pmtPid = 256, .pcrPid = 256, .videoPid = 256}});
    EXPECT_EQ(collect(),
              "PID   256 TYPE 12 ORDER   1 PGM     0 REF     0 RATE     10.000 Scramb 0      Unk\n");
    EXPECT_EQ(programRates[0], 0.0F);
}

TEST_F(PidTable, RatesBeyondTheProgramsCollectedAreZero) {
    listPids({{17, 0}, {256, 10}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601}});
    for (float& rate : programRates) {
        rate = 77;
    }
    collect();
    EXPECT_EQ(programRates[0], 10.0F);
    for (int k = 1; k < maxPrograms; ++k) {
        EXPECT_EQ(programRates[k], 0.0F) << k;
    }
}

TEST_F(PidTable, WithoutProgramsNoneIsCollected) {
    listPids({{17, 0}, {256, 10}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601}});
    for (const std::int32_t none : {0, -1, -2147483647}) {
        EXPECT_EQ(collect(none),
                  "PID   256 TYPE 12 ORDER   1 PGM     0 REF     0 RATE     10.000 Scramb 0      Unk\n");
        EXPECT_EQ(programRates[0], 0.0F);
    }
}

TEST_F(PidTable, ProgramsBehindTheLastPmtSlotAreNotCollected) {
    std::vector<ListedPid> pids{{17, 0}};
    std::vector<Program> programs;
    for (std::uint16_t g = 0; g < 60; ++g) {
        const auto pmtPid = static_cast<std::uint16_t>(1000 + g);
        pids.push_back({pmtPid, 10});
        programs.push_back({.pgmNum = static_cast<std::uint16_t>(g + 1),
                            .pmtPid = pmtPid,
                            .pcrPid = 8000,
                            .videoPid = 8001});
    }
    listPids(pids);
    announcePrograms(programs);
    for (const std::int32_t announced : {60, 61, 2147483647}) {
        newestRecords.pat.programCount = announced;
        EXPECT_EQ(collect(announced),
                  "PID  1059 TYPE 12 ORDER  60 PGM     0 REF     0 RATE     10.000 Scramb 0      Unk\n");
        EXPECT_EQ(row(59), "58 59 1058 1 1058 59 10 0 PMT\n");
        EXPECT_EQ(programRates[58], 10.0F);
        EXPECT_EQ(programRates[59], 0.0F);
    }
}

TEST_F(PidTable, StreamCountsBeyondTheRecordsAreCutToThem) {
    std::vector<ListedPid> pids{{17, 0}};
    for (std::uint16_t pid = 1000; pid < 1040; ++pid) {
        pids.push_back({pid, 1});
    }
    listPids(pids);
    Program program{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601};
    for (std::uint16_t t = 0; t < 12; ++t) {
        program.audio.push_back({static_cast<std::uint16_t>(1000 + t)});
        program.privatePids.push_back(static_cast<std::uint16_t>(1012 + t));
    }
    program.ecmPids = {1024, 1025, 1026, 1027, 1028, 1029};
    announcePrograms({program});
    PmtEntry& pmt = newestRecords.pmt.slots[0];
    pmt.audioCount = pmt.privateCount = pmt.ecmCount = 65535;
    pmt.videoPid = 1030; // lies behind the ECM PIDs
    collect();
    for (int place = 1; place <= 12; ++place) {
        EXPECT_EQ(pidTable[place].pidType, 6) << place;
        EXPECT_EQ(pidTable[place + 12].pidType, 7) << place;
    }
    for (int place = 25; place <= 30; ++place) {
        EXPECT_EQ(pidTable[place].pidType, 10) << place;
    }
    EXPECT_EQ(pidTable[31].pidType, 12);
    EXPECT_EQ(programRates[0], 30.0F);
}

TEST_F(PidTable, AudioAndPrivatePidsAreCountedByThePmt) {
    listPids({{17, 0}, {513, 1}, {514, 2}, {700, 4}, {701, 8}});
    announcePrograms({{.pgmNum = 1,
                       .pmtPid = 256,
                       .pcrPid = 600,
                       .videoPid = 601,
                       .audio = {{513}, {514}},
                       .privatePids = {700, 701}}});
    newestRecords.pmt.slots[0].audioCount = 1;
    newestRecords.pmt.slots[0].privateCount = 1;
    newestRecords.pmt.slots[0].audioPids[0] = 514; // not looked at
    collect();
    EXPECT_EQ(table(), "0 0 17 8 0 0 0 0 SDT\n"
                       "0 1 513 6 256 1 1 0 AUDIO\n"
                       "0 2 514 12 0 0 2 0 Unk\n"
                       "0 3 700 7 256 1 4 0 PVT\n"
                       "0 4 701 12 0 0 8 0 Unk\n");
}

TEST_F(PidTable, PlacesWithoutStatisticsHaveNoRate) {
    std::vector<ListedPid> pids;
    for (std::uint16_t i = 0; i < 256; ++i) {
        pids.push_back({static_cast<std::uint16_t>(i == 0 ? 17 : 1000 + i), 1});
    }
    listPids(pids);
    std::memset(newestRecords.tsStatus.reserved2304, 0x49, sizeof newestRecords.tsStatus.reserved2304);
    announcePrograms({{.pgmNum = 1, .pmtPid = 1127, .pcrPid = 600, .videoPid = 1128}});
    newestRecords.pmt.slots[0].privateCount = 1;
    newestRecords.avPgm.slots[0].privatePids[0].pid = 1255;
    collect();
    EXPECT_EQ(row(127), "0 127 1127 1 1127 1 1 0 PMT\n");
    EXPECT_EQ(row(128), "0 128 1128 4 1127 1 0 0 VIDEO\n");
    EXPECT_EQ(row(255), "0 255 1255 7 1127 1 0 0 PVT\n");
    EXPECT_EQ(aggStreamRate, 128.0F);
}

TEST_F(PidTable, APidListCountBeyondTheListIsCutToIt) {
    for (int i = 0; i < maxPids; ++i) {
        newestRecords.pat.pidList[i] = static_cast<std::uint16_t>(i == 0 ? 17 : 1000 + i);
    }
    newestRecords.pat.pidListCount = 65535;
    collect();
    EXPECT_EQ(row(255), "0 255 1255 12 0 0 0 0 Unk\n");
}

TEST_F(PidTable, EntriesBehindAShorterListKeepWhatTheyHeld) {
    listPids({{17, 0}, {700, 10}});
    collect();
    listPids({{17, 0}});
    collect();
    EXPECT_EQ(row(1), "0 1 700 12 0 0 10 0 Unk\n");
}

TEST_F(PidTable, ScramblingIsThatOfTheFirstProgramWithTheNumber) {
    listPids({{17, 0}, {512, 1}, {513, 2}});
    announcePrograms({{.pgmNum = 7,
                       .pmtPid = 256,
                       .pcrPid = 600,
                       .videoPid = 601,
                       .videoScrambled = 1,
                       .audio = {{513, 1}}},
                      {.pgmNum = 7,
                       .pmtPid = 272,
                       .pcrPid = 600,
                       .videoPid = 512,
                       .videoScrambled = 0,
                       .audio = {{513, 0}}}});
    EXPECT_EQ(collect(), "");
    EXPECT_EQ(row(1), "1 1 512 4 272 7 1 1 VIDEO\n");
    EXPECT_EQ(row(2), "1 2 513 6 272 7 2 1 AUDIO\n");
}

TEST_F(PidTable, ScramblingStatesAreCopiedAsTheyStand) {
    listPids({{17, 0}, {512, 1}, {513, 2}});
    announcePrograms({{.pgmNum = 7,
                       .pmtPid = 256,
                       .pcrPid = 600,
                       .videoPid = 512,
                       .videoScrambled = 3,
                       .audio = {{513, 65535}}}});
    collect();
    EXPECT_EQ(row(1), "0 1 512 4 256 7 1 3 VIDEO\n");
    EXPECT_EQ(row(2), "0 2 513 6 256 7 2 65535 AUDIO\n");
}

TEST_F(PidTable, WithoutAProgramCountInThePatVideoAndAudioKeepTheirScrambling) {
    listPids({{17, 0}, {512, 1}, {513, 2}});
    announcePrograms({{.pgmNum = 1,
                       .pmtPid = 256,
                       .pcrPid = 600,
                       .videoPid = 512,
                       .videoScrambled = 0,
                       .audio = {{513, 0}}}});
    for (const std::int32_t none : {0, -1}) {
        newestRecords.pat.programCount = none;
        pidTable[1].scrambled = pidTable[2].scrambled = 1;
        EXPECT_EQ(collect(1), "");
        EXPECT_EQ(row(1), "0 1 512 4 256 1 1 1 VIDEO\n");
        EXPECT_EQ(row(2), "0 2 513 6 256 1 2 1 AUDIO\n");
    }
}

TEST_F(PidTable, AudioThatItsProgramDoesNotListIsReportedAndKeepsItsScrambling) {
    listPids({{17, 0}, {513, 2}});
    announcePrograms({{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .audio = {{513, 0}}}});
    newestRecords.avPgm.slots[0].audioCount = 0;
    pidTable[1].scrambled = 1;
    EXPECT_EQ(collect(), "Collecting PIDs match Audio error\n");
    EXPECT_EQ(row(1), "0 1 513 6 256 1 2 1 AUDIO\n");
}

TEST_F(PidTable, AudioBehindTheTracksThatTheProgramCountsIsReported) {
    listPids({{17, 0}, {513, 2}, {514, 3}});
    announcePrograms(
        {{.pgmNum = 1, .pmtPid = 256, .pcrPid = 600, .videoPid = 601, .audio = {{513, 1}, {514, 1}}}});
    newestRecords.avPgm.slots[0].audioCount = 1;
    EXPECT_EQ(collect(), "Collecting PIDs match Audio error\n");
    EXPECT_EQ(row(1), "0 1 513 6 256 1 2 1 AUDIO\n");
    EXPECT_EQ(row(2), "0 2 514 6 256 1 3 0 AUDIO\n");
}

TEST_F(PidTable, EverythingButVideoAndAudioIsClear) {
    listPids(
        {{0, 1}, {17, 1}, {256, 1}, {600, 1}, {700, 1}, {8191, 1}, {900, 1}, {901, 1}, {1, 1}, {950, 1}});
    announcePrograms({{.pgmNum = 1,
                       .pmtPid = 256,
                       .pcrPid = 600,
                       .videoPid = 601,
                       .privatePids = {700},
                       .ecmPids = {901}}});
    newestRecords.cat.caCount = 1;
    newestRecords.cat.caEntries[0] = {0x500, 950};
    for (PidEntry& entry : pidTable) {
        entry.scrambled = 1;
    }
    collect();
    EXPECT_EQ(table(), "0 0 0 8 0 0 1 0 PAT\n"
                       "0 1 17 8 0 0 1 0 SDT\n"
                       "0 2 256 1 256 1 1 0 PMT\n"
                       "0 3 600 3 256 1 1 0 PCR\n"
                       "0 4 700 7 256 1 1 0 PVT\n"
                       "0 5 8191 11 0 0 1 0 NULL\n"
                       "0 6 900 12 0 0 1 0 Unk\n"
                       "0 7 901 10 256 1 1 0 ECM\n"
                       "0 8 1 8 0 0 1 0 CAT\n"
                       "0 9 950 9 0 0 1 0 EMM\n");
}
