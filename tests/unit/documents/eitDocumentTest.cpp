#include "documents/eitDocument.h"
#include "support/documents.h"
#include "support/records.h"

#include <gtest/gtest.h>
#include <string>

namespace {

const std::string head =
    R"({"requestReply":"dataStream","dataStream":"EIT","EIT":{)"
    R"("eventCount":"1","tableID":"0x4e","netID":"0x2","pgmNum":"0x1f5","systemID":"0x3f9","pidRate":"   2.000Kbps",)";

EitRecord recordOf(std::uint16_t events) {
    EitRecord record{};
    record.tableId = 0x4E;
    record.serviceId = 0x1F5;
    record.transportStreamId = 0x3F9;
    record.originalNetworkId = 0x2;
    record.eventCount = events;
    record.pidRate = 2000.0F;
    EitEvent& event = record.events[0];
    event.eventId = 0x1234;
    event.startDateMjd = 60000;
    setField(event.startTime, "20:15:00");
    setField(event.duration, "01:30:00");
    setField(event.language, "eng");
    setField(event.eventName, "Evening News");
    setField(event.description, "Headlines");
    return record;
}

std::string documentFor(const EitRecord& record) {
    return documentOf([&](DocumentBuffer& out) { return buildEitJson(record, out); });
}

} // namespace

TEST(EitDocument, ListsTheEvents) {
    EXPECT_EQ(documentFor(recordOf(1)),
              head + R"("details":[)"
                     R"({"eventID":"0x1234","Date:MJD":"60000","TOD":"20:15:00","duration":"01:30:00",)"
                     R"("language":"eng","event":"Evening News","description":"Headlines"})"
                     R"(]}})");
}

TEST(EitDocument, WithoutEventsItReadsNoEvents) {
    EXPECT_EQ(
        documentFor(recordOf(0)),
        R"({"requestReply":"dataStream","dataStream":"EIT","EIT":{)"
        R"("eventCount":"0","tableID":"0x4e","netID":"0x2","pgmNum":"0x1f5","systemID":"0x3f9","pidRate":"   2.000Kbps",)"
        R"("details":"NoEvents"}})");
}

TEST(EitDocument, TextsMayBeEmptyOrQuoted) {
    EitRecord record = recordOf(1);
    setField(record.events[0].language, "");
    setField(record.events[0].eventName, "The \"News\"");
    EXPECT_EQ(documentFor(record),
              head + R"("details":[)"
                     R"({"eventID":"0x1234","Date:MJD":"60000","TOD":"20:15:00","duration":"01:30:00",)"
                     R"("language":"","event":"The "News"","description":"Headlines"})"
                     R"(]}})");
}

TEST(EitDocument, TextsWithoutAZeroByteEndAtTheirWidth) {
    EitRecord record = recordOf(1);
    EitEvent& event = record.events[0];
    setField(event.startTime, "tttttttttttt");
    setField(event.duration, "uuuuuuuuuuuu");
    setField(event.language, "llllllll");
    setField(event.eventName, std::string(36, 'e'));
    setField(event.description, std::string(36, 's'));
    record.events[1].eventId = 0x7878;
    EXPECT_EQ(documentFor(record),
              head +
                  R"("details":[{"eventID":"0x1234","Date:MJD":"60000","TOD":"tttttttttttt",)"
                  R"("duration":"uuuuuuuuuuuu","language":"llllllll","event":")" +
                  std::string(36, 'e') + R"(","description":")" + std::string(36, 's') + R"("}]}})");
}

TEST(EitDocument, AnImpossibleCountIsShownAndSixtyEventsAreListed) {
    EitRecord record{};
    record.eventCount = 65535;
    std::string expected =
        R"({"requestReply":"dataStream","dataStream":"EIT","EIT":{)"
        R"("eventCount":"65535","tableID":"0x0","netID":"0x0","pgmNum":"0x0","systemID":"0x0",)"
        R"("pidRate":"   0.000Kbps","details":[)";
    for (int k = 0; k < maxEvents; ++k) {
        expected += std::string(k == 0 ? "" : ",") +
                    R"({"eventID":"0x0","Date:MJD":"0","TOD":"","duration":"","language":"","event":"",)"
                    R"("description":""})";
    }
    EXPECT_EQ(documentFor(record), expected + "]}}");
}
