#include "documents/pgmListDocument.h"
#include "support/console.h"
#include "support/documents.h"
#include "support/records.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

const std::string head = R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{)";

std::string documentFor(const SdtRecord& record) {
    std::string document;
    EXPECT_EQ(consoleOf([&] {
                  document = documentOf([&](DocumentBuffer& out) { return buildPgmListJson(&record, out); });
              }),
              "");
    return document;
}

} // namespace

TEST(PgmListDocument, ListsEveryServiceWithItsMembersAsTexts) {
    SdtRecord record{};
    record.actual = 1;
    record.aggregateRate = 7412000.0F;
    record.scrambledCount = 1;
    listServices(record, {{.serviceId = 1,
                           .serviceType = 1,
                           .pmtPid = 4096,
                           .caFlag = 0,
                           .pidCount = 3,
                           .patIndex = 1,
                           .rate = 3250000.0F,
                           .allScrambled = 0,
                           .providerName = "Provider A",
                           .serviceName = "News One"},
                          {.serviceId = 2,
                           .serviceType = 1,
                           .pmtPid = 4112,
                           .caFlag = 1,
                           .pidCount = 3,
                           .patIndex = 2,
                           .rate = 4060000.0F,
                           .allScrambled = 1,
                           .providerName = "Provider A",
                           .serviceName = "Film Two"}});
    EXPECT_EQ(documentFor(record),
              R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{)"
              R"("svcCount":"2","derived":"1","aggStreamRate":"   7.412Mbps","scrambledCount":"1","pgms":[)"
              R"({"pgmNum":"1","patIndex":"1","svcType":"1","referencePID":"4096","pidCount":"3",)"
              R"("pgmRate":"   3.250Mbps","caFlag":"0","allScrambled":"0","svcProvider":"Provider A",)"
              R"("svcName":"News One"})"
              R"(,)"
              R"({"pgmNum":"2","patIndex":"2","svcType":"1","referencePID":"4112","pidCount":"3",)"
              R"("pgmRate":"   4.060Mbps","caFlag":"1","allScrambled":"1","svcProvider":"Provider A",)"
              R"("svcName":"Film Two"})"
              R"(]}})");
}

TEST(PgmListDocument, WithoutServicesTheListIsEmpty) {
    SdtRecord record{};
    EXPECT_EQ(
        documentFor(record),
        head +
            R"("svcCount":"0","derived":"0","aggStreamRate":"   0.000Kbps","scrambledCount":"0","pgms":[]}})");
}

TEST(PgmListDocument, DerivedIsTheNumberOfTheRecord) {
    SdtRecord record{};
    record.actual = 65535;
    EXPECT_EQ(
        documentFor(record),
        head +
            R"("svcCount":"0","derived":"65535","aggStreamRate":"   0.000Kbps","scrambledCount":"0","pgms":[]}})");
}

TEST(PgmListDocument, NumbersAreShownInTheirFullRangeAndNamesUnescaped) {
    SdtRecord record{};
    record.scrambledCount = 65535;
    record.aggregateRate = 1000000.0F;
    listServices(record, {{.serviceId = 65535,
                           .serviceType = 255,
                           .pmtPid = 65535,
                           .caFlag = 255,
                           .pidCount = 255,
                           .patIndex = 255,
                           .rate = 1000000.0F,
                           .allScrambled = 65535,
                           .providerName = "\"P\"",
                           .serviceName = "back\\slash"}});
    EXPECT_EQ(
        documentFor(record),
        head +
            R"("svcCount":"1","derived":"0","aggStreamRate":"1000.000Kbps","scrambledCount":"65535","pgms":[)"
            R"({"pgmNum":"65535","patIndex":"255","svcType":"255","referencePID":"65535","pidCount":"255",)"
            R"("pgmRate":"1000.000Kbps","caFlag":"255","allScrambled":"65535","svcProvider":""P"",)"
            R"("svcName":"back\slash"}]}})");
}

TEST(PgmListDocument, NamesOfFullLengthAreShownWholeAndEndAtTheirWidth) {
    SdtRecord record{};
    const std::string provider(35, 'p');
    const std::string service(37, 's');
    listServices(record, {{.providerName = provider, .serviceName = service},
                          {.providerName = provider + "P", .serviceName = service + "S"},
                          {}});
    const std::string document = documentFor(record);
    EXPECT_NE(document.find("\"svcProvider\":\"" + provider + "\",\"svcName\":\"" + service + "\"}"),
              std::string::npos);
    EXPECT_NE(document.find("\"svcProvider\":\"" + provider + "P\",\"svcName\":\"" + service + "S\"}"),
              std::string::npos);
}

TEST(PgmListDocument, SixtyOfTheLongestServicesStayUnderTheLimit) {
    SdtRecord record{};
    record.aggregateRate = 80000000.0F;
    record.scrambledCount = 60;
    listServices(record,
                 std::vector<Service>(
                     60, Service{.serviceId = 65535,
                                 .serviceType = 255,
                                 .pmtPid = 65535,
                                 .caFlag = 255,
                                 .pidCount = 255,
                                 .patIndex = 255,
                                 .rate = 98765432.0F,
                                 .allScrambled = 65535,
                                 .providerName = std::string_view("ppppppppppppppppppppppppppppppppppp"),
                                 .serviceName = std::string_view("sssssssssssssssssssssssssssssssssssss")}));
    const std::string document = documentFor(record);
    EXPECT_TRUE(document.ends_with("s\"}]}}"));
    EXPECT_LT(document.size(), 16000U);
}

TEST(PgmListDocument, AnImpossibleCountIsShownAndSixtyServicesAreListed) {
    SdtRecord record{};
    listServices(record, std::vector<Service>(60));
    record.serviceCount = 65535;
    const std::string document = documentFor(record);
    EXPECT_TRUE(document.starts_with(head + R"("svcCount":"65535",)"));
    std::size_t listed = 0;
    for (std::size_t at = 0; (at = document.find("{\"pgmNum\"", at)) != std::string::npos; ++at) {
        ++listed;
    }
    EXPECT_EQ(listed, 60U);
    EXPECT_TRUE(document.ends_with("\"}]}}"));
}
