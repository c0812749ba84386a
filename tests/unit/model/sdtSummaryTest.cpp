#include "model/sdtSummary.h"
#include "model/pidTable.h"
#include "support/console.h"
#include "support/records.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

class SdtSummary : public ProcessStateTest {};

TEST_F(SdtSummary, WritesRatesAndScramblingIntoTheSdtAndPrintsThem) {
    announcePrograms({{.pgmNum = 0, .allScrambled = 9},
                      {.pgmNum = 501, .allScrambled = 0},
                      {.pgmNum = 502, .allScrambled = 1}});
    listServices(newestRecords.sdt,
                 {{.serviceId = 501, .pmtPid = 256, .providerName = "Alpha Net", .serviceName = "News One"},
                  {.serviceId = 502,
                   .pmtPid = 4112,
                   .caFlag = 1,
                   .providerName = "A provider of more than ten",
                   .serviceName = "A service of more than twenty-five"}});
    programRates[0] = 3250000;
    programRates[1] = 4060000;
    aggStreamRate = 7412000;
    newestRecords.sdt.scrambledCount = 44;

    EXPECT_EQ(consoleOf(printSdtSummary),
              "SDT Svcs 2 Scrambled 1 Rate 7412000.000\n"
              "Service: News One                  Provider: Alpha Net  PMT:    256 CA: 0 Scrambled 0 "
              "Rate:      3.250Mbps\n"
              "Service: A service of more than twenty-five Provider: A provider of more than ten PMT:   4112 "
              "CA: 1 Scrambled 1 Rate:      4.060Mbps\n");
    EXPECT_EQ(newestRecords.sdt.aggregateRate, 7412000.0F);
    EXPECT_EQ(newestRecords.sdt.scrambledCount, 1);
    EXPECT_EQ(newestRecords.sdt.services[0].rate, 3250000.0F);
    EXPECT_EQ(newestRecords.sdt.services[0].allScrambled, 0);
    EXPECT_EQ(newestRecords.sdt.services[1].rate, 4060000.0F);
    EXPECT_EQ(newestRecords.sdt.services[1].allScrambled, 1);
}

TEST_F(SdtSummary, WithoutANetworkEntryTheFirstServiceIsTheFirstProgram) {
    announcePrograms({{.pgmNum = 501, .allScrambled = 7}, {.pgmNum = 502, .allScrambled = 0}});
    listServices(newestRecords.sdt, {{.serviceName = "A"}, {.serviceName = "B"}});
    EXPECT_EQ(consoleOf(printSdtSummary),
              "SDT Svcs 2 Scrambled 1 Rate      0.000\n"
              "Service: A                         Provider:            PMT:      0 CA: 0 Scrambled 7 "
              "Rate:      0.000Mbps\n"
              "Service: B                         Provider:            PMT:      0 CA: 0 Scrambled 0 "
              "Rate:      0.000Mbps\n");
}

TEST_F(SdtSummary, WithoutServicesOnlyTheHeadIsPrinted) {
    announcePrograms({{.pgmNum = 501, .allScrambled = 1}});
    newestRecords.sdt.scrambledCount = 44;
    aggStreamRate = 15040;
    EXPECT_EQ(consoleOf(printSdtSummary), "SDT Svcs 0 Scrambled 0 Rate  15040.000\n");
    EXPECT_EQ(newestRecords.sdt.scrambledCount, 0);
    EXPECT_EQ(newestRecords.sdt.aggregateRate, 15040.0F);
}

TEST_F(SdtSummary, ServiceRatesAreDividedAsSingles) {
    listServices(newestRecords.sdt, {{.serviceName = "A"}});
    announcePrograms({{.pgmNum = 501}});
    programRates[0] = 5045419520.0F; // as a double it would read 5045.420
    EXPECT_EQ(consoleOf(printSdtSummary),
              "SDT Svcs 1 Scrambled 0 Rate      0.000\n"
              "Service: A                         Provider:            PMT:      0 CA: 0 Scrambled 0 "
              "Rate:   5045.419Mbps\n");
}

TEST_F(SdtSummary, TheLastServiceBehindANetworkEntryHasNoProgramAndIsClear) {
    std::vector<Program> programs(60, Program{.pgmNum = 9, .allScrambled = 1});
    programs[0].pgmNum = 0;
    announcePrograms(programs);
    listServices(newestRecords.sdt, std::vector<Service>(60, Service{.allScrambled = 5}));
    consoleOf(printSdtSummary);
    EXPECT_EQ(newestRecords.sdt.services[58].allScrambled, 1);
    EXPECT_EQ(newestRecords.sdt.services[59].allScrambled, 0);
    EXPECT_EQ(newestRecords.sdt.scrambledCount, 59);
}

TEST_F(SdtSummary, AnImpossibleServiceCountIsShownButOnlySixtyServicesAreTouched) {
    announcePrograms({{.pgmNum = 9}});
    newestRecords.sdt.serviceCount = 65535;
    const std::string console = consoleOf(printSdtSummary);
    EXPECT_EQ(console.substr(0, console.find('\n')), "SDT Svcs 65535 Scrambled 0 Rate      0.000");
    EXPECT_EQ(std::ranges::count(console, '\n'), 61);
}

TEST_F(SdtSummary, NamesWithoutAZeroByteEndAtTheirWidth) {
    announcePrograms({{.pgmNum = 9}});
    listServices(newestRecords.sdt, {{.providerName = "123456789012345678901234567890123456",
                                      .serviceName = "12345678901234567890123456789012345678"}});
    newestRecords.sdt.services[1].serviceId = 0x4141;
    EXPECT_EQ(
        consoleOf(printSdtSummary),
        "SDT Svcs 1 Scrambled 0 Rate      0.000\n"
        "Service: 12345678901234567890123456789012345678 Provider: 123456789012345678901234567890123456 "
        "PMT:      0 CA: 0 Scrambled 0 Rate:      0.000Mbps\n");
}
