#include "documents/psiDocument.h"
#include "support/console.h"
#include "support/documents.h"
#include "support/records.h"

#include <gtest/gtest.h>
#include <string>

class PsiDocument : public ProcessStateTest {
  protected:
    // The document of this PID and what is printed with it.
    std::string documentOfPid(std::uint16_t pid) {
        std::string document;
        console = consoleOf(
            [&] { document = documentOf([&](DocumentBuffer& out) { return buildPsiJson(pid, out); }); });
        return document;
    }

    std::string console;
};

TEST_F(PsiDocument, EachTableIsSelectedByItsPidAndStampedWithThatPidsRate) {
    listPids({{0, 1000}, {1, 2000}, {16, 3000}, {17, 4000}, {18, 5000}, {20, 6000}});
    EXPECT_EQ(documentOfPid(0), R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{)"
                                R"("pgms":"0","pidRate":"   1.000Kbps","details":[]}})");
    EXPECT_EQ(documentOfPid(1),
              R"({"requestReply":"dataStream","dataStream":"CAT","CAT":{)"
              R"("pidCount":"0","tableID":"0x0","pidRate":"   2.000Kbps","details":"noServices"}})");
    EXPECT_EQ(documentOfPid(16),
              R"({"requestReply":"dataStream","dataStream":"NIT","NIT":{)"
              R"("descriptorCount":"0","tableID":"0x0","netID":"0x0","streamID":"0x0","origNetID":"0x0",)"
              R"("descriptorType":"0x0","descriptors":"","pidRate":"   3.000Kbps","details":"noServices"}})");
    EXPECT_EQ(documentOfPid(17),
              R"({"requestReply":"dataStream","dataStream":"SDT","SDT":{)"
              R"("pgms":"0","tableID":"0x0","systemID":"0x0","netID":"0x0","pidRate":"   4.000Kbps",)"
              R"("sdtData":"Derived","details":"noServices"}})");
    EXPECT_EQ(documentOfPid(18),
              R"({"requestReply":"dataStream","dataStream":"EIT","EIT":{)"
              R"("eventCount":"0","tableID":"0x0","netID":"0x0","pgmNum":"0x0","systemID":"0x0",)"
              R"("pidRate":"   5.000Kbps","details":"NoEvents"}})");
    EXPECT_EQ(documentOfPid(20), R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{)"
                                 R"("tableID":"0x0","Date:MJD":"0","TOD":"","pidRate":"   6.000Kbps"}})");
    EXPECT_EQ(console, "");
    EXPECT_EQ(newestRecords.pat.pidRate, 1000.0F);
    EXPECT_EQ(newestRecords.cat.pidRate, 2000.0F);
    EXPECT_EQ(newestRecords.nit.pidRate, 3000.0F);
    EXPECT_EQ(newestRecords.sdt.pidRate, 4000.0F);
    EXPECT_EQ(newestRecords.eit.pidRate, 5000.0F);
    EXPECT_EQ(newestRecords.tdt.pidRate, 6000.0F);
    EXPECT_EQ(bytesOf(previousRecords), std::string(sizeof previousRecords, '\0'));
}

TEST_F(PsiDocument, OtherPidsAreNotSupported) {
    listPids({{0, 1000}, {19, 2000}});
    for (const int pid : {2, 15, 19, 21, 31, 256, 8191, 65535}) {
        EXPECT_EQ(documentOfPid(static_cast<std::uint16_t>(pid)), "{}");
        EXPECT_EQ(console, "Unsupported PSI " + std::to_string(pid) + "\n");
    }
}

TEST_F(PsiDocument, AnAbsentPidIsStampedWithTheBytesInFrontOfTheStatistics) {
    newestRecords.tsStatus.absentPidRate = 4321.0F;
    EXPECT_EQ(documentOfPid(0), R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{)"
                                R"("pgms":"0","pidRate":"   4.321Kbps","details":[]}})");
    listPids({{0, 1000}});
    EXPECT_EQ(documentOfPid(20), R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{)"
                                 R"("tableID":"0x0","Date:MJD":"0","TOD":"","pidRate":"   4.321Kbps"}})");
}

TEST_F(PsiDocument, TheFirstPlaceOfAPidCounts) {
    listPids({{0, 1000}, {0x2014, 2000}, {20, 3000}});
    documentOfPid(20);
    EXPECT_EQ(newestRecords.tdt.pidRate, 2000.0F);
}

TEST_F(PsiDocument, APlaceWithoutStatisticsHasNoRate) {
    std::vector<ListedPid> pids(129, ListedPid{100, 5});
    pids[128].pid = 20;
    listPids(pids);
    newestRecords.tdt.pidRate = 77;
    documentOfPid(20);
    EXPECT_EQ(newestRecords.tdt.pidRate, 0.0F);
}

TEST_F(PsiDocument, RatesThatAreNoNumbersAreCopiedAsTheyAre) {
    listPids({{20, 0}});
    const std::uint32_t pattern = 0xFFC12345;
    std::memcpy(&newestRecords.tsStatus.pidStats[0].rate, &pattern, sizeof pattern);
    EXPECT_EQ(documentOfPid(20), R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{)"
                                 R"("tableID":"0x0","Date:MJD":"0","TOD":"","pidRate":"    -nanKbps"}})");
    std::uint32_t stamped = 0;
    std::memcpy(&stamped, &newestRecords.tdt.pidRate, sizeof stamped);
    EXPECT_EQ(stamped, pattern);
}
