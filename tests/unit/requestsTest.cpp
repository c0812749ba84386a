#include "requests.h"
#include "support/console.h"
#include "support/records.h"
#include "support/sessionStream.h"
#include "support/zmqFaults.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <jansson.h>
#include <string>
#include <utility>
#include <vector>

class Requests : public StreamTest {
  protected:
    // The transcript of this request, given as JSON; its result is in result.
    std::string request(const std::string& json) {
        json_t* object = json_loads(json.c_str(), 0, nullptr);
        const std::string transcript = dispatch(object);
        json_decref(object);
        return transcript;
    }

    std::string dispatch(json_t* object) {
        return consoleOf([&] { result = dispatchClientRequest(object, &session, &feed); });
    }

    int result = -1;
};

namespace {

const std::string refused = "Client Request not recognized\n";
const std::string stopped = "sendMpegData Entered\n"
                            "Send MPEG Stop reply ACK to Client\n"
                            "Send Stop Topics Instructions to Parser 1\n"
                            "Stop MPEG, Wait for new Command\n"
                            "Exit MPEG Processing\n";

// The session of a request that went on to its feed and met a silent parser.
bool startsSession(const std::string& transcript, const std::string& message) {
    return transcript.starts_with(message + "sendMpegData Entered\nInit MPEG Feed ZMQ channel\n");
}

} // namespace

TEST_F(Requests, PidDataRunsTheSession) {
    parser.publishNext({pat, pmt, tsStatus});
    const std::string transcript = request(R"({"dataStream": "pidData", "status": "on"})");
    EXPECT_TRUE(startsSession(transcript, "GUI Requests All PIDs\n")) << transcript;
    EXPECT_NE(transcript.find(pidListSent()), std::string::npos);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(session.requestCode, 1);
    EXPECT_EQ(session.state, stateStabilise);
}

TEST_F(Requests, PgmDataRunsTheSession) {
    parser.publishNext({pat, sdt, pmt, tsStatus});
    const std::string transcript = request(R"({"dataStream": "pgmData", "status": "on"})");
    EXPECT_TRUE(startsSession(transcript, "Client Requests All PGMs\n")) << transcript;
    EXPECT_NE(transcript.find(programListSent()), std::string::npos);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(session.requestCode, 3);
}

TEST_F(Requests, PgmDetailRunsTheSessionWhateverItsStatus) {
    parser.publishNext({pat, pmt, tsStatus});
    const std::string transcript =
        request(R"({"dataStream": "pgmDetail", "patIndex": "0", "status": "off"})");
    EXPECT_TRUE(startsSession(transcript, "Client Requests Detail from patindex 0\n")) << transcript;
    EXPECT_NE(transcript.find(programDetailSent()), std::string::npos);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(session.requestCode, 5);
    EXPECT_EQ(session.state, stateInitFeed);
}

TEST_F(Requests, AProgramIndexIsReadAsANumberWithoutFurtherChecks) {
    const std::vector<std::pair<std::string, std::int32_t>> indexes{
        {"7", 7},
        {"x", 0},
        {"-1", -1},
        {"", 0},
        {" 12", 12},
        {"+5", 5},
        {"12abc", 12},
        {"0x10", 0},
        {"010", 10},
        {"3.9", 3},
        {"2147483647", 2147483647},
        {"2147483648", 2147483647},
        {"99999999999999999999", 2147483647},
        {"-2147483648", -2147483647 - 1},
        {"-99999999999999999999", -2147483647 - 1}};
    for (const auto& [text, index] : indexes) {
        const std::string transcript = request(R"({"dataStream": "pgmDetail", "patIndex": ")" + text + "\"}");
        EXPECT_TRUE(
            startsSession(transcript, "Client Requests Detail from patindex " + std::to_string(index) + "\n"))
            << transcript;
        EXPECT_EQ(session.requestParam, index);
    }
}

// The PSI requests.
struct PsiTable {
    const char* name;
    std::int32_t requestCode;
    std::int32_t pid;
};

class PsiRequests : public Requests, public testing::WithParamInterface<PsiTable> {};

