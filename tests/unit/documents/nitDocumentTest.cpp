#include "documents/nitDocument.h"
#include "support/documents.h"
#include "support/records.h"

#include <gtest/gtest.h>
#include <string>

namespace {

NitRecord recordOf(std::uint16_t descriptors) {
    NitRecord record{};
    record.tableId = 0x40;
    record.networkId = 0x3001;
    record.transportStreamId = 0x3F9;
    record.originalNetworkId = 0x2;
    record.descriptorType = 0x40;
    setField(record.descriptorText, "Home Network");
    record.descriptorCount = descriptors;
    record.pidRate = 3500.0F;
    record.descriptorEntries[0].descriptorType = 0x41;
    setField(record.descriptorEntries[0].descriptorText, "0x01F5/1 0x01F6/1");
    record.descriptorEntries[1].descriptorType = 0x5A;
    setField(record.descriptorEntries[1].descriptorText, "474000000");
    return record;
}

std::string documentFor(const NitRecord& record) {
    return documentOf([&](DocumentBuffer& out) { return buildNitJson(record, out); });
}

} // namespace

TEST(NitDocument, ShowsTheNetworkAndListsItsDescriptors) {
    EXPECT_EQ(
        documentFor(recordOf(2)),
        R"({"requestReply":"dataStream","dataStream":"NIT","NIT":{)"
        R"("descriptorCount":"2","tableID":"0x40","netID":"0x3001","streamID":"0x3f9","origNetID":"0x2",)"
        R"("descriptorType":"0x40","descriptors":"Home Network","pidRate":"   3.500Kbps",)"
        R"("details":[)"
        R"({"descriptorType":"0x41","descriptors":"0x01F5/1 0x01F6/1"},)"
        R"({"descriptorType":"0x5a","descriptors":"474000000"})"
        R"(]}})");
}

TEST(NitDocument, WithoutDescriptorsItReadsNoServices) {
    EXPECT_EQ(
        documentFor(recordOf(0)),
        R"({"requestReply":"dataStream","dataStream":"NIT","NIT":{)"
        R"("descriptorCount":"0","tableID":"0x40","netID":"0x3001","streamID":"0x3f9","origNetID":"0x2",)"
        R"("descriptorType":"0x40","descriptors":"Home Network","pidRate":"   3.500Kbps",)"
        R"("details":"noServices"}})");
}

TEST(NitDocument, TextsOfFullLengthAreShownWhole) {
    NitRecord record = recordOf(1);
    record.descriptorEntries[0].descriptorType = 0x9;
    const std::string network(36, 'n');
    const std::string descriptor(220, 'd');
    setField(record.descriptorText, network);
    setField(record.descriptorEntries[0].descriptorText, descriptor);
    EXPECT_EQ(
        documentFor(record),
        R"({"requestReply":"dataStream","dataStream":"NIT","NIT":{)"
        R"("descriptorCount":"1","tableID":"0x40","netID":"0x3001","streamID":"0x3f9","origNetID":"0x2",)"
        R"("descriptorType":"0x40","descriptors":")" +
            network + R"(","pidRate":"   3.500Kbps","details":[{"descriptorType":"0x9","descriptors":")" +
            descriptor + R"("}]}})");
}

TEST(NitDocument, TextsWithoutAZeroByteEndAtTheirWidth) {
    NitRecord record = recordOf(2);
    const std::string network(37, 'n');
    const std::string descriptor(221, 'd');
    setField(record.descriptorText, network);
    setField(record.descriptorEntries[0].descriptorText, descriptor);
    EXPECT_EQ(
        documentFor(record),
        R"({"requestReply":"dataStream","dataStream":"NIT","NIT":{)"
        R"("descriptorCount":"2","tableID":"0x40","netID":"0x3001","streamID":"0x3f9","origNetID":"0x2",)"
        R"("descriptorType":"0x40","descriptors":")" +
            network + R"(","pidRate":"   3.500Kbps","details":[{"descriptorType":"0x41","descriptors":")" +
            descriptor + R"("},{"descriptorType":"0x5a","descriptors":"474000000"}]}})");
}

TEST(NitDocument, AnImpossibleCountIsShownAndTenDescriptorsAreListed) {
    std::string expected =
        R"({"requestReply":"dataStream","dataStream":"NIT","NIT":{)"
        R"("descriptorCount":"65535","tableID":"0x40","netID":"0x3001","streamID":"0x3f9","origNetID":"0x2",)"
        R"("descriptorType":"0x40","descriptors":"Home Network","pidRate":"   3.500Kbps","details":[)"
        R"({"descriptorType":"0x41","descriptors":"0x01F5/1 0x01F6/1"},)"
        R"({"descriptorType":"0x5a","descriptors":"474000000"})";
    for (int k = 2; k < maxNitDescriptors; ++k) {
        expected += R"(,{"descriptorType":"0x0","descriptors":""})";
    }
    EXPECT_EQ(documentFor(recordOf(65535)), expected + "]}}");
}
