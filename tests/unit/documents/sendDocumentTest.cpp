#include "documents/sendDocument.h"
#include "model/pidTable.h"
#include "support/console.h"
#include "support/records.h"
#include "support/scriptedPeers.h"
#include "support/zmqFaults.h"
#include "trufios/trufiosChannels.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

class SendDocument : public PeersTest {
  protected:
    // The transcript of sending the document of this request.
    std::string send(std::int32_t requestCode, std::int32_t requestParam = 0) {
        const MpegSession session{stateQuickPidList, requestCode, requestParam, trufios.documentSocket(), 0};
        return consoleOf([&] { sendJsonToGUI(&session); });
    }

    ScriptedTrufios trufios;
};

TEST_F(SendDocument, ThePidListIsSentWithItsLengthOnTheConsole) {
    listPids({{0, 1000}});
    pidTable[0] = {0, 0, 0, pidTypePsi, 0, 0, 1000.0F, 0, "PAT"};
    aggStreamRate = 1000.0F;
    EXPECT_EQ(
        send(requestPidData),
        "sendJsonToGUI entered req 1\n"
        "PID Json complete length 271\n"
        "> document {\"requestReply\":\"dataStream\",\"dataStream\":\"pidData\",\"pidData\":{"
        "\"pidCount\":\"1\",\"aggStreamRate\":\"   1.000Kbps\",\"pids\":["
        "{\"patIndex\":\"0\",\"pidOrder\":\"0\",\"pidNum\":\"0\",\"pidType\":\"8\",\"referencePID\":\"0\","
        "\"pgmNum\":\"0\",\"pidRate\":\"   1.000Kbps\",\"scrambled\":\"0\",\"description\":\"PAT\"}]}}\n");
}

TEST_F(SendDocument, WithoutPidsNothingIsSent) {
    EXPECT_EQ(send(requestPidData), "sendJsonToGUI entered req 1\n"
                                    "No PID data to convert to JSON\n");
}

TEST_F(SendDocument, TheProgramListIsSent) {
    listServices(newestRecords.sdt, {{.serviceId = 501, .serviceName = "News One"}});
    EXPECT_EQ(
        send(requestPgmData),
        "sendJsonToGUI entered req 3\n"
        "> document {\"requestReply\":\"dataStream\",\"dataStream\":\"pgmData\",\"pgmData\":{"
        "\"svcCount\":\"1\",\"derived\":\"0\",\"aggStreamRate\":\"   0.000Kbps\",\"scrambledCount\":\"0\","
        "\"pgms\":[{\"pgmNum\":\"501\",\"patIndex\":\"0\",\"svcType\":\"0\",\"referencePID\":\"0\","
        "\"pidCount\":\"0\",\"pgmRate\":\"   0.000Kbps\",\"caFlag\":\"0\",\"allScrambled\":\"0\","
        "\"svcProvider\":\"\",\"svcName\":\"News One\"}]}}\n");
}

TEST_F(SendDocument, WithoutServicesNothingIsSent) {
    EXPECT_EQ(send(requestPgmData), "sendJsonToGUI entered req 3\n"
                                    "No SDT Services to convert to JSON\n");
}

TEST_F(SendDocument, TheDetailOfTheProgramAtTheIndexIsSent) {
    announcePrograms({{.pgmNum = 0, .pmtPid = 16}, {.pgmNum = 501, .pmtPid = 256}});
    EXPECT_EQ(
        send(requestPgmDetail, 1),
        "sendJsonToGUI entered req 5\n"
        "> document {\"requestReply\":\"dataStream\",\"dataStream\":\"pgmDetail\",\"pgmDetail\":{"
        "\"pidCount\":\"0\",\"details\":[{\"pidType\":\"PMT\",\"pidNum\":\"256\",\"pgmNum\":\"501\"},]}}\n");
}

TEST_F(SendDocument, AProgramIndexOutsideTheStreamIsRefusedWithALine) {
    announcePrograms(std::vector<Program>(60, Program{.pgmNum = 1}));
    for (const std::int32_t index : {-1, 59, 60, 2147483647, -2147483647 - 1}) {
        const std::string console = send(requestPgmDetail, index);
        EXPECT_TRUE(console.starts_with("sendJsonToGUI entered req 5\n"));
        EXPECT_EQ(std::ranges::count(console, '\n'), 2) << console;
        EXPECT_EQ(console.find("> document"), std::string::npos);
    }
    EXPECT_NE(send(requestPgmDetail, 58).find("> document"), std::string::npos);
}

