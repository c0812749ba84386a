#include "documents/catDocument.h"
#include "support/documents.h"

#include <gtest/gtest.h>
#include <string>

namespace {

CatRecord recordOf(std::uint16_t entries) {
    CatRecord record{};
    record.caCount = entries;
    record.tableId = 1;
    record.pidRate = 800.0F;
    record.caEntries[0] = {0x500, 1001};
    record.caEntries[1] = {0x1802, 1002};
    return record;
}

std::string documentFor(const CatRecord& record) {
    return documentOf([&](DocumentBuffer& out) { return buildCatJson(record, out); });
}

} // namespace

TEST(CatDocument, ListsTheSystemsInHexadecimalAndTheirPidsInDecimal) {
    EXPECT_EQ(documentFor(recordOf(2)), R"({"requestReply":"dataStream","dataStream":"CAT","CAT":{)"
                                        R"("pidCount":"2","tableID":"0x1","pidRate":"   0.800Kbps",)"
                                        R"("details":[)"
                                        R"({"systemID":"0x500","pidNum":"1001"},)"
                                        R"({"systemID":"0x1802","pidNum":"1002"})"
                                        R"(]}})");
}

TEST(CatDocument, WithoutSystemsItReadsNoServices) {
    EXPECT_EQ(documentFor(recordOf(0)), R"({"requestReply":"dataStream","dataStream":"CAT","CAT":{)"
                                        R"("pidCount":"0","tableID":"0x1","pidRate":"   0.800Kbps",)"
                                        R"("details":"noServices"}})");
}

TEST(CatDocument, AnImpossibleCountIsShownAndTenSystemsAreListed) {
    std::string expected = R"({"requestReply":"dataStream","dataStream":"CAT","CAT":{)"
                           R"("pidCount":"65535","tableID":"0x1","pidRate":"   0.800Kbps","details":[)"
                           R"({"systemID":"0x500","pidNum":"1001"},{"systemID":"0x1802","pidNum":"1002"})";
    for (int k = 2; k < maxCaEntries; ++k) {
        expected += R"(,{"systemID":"0x0","pidNum":"0"})";
    }
    EXPECT_EQ(documentFor(recordOf(65535)), expected + "]}}");
}
