#include "exchange/request.h"
#include "managerError.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using manager::bringsDocument;
using manager::makeRequest;
using manager::ManagerError;
using manager::requestText;

std::string requestRefusal(const char* dataStream, const char* value) {
    try {
        makeRequest(dataStream, value);
    } catch (const ManagerError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(Request, namesItsDataStreamAndStatus) {
    std::string texts;
    for (const char* dataStream : {"pidData", "pgmData", "PAT", "CAT", "NIT", "SDT", "EIT", "TDT"}) {
        texts += requestText(makeRequest(dataStream, "on")) + '\n';
    }
    EXPECT_EQ(texts, R"({"dataStream": "pidData", "status": "on"})"
                     "\n"
                     R"({"dataStream": "pgmData", "status": "on"})"
                     "\n"
                     R"({"dataStream": "PAT", "status": "on"})"
                     "\n"
                     R"({"dataStream": "CAT", "status": "on"})"
                     "\n"
                     R"({"dataStream": "NIT", "status": "on"})"
                     "\n"
                     R"({"dataStream": "SDT", "status": "on"})"
                     "\n"
                     R"({"dataStream": "EIT", "status": "on"})"
                     "\n"
                     R"({"dataStream": "TDT", "status": "on"})"
                     "\n");
}

TEST(Request, forAProgramsDetailNamesTheProgramsIndex) {
    EXPECT_EQ(requestText(makeRequest("pgmDetail", "3")), R"({"dataStream": "pgmDetail", "patIndex": "3"})");
    EXPECT_EQ(requestText(makeRequest("pgmDetail", "58")),
              R"({"dataStream": "pgmDetail", "patIndex": "58"})");
}

TEST(Request, bringsADocumentUnlessItIsOff) {
    EXPECT_TRUE(bringsDocument(makeRequest("EIT", "on")));
    EXPECT_TRUE(bringsDocument(makeRequest("pgmDetail", "0")));
    EXPECT_FALSE(bringsDocument(makeRequest("EIT", "off")));
}

TEST(Request, isRefusedForAnUnknownDataStream) {
    EXPECT_EQ(
        requestRefusal("pat", "on"),
        "no such data stream: expected one of pidData, pgmData, pgmDetail, PAT, CAT, NIT, SDT, EIT, TDT, got "
        "\"pat\"; capital and small letters count");
}

TEST(Request, isRefusedForAValueThatTheDataStreamDoesNotTake) {
    EXPECT_EQ(
        requestRefusal("PAT", "On"),
        "the request is incomplete: expected on or off after PAT, got \"On\"; see mpegfe-manager --help");
    for (const char* value : {"on", "", "3x", "0x3", " 3", "99999999999", "-1", "59", "+3"}) {
        EXPECT_EQ(requestRefusal("pgmDetail", value),
                  "the request is incomplete: expected a program index from 0 to 58 after pgmDetail, got \"" +
                      std::string(value) + "\"; see mpegfe-manager --help");
    }
}

} // namespace
