#include "documents/patDocument.h"
#include "support/documents.h"

#include <gtest/gtest.h>
#include <string>

namespace {

PatRecord recordOf(std::int32_t programs) {
    PatRecord record{};
    record.programCount = programs;
    record.pidRate = 1500.0F;
    record.programs[0] = {0, 16};
    record.programs[1] = {501, 256};
    record.sectionPrograms[0] = {7, 7}; // not shown
    return record;
}

std::string documentFor(const PatRecord& record) {
    return documentOf([&](DocumentBuffer& out) { return buildPatJson(record, out); });
}

} // namespace

TEST(PatDocument, ListsTheProgramsTheNetworkEntryAmongThem) {
    EXPECT_EQ(documentFor(recordOf(2)), R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{)"
                                        R"("pgms":"2","pidRate":"   1.500Kbps","details":[)"
                                        R"({"pgmNum":"0","referencePID":"16"},)"
                                        R"({"pgmNum":"501","referencePID":"256"})"
                                        R"(]}})");
}

TEST(PatDocument, WithoutProgramsTheListIsEmpty) {
    EXPECT_EQ(documentFor(recordOf(0)), R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{)"
                                        R"("pgms":"0","pidRate":"   1.500Kbps","details":[]}})");
    EXPECT_EQ(documentFor(recordOf(-1)), R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{)"
                                         R"("pgms":"-1","pidRate":"   1.500Kbps","details":[]}})");
}

TEST(PatDocument, RatesStayInKilobits) {
    PatRecord record = recordOf(0);
    record.pidRate = 1234567.0F;
    EXPECT_EQ(documentFor(record), R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{)"
                                   R"("pgms":"0","pidRate":"1234.567Kbps","details":[]}})");
}

TEST(PatDocument, AnImpossibleCountIsShownAndSixtyProgramsAreListed) {
    std::string expected = R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{)"
                           R"("pgms":"2147483647","pidRate":"   1.500Kbps","details":[)"
                           R"({"pgmNum":"0","referencePID":"16"},{"pgmNum":"501","referencePID":"256"})";
    for (int k = 2; k < maxPrograms; ++k) {
        expected += R"(,{"pgmNum":"0","referencePID":"0"})";
    }
    EXPECT_EQ(documentFor(recordOf(2147483647)), expected + "]}}");
}