INSTANTIATE_TEST_SUITE_P(Tables, PsiRequests,
                         testing::Values(PsiTable{"PAT", 6, 0}, PsiTable{"CAT", 7, 1}, PsiTable{"NIT", 8, 16},
                                         PsiTable{"SDT", 9, 17}, PsiTable{"EIT", 10, 18},
                                         PsiTable{"TDT", 11, 20}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(PsiRequests, OnRunsTheSessionForTheTablesPid) {
    session.requestParam = 77;
    parser.publishNext({sdt, cat, nit, eit, tdt, pat, tsStatus});
    const std::string transcript =
        request(R"({"dataStream": ")" + std::string(GetParam().name) + R"(", "status": "on"})");
    EXPECT_TRUE(startsSession(transcript, "Client Request PSI Request Recognized, send ACK: ack\n"))
        << transcript;
    EXPECT_NE(transcript.find("\"dataStream\":\"" + std::string(GetParam().name) + "\""), std::string::npos);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(session.requestCode, GetParam().requestCode);
    EXPECT_EQ(session.requestParam, GetParam().pid);
    EXPECT_EQ(session.state, stateUpdate);
}

TEST_P(PsiRequests, OffStops) {
    EXPECT_EQ(request(R"({"dataStream": ")" + std::string(GetParam().name) + R"(", "status": "off"})"),
              "Stop PSI Request Recognized, send ACK: ack\n" + stopped);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(session.requestCode, GetParam().requestCode);
    EXPECT_EQ(session.requestParam, GetParam().pid);
    EXPECT_EQ(session.state, stateInitFeed);
}

TEST_F(Requests, OffOfTheListsStopsWithoutAMessageOfItsOwn) {
    session.requestParam = 77;
    EXPECT_EQ(request(R"({"dataStream": "pidData", "status": "off"})"), stopped);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(session.requestCode, 1);
    EXPECT_EQ(request(R"({"dataStream": "pgmData", "status": "off"})"), stopped);
    EXPECT_EQ(session.requestCode, 3);
    EXPECT_EQ(session.requestParam, 77);
}

TEST_F(Requests, ListsLeaveTheParameterAsItWas) {
    session.requestParam = 77;
    request(R"({"dataStream": "pidData", "status": "on"})");
    EXPECT_EQ(session.requestParam, 77);
    request(R"({"dataStream": "pgmData", "status": "on"})");
    EXPECT_EQ(session.requestParam, 77);
}

TEST_F(Requests, OtherStreamsAreRefused) {
    for (const std::string stream : {"PATX", "pat", "PA", "", "P", "pidDat", "pidDatax", "PIDDATA", "pgm",
                                     "pgmDetailed", "BAT", "Cat", " PAT", "SDTs", "TOT", "XYZ"}) {
        session = {
            .state = 8, .requestCode = 1, .requestParam = 5, .docSocket = nullptr, .updateCountdown = 2};
        EXPECT_EQ(request(R"({"dataStream": ")" + stream + R"(", "status": "on"})"),
                  "Illegal Client MPEG Request: " + stream + "\n" + refused);
        EXPECT_EQ(result, 1);
        EXPECT_EQ(session.state, 0);
        EXPECT_EQ(session.requestCode, 1);
        EXPECT_EQ(session.requestParam, 5);
    }
}

TEST_F(Requests, OtherStatusesAreIllegal) {
    for (const std::string stream : {"pidData", "pgmData", "PAT", "CAT", "NIT", "SDT", "EIT", "TDT"}) {
        for (const std::string status : {"", "o", "of", "On", "ON", "onn", "offf", "off ", " on", "no"}) {
            session.state = 8;
            session.requestCode = 4;
            session.requestParam = 5;
            EXPECT_EQ(request(R"({"dataStream": ")" + stream + R"(", "status": ")" + status + "\"}"),
                      "Illegal StreamType Request Status " + status + "\n");
            EXPECT_EQ(result, 1);
            EXPECT_EQ(session.state, 0);
            EXPECT_EQ(session.requestCode, 4);
            EXPECT_EQ(session.requestParam, 5);
        }
    }
}

TEST_F(Requests, AMissingStatusOrOneThatIsNoTextIsIllegalAndEmpty) {
    for (const std::string json :
         {R"({"dataStream": "pidData"})", R"({"dataStream": "PAT", "status": 1})",
          R"({"dataStream": "pgmData", "status": null})", R"({"dataStream": "CAT", "status": ["on"]})"}) {
        EXPECT_EQ(request(json), "Illegal StreamType Request Status \n");
        EXPECT_EQ(result, 1);
        EXPECT_EQ(session.state, 0);
    }
}

TEST_F(Requests, AMissingStreamOrOneThatIsNoTextIsRefusedAsEmpty) {
    for (const std::string json :
         {R"({"status": "on"})", R"({"dataStream": 7, "status": "on"})", R"({"dataStream": null})",
          R"({"dataStream": {"a": "b"}})", "{}", R"(["dataStream", "pidData"])"}) {
        session.state = 8;
        EXPECT_EQ(request(json), "Illegal Client MPEG Request: \n" + refused);
        EXPECT_EQ(result, 1);
        EXPECT_EQ(session.state, 0);
    }
}

TEST_F(Requests, ARequestThatCouldNotBeParsedIsRefusedAsEmpty) {
    session.state = 8;
    EXPECT_EQ(dispatch(nullptr), "Illegal Client MPEG Request: \n" + refused);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(session.state, 0);
}

TEST_F(Requests, ADetailWithoutAProgramIndexIsRefusedWithALine) {
    for (const std::string json :
         {R"({"dataStream": "pgmDetail"})", R"({"dataStream": "pgmDetail", "patIndex": 3})",
          R"({"dataStream": "pgmDetail", "patIndex": null})"}) {
        session.requestCode = 1;
        session.requestParam = 5;
        const std::string console = request(json);
        EXPECT_EQ(std::ranges::count(console, '\n'), 1) << console;
        EXPECT_EQ(console.find("sendMpegData Entered"), std::string::npos);
        EXPECT_EQ(result, 1);
        EXPECT_EQ(session.requestCode, 1);
        EXPECT_EQ(session.requestParam, 5);
    }
}

TEST_F(Requests, FurtherMembersAreIgnored) {
    EXPECT_EQ(request(R"({"id": 4, "status": "off", "dataStream": "pidData", "patIndex": "9"})"), stopped);
    EXPECT_EQ(session.requestParam, 0);
}

TEST_F(Requests, TheRequestObjectIsLeftToItsOwner) {
    json_t* object = json_loads(R"({"dataStream": "pidData", "status": "off"})", 0, nullptr);
    dispatch(object);
    EXPECT_EQ(object->refcount, 1U);
    EXPECT_STREQ(json_string_value(json_object_get(object, "status")), "off");
    json_decref(object);
}
