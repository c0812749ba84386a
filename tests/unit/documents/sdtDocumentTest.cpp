#include "documents/sdtDocument.h"
#include "support/documents.h"
#include "support/records.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

SdtRecord recordOf(const std::vector<Service>& services, std::uint16_t actual) {
    SdtRecord record{};
    record.tableId = 0x42;
    record.transportStreamId = 0x3F9;
    record.originalNetworkId = 0x2;
    record.actual = actual;
    record.pidRate = 12345.0F;
    listServices(record, services);
    return record;
}

std::string documentFor(const SdtRecord& record) {
    return documentOf([&](DocumentBuffer& out) { return buildSdtJson(record, out); });
}

} // namespace

TEST(SdtDocument, ListsTheServicesWithTheCommaBehindSet) {
    EXPECT_EQ(documentFor(recordOf({{.caFlag = 0, .providerName = "Alpha Net", .serviceName = "News One"},
                                    {.caFlag = 1, .providerName = "Beta", .serviceName = "Film Two"}},
                                   1)),
              R"({"requestReply":"dataStream","dataStream":"SDT","SDT":{)"
              R"("pgms":"2","tableID":"0x42","systemID":"0x3f9","netID":"0x2","pidRate":"  12.345Kbps",)"
              R"("sdtData":"Actual",)"
              R"("details":[)"
              R"({"svcName":"News One","svcProvider":"Alpha Net","caFlag":"Clear"},)"
              R"({"svcName":"Film Two","svcProvider":"Beta","caFlag":"Set",})"
              R"(]}})");
}

TEST(SdtDocument, WithoutServicesItReadsNoServices) {
    EXPECT_EQ(documentFor(recordOf({}, 0)),
              R"({"requestReply":"dataStream","dataStream":"SDT","SDT":{)"
              R"("pgms":"0","tableID":"0x42","systemID":"0x3f9","netID":"0x2","pidRate":"  12.345Kbps",)"
              R"("sdtData":"Derived",)"
              R"("details":"noServices"}})");
}

TEST(SdtDocument, EveryActualButZeroIsActualAndEveryCaFlagButZeroIsSet) {
    SdtRecord record = recordOf({{.caFlag = 255, .serviceName = "A \"quoted\" name"}, {.caFlag = 2}}, 2);
    record.tableId = 0x46;
    record.pidRate = 1234567.0F;
    EXPECT_EQ(documentFor(record),
              R"({"requestReply":"dataStream","dataStream":"SDT","SDT":{)"
              R"("pgms":"2","tableID":"0x46","systemID":"0x3f9","netID":"0x2","pidRate":"1234.567Kbps",)"
              R"("sdtData":"Actual",)"
              R"("details":[)"
              R"({"svcName":"A "quoted" name","svcProvider":"","caFlag":"Set",},)"
              R"({"svcName":"","svcProvider":"","caFlag":"Set",})"
              R"(]}})");
}

TEST(SdtDocument, ARateOfZeroIsPadded) {
    SdtRecord record = recordOf({}, 0);
    record.pidRate = 0.0F;
    EXPECT_NE(documentFor(record).find(R"("pidRate":"   0.000Kbps",)"), std::string::npos);
}

TEST(SdtDocument, NamesOfFullLengthAreShownWholeAndEndAtTheirWidth) {
    const std::string provider(35, 'p');
    const std::string service(37, 's');
    const std::string document =
        documentFor(recordOf({{.providerName = provider, .serviceName = service}, {}}, 1));
    EXPECT_NE(document.find("{\"svcName\":\"" + service + "\",\"svcProvider\":\"" + provider + "\","),
              std::string::npos);
    const std::string wide = documentFor(recordOf({{.providerName = "123456789012345678901234567890123456",
                                                    .serviceName = "12345678901234567890123456789012345678"},
                                                   {}},
                                                  1));
    EXPECT_NE(wide.find(R"({"svcName":"12345678901234567890123456789012345678",)"
                        R"("svcProvider":"123456789012345678901234567890123456","caFlag":"Clear"},)"),
              std::string::npos);
}

TEST(SdtDocument, AnImpossibleCountIsShownAndSixtyServicesAreListed) {
    SdtRecord record = recordOf({}, 1);
    record.serviceCount = 65535;
    std::string expected =
        R"({"requestReply":"dataStream","dataStream":"SDT","SDT":{)"
        R"("pgms":"65535","tableID":"0x42","systemID":"0x3f9","netID":"0x2","pidRate":"  12.345Kbps",)"
        R"("sdtData":"Actual","details":[)";
    for (int k = 0; k < maxServices; ++k) {
        expected += std::string(k == 0 ? "" : ",") + R"({"svcName":"","svcProvider":"","caFlag":"Clear"})";
    }
    EXPECT_EQ(documentFor(record), expected + "]}}");
}
