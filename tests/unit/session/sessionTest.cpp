// Whole transcripts of a session: console lines, subscriptions, instruction words and documents in their
// order.
#include "session/session.h"
#include "feed/reception.h"
#include "support/console.h"
#include "support/records.h"
#include "support/sessionStream.h"
#include "support/zmqFaults.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

const std::string entered = "sendMpegData Entered\n";
const std::string resting = "Stabilize GUI/WEB MPEG Metadata\n";
const std::string updating = "Update GUI/WEB MPEG Metadata\n";
const std::string idle = "Exit MPEG Processing\n";
const std::string silence = "> the peers fall silent\n";

// State 2 of the list and detail requests, up to the wait for the PAT.
const std::string listSubscribed = "> subscribe MPEG-STRUCT-PAT\n"
                                   "> subscribe MPEG-STRUCT-SDT\n"
                                   "> subscribe MPEG-STRUCT-PMT\n"
                                   "> subscribe MPEG-STRUCT-TS-STATUS\n"
                                   "> instruction of 2 bytes: 00f\n";

std::string quickWait(int status) {
    return "Quick Wait to Capture Loop, capt status " + std::to_string(status) + "\n";
}

// State 3 of this request when the PMT and the TS-STATUS follow the PAT.
std::string quickCaptured(int requestCode) {
    return "Quick send MPEG data, cmd " + std::to_string(requestCode) + " count 1\n" + pmtReceived +
           quickWait(0) + tsStatusReceived + quickWait(0);
}

const std::string pidListDone = "PIDs sent to Client\n"
                                "Send Instruction 1ff\n"
                                "> instruction of 2 bytes: 1ff\n"
                                "Sent Instruction 1ff\n";
const std::string pidListError = "Error: one or both SDT and PAT not captured yet\n";
const std::string furtherSubscribed = "> subscribe MPEG-STRUCT-PMT\n"
                                      "> subscribe MPEG-STRUCT-TS-STATUS\n"
                                      "> subscribe MPEG-STRUCT-AVPGM\n"
                                      "> subscribe MPEG-STRUCT-CAT\n"
                                      "> subscribe MPEG-STRUCT-NIT\n"
                                      "> subscribe MPEG-STRUCT-EIT\n"
                                      "> subscribe MPEG-STRUCT-TDT\n";

} // namespace

class Session : public StreamTest {
  protected:
    std::string runFrom(std::int32_t state, std::int32_t requestCode, std::int32_t requestParam = 0) {
        session.state = state;
        session.requestCode = requestCode;
        session.requestParam = requestParam;
        return run();
    }
};

// What the first document of a request leaves behind. What the request says and sends stands in the
// transcripts of tests/service.

TEST_F(Session, TheFirstPidListLeavesEveryTopicAskedForAndCountedAsChanged) {
    parser.publishNext({pat, pmt, tsStatus});
    runFrom(stateInitFeed, requestPidData);
    EXPECT_EQ(session.state, stateStabilise);
    EXPECT_EQ(feed.requestedTopics, 0x1FF);
    EXPECT_EQ(feed.instructionWord, 0x1FF);
    EXPECT_EQ(feed.changedTopics, 0x1FF);
    EXPECT_EQ(feed.previousChanged, 0);
    EXPECT_EQ(feed.receivedMask, 0xB1U);
}

TEST_F(Session, AnActualSdtAndAnArtificialOneCountAsCaptured) {
    parser.publishNext({pat, sdt, pmt, tsStatus});
    runFrom(stateInitFeed, requestPidData);
    EXPECT_EQ(feed.receivedMask, 0xB7U);
    parser.publishNext({patWithoutSdtPid, pmt, tsStatus});
    runFrom(stateInitFeed, requestPidData);
    EXPECT_EQ(feed.receivedMask, 0xB7U);
}

TEST_F(Session, TheFirstProgramListLeavesItsTopicsAskedFor) {
    parser.publishNext({pat, pmt, tsStatus, tsStatus, sdt});
    runFrom(stateInitFeed, requestPgmData);
    EXPECT_EQ(session.state, stateStabilise);
    EXPECT_EQ(feed.requestedTopics, 0x10F);
    EXPECT_EQ(feed.instructionWord, 0x10F);
    EXPECT_EQ(feed.receivedMask, 0xB7U);
}

