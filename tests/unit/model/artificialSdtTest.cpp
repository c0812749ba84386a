#include "model/artificialSdt.h"
#include "support/console.h"
#include "support/records.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

class ArtificialSdt : public ProcessStateTest {
  protected:
    static void listSectionPrograms(const std::vector<ProgramEntry>& programs) {
        newestRecords.pat.sectionProgramCount = static_cast<std::uint16_t>(programs.size());
        for (std::size_t k = 0; k < programs.size() && k < maxPrograms; ++k) {
            newestRecords.pat.sectionPrograms[k] = programs[k];
        }
    }

    // Programs 1, 2, ... with PMTs on PIDs 101, 102, ..., behind the network entry if there is one.
    static void listManyPrograms(int count, bool networkFirst) {
        std::vector<ProgramEntry> programs;
        for (int k = networkFirst ? 0 : 1; static_cast<int>(programs.size()) < count; ++k) {
            programs.push_back({static_cast<std::uint16_t>(k), static_cast<std::uint16_t>(100 + k)});
        }
        listSectionPrograms(programs);
    }

    std::string build() {
        return consoleOf([&] { result = buildArtificialSdt(); });
    }

    // Services of the SDT record, a line each: place in the PAT, service, PMT PID, provider, name.
    static std::string services() {
        std::string lines;
        for (int k = 0; k < newestRecords.sdt.serviceCount; ++k) {
            const SdtService& service = newestRecords.sdt.services[k];
            char line[120];
            std::snprintf(line, sizeof line, "%u %u %u %s %s\n", service.patIndex, service.serviceId,
                          service.pmtPid, service.providerName, service.serviceName);
            lines += line;
        }
        return lines;
    }

    int result = -1;
};

TEST_F(ArtificialSdt, ListsTheProgramsOfAStreamWithoutSdt) {
    listPids({{0, 1}, {16, 1}});
    newestRecords.pat.transportStreamId = 0x3F9;
    listSectionPrograms({{0, 16}, {501, 256}, {502, 272}, {65535, 8190}});
    EXPECT_EQ(build(), "Artificial SDT constructed\n");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(services(), "1 501 256 Unk Program 501\n"
                          "2 502 272 Unk Program 502\n"
                          "3 65535 8190 Unk Program 65535\n");
    EXPECT_EQ(newestRecords.sdt.serviceCount, 3);
    EXPECT_EQ(newestRecords.sdt.transportStreamId, 0x3F9);
    EXPECT_EQ(newestRecords.sdt.actual, 1);
    EXPECT_EQ(newestRecords.sdt.pid, 17);
}

TEST_F(ArtificialSdt, WithoutANetworkEntryTheFirstServiceIsTheFirstProgram) {
    listPids({{0, 1}});
    listSectionPrograms({{501, 256}, {502, 272}});
    EXPECT_EQ(build(), "Artificial SDT constructed\n");
    EXPECT_EQ(services(), "0 501 256 Unk Program 501\n"
                          "1 502 272 Unk Program 502\n");
}

TEST_F(ArtificialSdt, WritesNothingElse) {
    listPids({{0, 1}});
    listSectionPrograms({{501, 256}});
    std::memset(static_cast<void*>(&newestRecords.sdt), 0xAA, sizeof newestRecords.sdt);
    build();
    const SdtRecord& sdt = newestRecords.sdt;
    EXPECT_EQ(sdt.services[0].serviceType, 0xAA);
    EXPECT_EQ(sdt.services[0].caFlag, 0xAA);
    EXPECT_EQ(sdt.services[0].pidCount, 0xAA);
    EXPECT_EQ(sdt.services[0].allScrambled, 0xAAAA);
    EXPECT_EQ(sdt.services[0].reserved3, 0xAA);
    EXPECT_EQ(sdt.services[1].serviceId, 0xAAAA);
    EXPECT_EQ(sdt.tableId, 0xAAAA);
    EXPECT_EQ(sdt.originalNetworkId, 0xAAAA);
    EXPECT_EQ(sdt.scrambledCount, 0xAAAA);
    EXPECT_STREQ(sdt.services[0].providerName, "Unk");
    EXPECT_STREQ(sdt.services[0].serviceName, "Program 501");
}