TEST_F(SendDocument, AProgramIndexAtTheProgramCountIsRefused) {
    announcePrograms({{.pgmNum = 1}, {.pgmNum = 2}});
    EXPECT_EQ(send(requestPgmDetail, 2).find("> document"), std::string::npos);
    EXPECT_NE(send(requestPgmDetail, 1).find("> document"), std::string::npos);
    announcePrograms({});
    EXPECT_EQ(send(requestPgmDetail, 0).find("> document"), std::string::npos);
}

TEST_F(SendDocument, TheTableOfThePsiRequestIsThatOfItsPid) {
    for (std::int32_t code = requestPat; code <= requestTdt; ++code) {
        EXPECT_EQ(send(code, 20), "sendJsonToGUI entered req " + std::to_string(code) +
                                      "\n> document {\"requestReply\":\"dataStream\",\"dataStream\":\"TDT\","
                                      "\"TDT\":{\"tableID\":\"0x0\",\"Date:MJD\":\"0\",\"TOD\":\"\","
                                      "\"pidRate\":\"   0.000Kbps\"}}\n");
    }
}

TEST_F(SendDocument, ThePidOfATableIsTakenAsSixteenBits) {
    EXPECT_EQ(send(requestTdt, 0x10014), send(requestTdt, 20));
}

TEST_F(SendDocument, AnUnsupportedTableIsSentAsAnEmptyObject) {
    EXPECT_EQ(send(requestTdt, 19), "sendJsonToGUI entered req 11\n"
                                    "Unsupported PSI 19\n"
                                    "> document {}\n");
    EXPECT_EQ(send(requestTdt, -1), "sendJsonToGUI entered req 11\n"
                                    "Unsupported PSI 65535\n"
                                    "> document {}\n");
}

TEST_F(SendDocument, OtherRequestsHaveNoDocument) {
    for (const std::int32_t code : {0, 2, 4, 12, -1, 2147483647}) {
        EXPECT_EQ(send(code), "sendJsonToGUI entered req " + std::to_string(code) + "\nIllegal MPEG REQ " +
                                  std::to_string(code) + "\n");
    }
}

TEST_F(SendDocument, ARefusalIsShownAndTheNextDocumentGoesOut) {
    trufios.answerNext(R"({"reply": "nak", "reason": "busy"})");
    const std::string refused = send(requestTdt, 19);
    EXPECT_EQ(refused + send(requestTdt, 19),
              "sendJsonToGUI entered req 11\n"
              "Unsupported PSI 19\n"
              "> document {}\n"
              "NAK Received: Reason: busy: Msg: {\"reply\": \"nak\", \"reason\": \"busy\"}\n"
              "sendJsonToGUI entered req 11\n"
              "Unsupported PSI 19\n"
              "> document {}\n");
}

TEST_F(SendDocument, ADocumentThatIsNeverAnsweredIsGivenUp) {
    zmqFaults::hooks.insteadOfSleep = [](useconds_t) {};
    trufios.answerNext("");
    EXPECT_EQ(send(requestTdt, 19), "sendJsonToGUI entered req 11\n"
                                    "Unsupported PSI 19\n"
                                    "> document {}\n"
                                    "5s Abort\n");
}

TEST_F(SendDocument, ALateAnswerIsNotTakenForTheNextDocuments) {
    TrufiosChannels channels{};
    consoleOf([&] { initMPEGsideofMLC_MPEG_CTX(&channels); });
    const MpegSession session{stateQuickPsi, requestTdt, 19, channels.mpegMstmlc, 0};
    zmqFaults::hooks.insteadOfSleep = [](useconds_t) {};
    trufios.answerNext("");
    EXPECT_EQ(consoleOf([&] { sendJsonToGUI(&session); }), "sendJsonToGUI entered req 11\n"
                                                           "Unsupported PSI 19\n"
                                                           "> document {}\n"
                                                           "5s Abort\n");
    trufios.answerNow(R"({"reply": "nak", "reason": "too late"})");
    zmqFaults::hooks.insteadOfSleep = nullptr;
    EXPECT_EQ(consoleOf([&] { sendJsonToGUI(&session); }), "sendJsonToGUI entered req 11\n"
                                                           "Unsupported PSI 19\n"
                                                           "> document {}\n");
}