TEST_F(Session, AProgramDetailLeavesTheSessionIdleWithTheFeedOpen) {
    for (const std::int32_t program : {0, 1}) { // the second is not there
        parser.publishNext({pat, pmt, tsStatus});
        runFrom(stateInitFeed, requestPgmDetail, program);
        EXPECT_EQ(session.state, stateInitFeed);
        EXPECT_EQ(feed.requestedTopics, 0x10F);
        EXPECT_TRUE(feedIsOpen(&feed));
    }
}

// A PSI request and what it asks the parser for.
struct PsiRequest {
    const char* name;
    std::int32_t requestCode;
    std::int32_t pid;
    TopicBits requested;
};

class PsiSession : public Session, public testing::WithParamInterface<PsiRequest> {};

INSTANTIATE_TEST_SUITE_P(
    Tables, PsiSession,
    testing::Values(PsiRequest{"Pat", requestPat, 0, 0x005}, PsiRequest{"Cat", requestCat, 1, 0x085},
                    PsiRequest{"Nit", requestNit, 16, 0x015}, PsiRequest{"Sdt", requestSdt, 17, 0x00D},
                    PsiRequest{"Eit", requestEit, 18, 0x045}, PsiRequest{"Tdt", requestTdt, 20, 0x025}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_P(PsiSession, RestsToUpdate) {
    // Only the table that is asked for arrives, and the PAT and the statistics.
    parser.publishNext({sdt, cat, nit, eit, tdt, pmt, tsStatus, pat});
    const std::string transcript = runFrom(stateInitFeed, GetParam().requestCode, GetParam().pid);
    EXPECT_EQ(transcript.find(pmtReceived), std::string::npos) << transcript;
    EXPECT_EQ(session.state, stateUpdate);
    EXPECT_EQ(session.updateCountdown, 2);
    EXPECT_EQ(feed.requestedTopics, GetParam().requested);
    EXPECT_EQ(feed.instructionWord, GetParam().requested);
}

TEST_F(Session, APsiRequestWithAnotherPidIsReportedAndStillWaitsForPatAndStatistics) {
    parser.publishNext({pat, tsStatus});
    EXPECT_EQ(runFrom(stateInitFeed, requestTdt, 19), entered + feedOpened +
                                                          "Illegal PSI 19\n"
                                                          "> subscribe MPEG-STRUCT-PAT\n"
                                                          "> subscribe MPEG-STRUCT-TS-STATUS\n"
                                                          "> instruction of 2 bytes: 005\n" +
                                                          patReceived + tsStatusReceived +
                                                          "Quick capture PSI data req 11 parm 19\n"
                                                          "sendJsonToGUI entered req 11\n"
                                                          "Unsupported PSI 19\n"
                                                          "> document {}\n"
                                                          "PSI Sent to Client\n" +
                                                          updating);
}

// Waits.

TEST_F(Session, TheQuickWaitTakesAtLeastOneMessage) {
    parser.publishNext({pmt, tsStatus, pat, sdt});
    EXPECT_EQ(runFrom(stateInitFeed, requestPgmDetail),
              entered + feedOpened +
                  "> subscribe MPEG-STRUCT-PAT\n"
                  "> subscribe MPEG-STRUCT-SDT\n"
                  "> subscribe MPEG-STRUCT-PMT\n"
                  "> subscribe MPEG-STRUCT-TS-STATUS\n"
                  "> subscribe MPEG-STRUCT-AVPGM\n"
                  "> instruction of 2 bytes: 10f\n" +
                  pmtReceived + tsStatusReceived + patReceived + "Quick send MPEG data, cmd 5 count 1\n" +
                  sdtReceived + quickWait(0) + "Quick capture detail data\n" + programDetailSent() + idle);
}

TEST_F(Session, ABrokenMessageInTheQuickWaitIsShownAndTheWaitGoesOn) {
    parser.publishNext({pat, pmt, pmt, tsStatus});
    zmqFaults::failMoreQuery(6, 1); // behind the record of the second message
    EXPECT_EQ(runFrom(stateInitFeed, requestPidData),
              entered + feedOpened + listSubscribed + patReceived + "Quick send MPEG data, cmd 1 count 1\n" +
                  pmtReceived + "Error: More than 3 part MPEG PUB PMT\n" + quickWait(-1) + pmtReceived +
                  quickWait(0) + tsStatusReceived + quickWait(0) + "Quick capture PID data, count 1\n" +
                  pidListSent() + pidListDone + pidListError + resting);
}

TEST_F(Session, ABrokenMessageInTheFirstWaitForAPatIsPassedOver) {
    parser.publishNext({pat, pat, pmt, tsStatus});
    zmqFaults::failMoreQuery(3, 1);
    const std::string transcript = runFrom(stateInitFeed, requestPidData);
    EXPECT_TRUE(transcript.starts_with(entered + feedOpened + listSubscribed +
                                       "MPEGtopic received: MPEG-STRUCT-PAT\n"
                                       "Published MPEG PAT Received: Topic MPEG-STRUCT-PAT\n"
                                       "Recv PAT TOPIC size 1240 msgl 1240\n"
                                       "Error: More than 3 part MPEG PUB PAT\n" +
                                       patReceived + quickCaptured(1)))
        << transcript;
}

TEST_F(Session, AnotherRequestCodeInTheQuickWaitIsReportedAndWaitsAgain) {
    openFeed({patTopic, pmtTopic, tsStatusTopic});
    parser.publishNext({pat, pmt, tsStatus, pat});
    EXPECT_EQ(runFrom(stateQuickWait, 2), entered + "Quick send MPEG data, cmd 2 count 0\n" + patReceived +
                                              quickWait(0) + pmtReceived + quickWait(0) + tsStatusReceived +
                                              quickWait(0) +
                                              "Illegal Request in SMach 2\n"
                                              "Quick send MPEG data, cmd 2 count 1\n" +
                                              patReceived + quickWait(0) +
                                              "Illegal Request in SMach 2\n"
                                              "Quick send MPEG data, cmd 2 count 1\n" +
                                              silence);
    EXPECT_EQ(session.state, stateQuickWait);
}

TEST_F(Session, AnActualSdtThatHasArrivedNeedsNoWait) {
    openFeed({patTopic, sdtTopic, pmtTopic, tsStatusTopic});
    listPids({{0, 1000}, {17, 2000}});
    newestRecords.sdt.actual = 1;
    feed.receivedMask = 0x01;
    EXPECT_EQ(runFrom(stateQuickProgramList, requestPgmData),
              entered +
                  "Quick capture real SDT, retain 1 pmtcnt 0\n"
                  "Artificial SDT constructed\n"
                  "SDT Svcs 0 Scrambled 0 Rate   3000.000\n"
                  "sendJsonToGUI entered req 3\n"
                  "No SDT Services to convert to JSON\n"
                  "> subscribe MPEG-STRUCT-PMT\n"
                  "> subscribe MPEG-STRUCT-TS-STATUS\n"
                  "> subscribe MPEG-STRUCT-AVPGM\n"
                  "> instruction of 2 bytes: 10f\n" +
                  resting);
    EXPECT_EQ(feed.receivedMask, 0x07U);
}

TEST_F(Session, WithoutAPatTheProgramListSubscribesNothingFurther) {
    openFeed({sdtTopic});
    listPids({{0, 1000}, {17, 2000}, {256, 3000}});
    parser.publishNext({sdt});
    EXPECT_TRUE(runFrom(stateQuickProgramList, requestPgmData)
                    .ends_with("\"svcName\":\"News One\"}]}}\n> instruction of 2 bytes: 10f\n" + resting));
    EXPECT_EQ(feed.receivedMask, 0x12U);
}

TEST_F(Session, ASessionForgetsWhatWasCapturedBeforeIt) {
    feed.changedTopics = 0x1F8;
    feed.receivedMask = 0xFF;
    feed.requestedTopics = 0x1FF;
    parser.publishNext({pat, tsStatus});
    runFrom(stateInitFeed, requestTdt, 20);
    EXPECT_EQ(feed.changedTopics, 0x005);
    EXPECT_EQ(feed.receivedMask, 0x91U);
    EXPECT_EQ(feed.requestedTopics, 0x025);
}

TEST_F(Session, NothingIsCapturedOrChangedBeforeTheFirstRecordArrives) {
    for (const std::int32_t requestCode : {requestPidData, requestPgmData, requestPgmDetail, requestTdt}) {
        feed.changedTopics = 0x1FF;
        feed.receivedMask = 0xFF;
        EXPECT_TRUE(runFrom(stateInitFeed, requestCode, 20).ends_with(silence));
        EXPECT_EQ(feed.changedTopics, 0);
        EXPECT_EQ(feed.receivedMask, 0U);
    }
}

TEST_F(Session, TheTopicThatIsWaitedForIsNoted) {
    EXPECT_TRUE(runFrom(stateInitFeed, requestPgmData).ends_with(silence));
    EXPECT_STREQ(feed.currentTopic, "MPEG-STRUCT-PAT");
    const std::vector<std::pair<std::int32_t, const char*>> tables{
        {0, "MPEG-STRUCT-PAT"},  {1, "MPEG-STRUCT-CAT"},  {16, "MPEG-STRUCT-NIT"},
        {17, "MPEG-STRUCT-SDT"}, {18, "MPEG-STRUCT-EIT"}, {20, "MPEG-STRUCT-TDT"}};
    for (const auto& [pid, topic] : tables) {
        EXPECT_TRUE(runFrom(stateInitFeed, requestPat, pid).ends_with(silence));
        EXPECT_STREQ(feed.currentTopic, topic);
    }
}

// A new stream in the waits that only further passes reach.

TEST_F(Session, ANewStreamWhileStabilisingStartsAgain) {
    openFeed({patTopic, sdtTopic, pmtTopic, tsStatusTopic});
    feed.instructionWord = 0x1FF;
    parser.publishNext({newStreamPat, pat, pmt, tsStatus});
    EXPECT_EQ(runFrom(stateStabilise, requestPidData),
              entered + "Stabilize data\nSend Topic Instruction 1ff\n" + newStreamPatReceived +
                  "MLC Stabilize capt -2 count 0\n" + newStreamHandled + listSubscribed + patReceived +
                  quickCaptured(1) + "Quick capture PID data, count 1\n" + pidListSent() + pidListDone +
                  pidListError + resting);
}

TEST_F(Session, ANewStreamInTheUpdateWaitStartsAgain) {
    openFeed({patTopic, sdtTopic, pmtTopic, tsStatusTopic});
    session.updateCountdown = 1;
    parser.publishNext({tsStatus, newStreamPat, pat, pmt, tsStatus});
    EXPECT_EQ(runFrom(stateUpdate, requestPidData),
              entered +
                  "Update: Chged MPEG Topics 0: \n"
                  "Update: Parser Instructions 7: PAT Stat PMT \n"
                  "> instruction of 2 bytes: 007\n" +
                  tsStatusReceived + newStreamPatReceived + newStreamHandled + listSubscribed + patReceived +
                  quickCaptured(1) + "Quick capture PID data, count 1\n" + pidListSent() + pidListDone +
                  pidListError + resting);
}

// Stabilising.

class StabilisingSession : public Session {
  protected:
    // The feed after a first PID list, and the records of the stream.
    StabilisingSession() {
        openFeed({patTopic, sdtTopic, pmtTopic, tsStatusTopic, avPgmTopic, catTopic, nitTopic, eitTopic,
                  tdtTopic});
        for (const Message& message : {pat, pmt, tsStatus, sdt}) {
            parser.publishNext(message);
            consoleOf([&] { receiveMpegTopic(&feed, &programCount); });
        }
        feed.instructionWord = 0x1FF;
    }
};

TEST_F(StabilisingSession, RestsUntilTwoPassesSawTheSameChanges) {
    feed.changedTopics = 0x1FF;
    parser.publishNext(pat); // the same as before: its bit is cleared
    EXPECT_EQ(runFrom(stateStabilise, requestPidData),
              entered + "Stabilize data\nSend Topic Instruction 1ff\n" + patReceived +
                  "MLC Stabilize capt 0 count 1\n" + summaryPrinted +
                  "Topics Chged 1fe: SDT Stat PMT AV CAT NIT EIT TDT \n" + resting);
    EXPECT_EQ(session.state, stateStabilise);
    EXPECT_EQ(feed.previousChanged, 0x1FE);
}

TEST_F(StabilisingSession, AStableStreamIsSentAndKeepsOnlyTheTopicsThatChange) {
    feed.changedTopics = 0x1FF;
    feed.previousChanged = 0x1FE;
    session.updateCountdown = 7;
    parser.publishNext(pat);
    EXPECT_EQ(runFrom(stateStabilise, requestPidData),
              entered + "Stabilize data\nSend Topic Instruction 1ff\n" + patReceived +
                  "MLC Stabilize capt 0 count 1\n" + summaryPrinted +
                  "Topics Chged 1fe: SDT Stat PMT AV CAT NIT EIT TDT \n"
                  "Stable and PAT/PIDs Not Changing\n"
                  "Send Stablized Data to Client\n" +
                  pidListSent() + updating);
    EXPECT_EQ(session.state, stateUpdate);
    EXPECT_EQ(session.updateCountdown, 2);
    EXPECT_EQ(feed.requestedTopics, 0x1FF);
    EXPECT_EQ(feed.instructionWord, 0x1FF);
    EXPECT_NE(feed.receivedMask & 0x08U, 0U);
}

TEST_F(StabilisingSession, TopicsThatDoNotChangeAreUnsubscribedThePatNever) {
    feed.changedTopics = feed.previousChanged = 0;
    parser.publishNext(pat);
    EXPECT_EQ(runFrom(stateStabilise, requestPgmData),
              entered + "Stabilize data\nSend Topic Instruction 1ff\n" + patReceived +
                  "MLC Stabilize capt 0 count 1\n" + summaryPrinted +
                  "Topics Chged 0: \n"
                  "Stable and PAT/PIDs Not Changing\n"
                  "Send Stablized Data to Client\n" +
                  programListSent() +
                  "> unsubscribe MPEG-STRUCT-SDT\n"
                  "> unsubscribe MPEG-STRUCT-TS-STATUS\n"
                  "> unsubscribe MPEG-STRUCT-PMT\n"
                  "> unsubscribe MPEG-STRUCT-AVPGM\n"
                  "> unsubscribe MPEG-STRUCT-CAT\n"
                  "> unsubscribe MPEG-STRUCT-NIT\n"
                  "> unsubscribe MPEG-STRUCT-EIT\n"
                  "> unsubscribe MPEG-STRUCT-TDT\n" +
                  updating);
    EXPECT_EQ(feed.requestedTopics, 0x001);
    EXPECT_EQ(feed.instructionWord, 0x001);
}

TEST_F(StabilisingSession, AChangingPatIsSaidToChange) {
    feed.changedTopics = 0x106;
    feed.previousChanged = 0x107;
    Message changedPat = pat;
    changedPat[2][600] = '\x01';
    parser.publishNext(changedPat);
    EXPECT_EQ(runFrom(stateStabilise, requestPidData),
              entered + "Stabilize data\nSend Topic Instruction 1ff\n" + patReceived +
                  "MLC Stabilize capt 0 count 1\n" + summaryPrinted +
                  "Topics Chged 107: PAT Stat PMT AV \n"
                  "Stable but PAT/PIDs Changing\n"
                  "Send Stablized Data to Client\n" +
                  pidListSent() +
                  "> unsubscribe MPEG-STRUCT-SDT\n"
                  "> unsubscribe MPEG-STRUCT-CAT\n"
                  "> unsubscribe MPEG-STRUCT-NIT\n"
                  "> unsubscribe MPEG-STRUCT-EIT\n"
                  "> unsubscribe MPEG-STRUCT-TDT\n" +
                  updating);
    EXPECT_EQ(feed.requestedTopics, 0x107);
    EXPECT_EQ(feed.instructionWord, 0x107);
}

TEST_F(StabilisingSession, BrokenMessagesAreShownAndPassedOver) {
    feed.changedTopics = 0;
    feed.previousChanged = 0x1FF;
    parser.publishNext({pmt, pat, pat});
    zmqFaults::failMoreQuery(3, 1);
    EXPECT_EQ(runFrom(stateStabilise, requestPidData),
              entered + "Stabilize data\nSend Topic Instruction 1ff\n" + pmtReceived +
                  "Error: More than 3 part MPEG PUB PMT\n"
                  "MLC Stabilize capt -1 count 1\n" +
                  patReceived + "MLC Stabilize capt 0 count 1\n" + summaryPrinted + "Topics Chged 0: \n" +
                  resting);
    EXPECT_EQ(parser.unpublished(), 1U);
}

TEST_F(StabilisingSession, AnArtificialSdtCountsAsCapturedHereToo) {
    feed.receivedMask = 0;
    feed.previousChanged = 0x1FF;
    parser.publishNext(patWithoutSdtPid);
    runFrom(stateStabilise, requestPidData);
    EXPECT_EQ(feed.receivedMask, 0x13U);
}

// Updating.

struct UpdateWord {
    std::int32_t requestCode;
    TopicBits changed;
    const char* lines;
};

class UpdateWords : public Session, public testing::WithParamInterface<UpdateWord> {};

INSTANTIATE_TEST_SUITE_P(
    Requests, UpdateWords,
    testing::Values(UpdateWord{1, 0x100,
                               "Update: Chged MPEG Topics 100: AV \n"
                               "Update: Parser Instructions 107: PAT Stat PMT AV \n"
                               "> instruction of 2 bytes: 107\n"},
                    UpdateWord{1, 0x0FF,
                               "Update: Chged MPEG Topics ff: PAT SDT Stat PMT CAT NIT EIT TDT \n"
                               "Update: Parser Instructions 7: PAT Stat PMT \n"
                               "> instruction of 2 bytes: 007\n"},
                    UpdateWord{2, 0x1FF,
                               "Update: Chged MPEG Topics 1ff: PAT SDT Stat PMT AV CAT NIT EIT TDT \n"
                               "Update: Parser Instructions 5: PAT Stat \n"
                               "> instruction of 2 bytes: 005\n"},
                    UpdateWord{3, 0x100,
                               "Update: Chged MPEG Topics 100: AV \n"
                               "Update: Parser Instructions f: PAT SDT Stat PMT \n"
                               "> instruction of 2 bytes: 00f\n"},
                    UpdateWord{5, 0x100,
                               "Update: Chged MPEG Topics 100: AV \n"
                               "Update: Parser Instructions 5: PAT Stat \n"
                               "> instruction of 2 bytes: 005\n"},
                    UpdateWord{6, 0x000,
                               "Update: Chged MPEG Topics 0: \n"
                               "Update: Parser Instructions 5: PAT Stat \n"
                               "> instruction of 2 bytes: 005\n"},
                    UpdateWord{7, 0x000,
                               "Update: Chged MPEG Topics 0: \n"
                               "Update: Parser Instructions 85: PAT Stat CAT \n"
                               "> instruction of 2 bytes: 085\n"},
                    UpdateWord{8, 0x000,
                               "Update: Chged MPEG Topics 0: \n"
                               "Update: Parser Instructions 15: PAT Stat NIT \n"
                               "> instruction of 2 bytes: 015\n"},
                    UpdateWord{9, 0x000,
                               "Update: Chged MPEG Topics 0: \n"
                               "Update: Parser Instructions d: PAT SDT Stat \n"
                               "> instruction of 2 bytes: 00d\n"},
                    UpdateWord{10, 0x000,
                               "Update: Chged MPEG Topics 0: \n"
                               "Update: Parser Instructions 45: PAT Stat EIT \n"
                               "> instruction of 2 bytes: 045\n"},
                    UpdateWord{11, 0x000,
                               "Update: Chged MPEG Topics 0: \n"
                               "Update: Parser Instructions 25: PAT Stat TDT \n"
                               "> instruction of 2 bytes: 025\n"}),
    [](const auto& row) {
        return "Request" + std::to_string(row.param.requestCode) + "Changed" +
               std::to_string(row.param.changed);
    });

TEST_P(UpdateWords, NameWhatTheRequestNeeds) {
    openFeed({patTopic});
    feed.changedTopics = GetParam().changed;
    session.updateCountdown = 2;
    EXPECT_EQ(runFrom(stateUpdate, GetParam().requestCode), entered + GetParam().lines + updating);
    EXPECT_EQ(session.state, stateUpdate);
    EXPECT_EQ(session.updateCountdown, 1);
}

TEST_F(StabilisingSession, EverySecondUpdateWaitsForAPatAndSendsThePidList) {
    session.updateCountdown = 1;
    feed.changedTopics = 0x004;
    feed.receivedMask = 0xFF;
    parser.publishNext({tsStatus, pat});
    EXPECT_EQ(runFrom(stateUpdate, requestPidData), entered +
                                                        "Update: Chged MPEG Topics 4: Stat \n"
                                                        "Update: Parser Instructions 7: PAT Stat PMT \n"
                                                        "> instruction of 2 bytes: 007\n" +
                                                        tsStatusReceived + patReceived + pidListSent() +
                                                        updating);
    EXPECT_EQ(session.state, stateUpdate);
    EXPECT_EQ(session.updateCountdown, 2);
    EXPECT_EQ(feed.receivedMask, 0x91U);
}

TEST_F(StabilisingSession, AnUpdateOfTheProgramListPrintsTheSummaryFirst) {
    session.updateCountdown = 1;
    feed.changedTopics = 0;
    parser.publishNext(pat);
    EXPECT_EQ(runFrom(stateUpdate, requestPgmData), entered +
                                                        "Update: Chged MPEG Topics 0: \n"
                                                        "Update: Parser Instructions f: PAT SDT Stat PMT \n"
                                                        "> instruction of 2 bytes: 00f\n" +
                                                        patReceived + summaryPrinted + programListSent() +
                                                        updating);
}

TEST_F(StabilisingSession, AnUpdateOfATableSendsItAgain) {
    session.updateCountdown = 1;
    feed.changedTopics = 0;
    parser.publishNext({tdt, pat});
    EXPECT_EQ(runFrom(stateUpdate, requestTdt, 20),
              entered +
                  "Update: Chged MPEG Topics 0: \n"
                  "Update: Parser Instructions 25: PAT Stat TDT \n"
                  "> instruction of 2 bytes: 025\n" +
                  tdtReceived + patReceived +
                  documentSent(11,
                               R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{"tableID":"0x70",)"
                               R"("Date:MJD":"0","TOD":"","pidRate":"   0.000Kbps"}})") +
                  updating);
}

TEST_F(StabilisingSession, AnArtificialSdtCountsAsCapturedInAnUpdateToo) {
    session.updateCountdown = 1;
    parser.publishNext(patWithoutSdtPid);
    runFrom(stateUpdate, requestPidData);
    EXPECT_EQ(feed.receivedMask, 0x13U);
}

TEST_F(StabilisingSession, ABrokenMessageInTheUpdateWaitRunsTheUpdateAgain) {
    session.updateCountdown = 1;
    feed.changedTopics = 0;
    parser.publishNext({tsStatus, pat});
    zmqFaults::failMoreQuery(3, 1);
    EXPECT_EQ(runFrom(stateUpdate, requestPidData), entered +
                                                        "Update: Chged MPEG Topics 0: \n"
                                                        "Update: Parser Instructions 7: PAT Stat PMT \n"
                                                        "> instruction of 2 bytes: 007\n" +
                                                        tsStatusReceived +
                                                        "Error: More than 3 part MPEG PUB STAT\n"
                                                        "Update: Chged MPEG Topics 0: \n"
                                                        "Update: Parser Instructions 7: PAT Stat PMT \n"
                                                        "> instruction of 2 bytes: 007\n" +
                                                        updating);
    EXPECT_EQ(session.updateCountdown, 1);
}

TEST_F(Session, AStateThatThereIsNotIsReportedAndIdle) {
    for (const std::int32_t state : {0, -1, 11, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(runFrom(state, requestPidData),
                  entered + "Illegal Client MPEG State " + std::to_string(state) + "\n" + idle);
        EXPECT_EQ(session.state, stateInitFeed);
    }
}