TEST_F(ArtificialSdt, ARealSdtIsLeftAlone) {
    listPids({{0, 1}, {0xE011, 1}}); // PID 17 with bits that are none of its own
    listSectionPrograms({{501, 256}});
    for (const std::uint16_t actual : {std::uint16_t{0}, std::uint16_t{2}, std::uint16_t{65535}}) {
        newestRecords.sdt.actual = actual;
        newestRecords.sdt.serviceCount = 9;
        const std::string before = bytesOf(newestRecords.sdt);
        EXPECT_EQ(build(), "");
        EXPECT_EQ(result, 0);
        EXPECT_EQ(bytesOf(newestRecords.sdt), before);
    }
}

TEST_F(ArtificialSdt, AnActualSdtIsReplacedThoughThePidIsPresent) {
    listPids({{0, 1}, {17, 1}});
    listSectionPrograms({{501, 256}});
    newestRecords.sdt.actual = 1;
    EXPECT_EQ(build(), "Artificial SDT constructed\n");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(services(), "0 501 256 Unk Program 501\n");
}

TEST_F(ArtificialSdt, WithoutPidsOneIsBuilt) {
    newestRecords.pat.pidList[0] = 17; // not counted
    listSectionPrograms({{501, 256}});
    EXPECT_EQ(build(), "Artificial SDT constructed\n");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(services(), "0 501 256 Unk Program 501\n");
}

TEST_F(ArtificialSdt, ANetworkEntryAloneGivesNoServices) {
    listPids({{0, 1}});
    listSectionPrograms({{0, 16}});
    newestRecords.sdt.serviceCount = 9;
    EXPECT_EQ(build(), "Artificial SDT constructed\n");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(newestRecords.sdt.serviceCount, 0);
    EXPECT_EQ(newestRecords.sdt.actual, 1);
}

TEST_F(ArtificialSdt, NoProgramsGiveNoServices) {
    listPids({{0, 1}});
    newestRecords.pat.sectionPrograms[0] = {501, 256}; // not counted
    newestRecords.sdt.serviceCount = 9;
    EXPECT_EQ(build(), "Artificial SDT constructed\n");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(newestRecords.sdt.serviceCount, 0);
}

TEST_F(ArtificialSdt, SixtyProgramsAreSixtyServices) {
    listPids({{0, 1}});
    listManyPrograms(60, false);
    build();
    EXPECT_EQ(newestRecords.sdt.serviceCount, 60);
    EXPECT_STREQ(newestRecords.sdt.services[59].serviceName, "Program 60");
    EXPECT_EQ(newestRecords.sdt.services[59].patIndex, 59);
}

TEST_F(ArtificialSdt, MoreProgramsThanPlacesGiveSixtyServices) {
    listPids({{0, 1}});
    listManyPrograms(70, false);
    build();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(newestRecords.sdt.serviceCount, 60);
    EXPECT_STREQ(newestRecords.sdt.services[59].serviceName, "Program 60");
}

TEST_F(ArtificialSdt, MoreProgramsThanPlacesBehindANetworkEntryGiveFiftyNineServices) {
    listPids({{0, 1}});
    listManyPrograms(70, true);
    build();
    EXPECT_EQ(newestRecords.sdt.serviceCount, 59);
    EXPECT_STREQ(newestRecords.sdt.services[58].serviceName, "Program 59");
    EXPECT_EQ(newestRecords.sdt.services[58].patIndex, 59);
    EXPECT_EQ(newestRecords.sdt.services[58].pmtPid, 159);
}

TEST_F(ArtificialSdt, AnImpossibleProgramCountIsCut) {
    listPids({{0, 1}});
    listManyPrograms(60, false);
    newestRecords.pat.sectionProgramCount = 65535;
    build();
    EXPECT_EQ(newestRecords.sdt.serviceCount, 60);
}
