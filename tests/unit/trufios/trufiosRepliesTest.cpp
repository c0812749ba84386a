#include "trufios/trufiosReplies.h"
#include "support/console.h"
#include "support/scriptedPeers.h"
#include "support/zmqFaults.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <jansson.h>
#include <string>

using namespace zmqFaults;

namespace {

// The three console lines for a text that is no JSON, with Jansson's own words.
std::string parseErrorLines(const std::string& text) {
    json_error_t error;
    json_t* parsed = json_loads(text.c_str(), JSON_DISABLE_EOF_CHECK | JSON_ALLOW_NUL, &error);
    EXPECT_EQ(parsed, nullptr) << text;
    json_decref(parsed);
    return "Display Mgr parse error string " + std::string(error.text) + " \n" +
           "Display Mgr parse error source " + error.source + " \n" + "Display Mgr parse position " +
           std::to_string(error.position) + " \n";
}

int liveBlocks = 0; // of Jansson's

void* countedMalloc(std::size_t size) {
    ++liveBlocks;
    return std::malloc(size);
}

void countedFree(void* block) {
    liveBlocks -= block != nullptr ? 1 : 0;
    std::free(block);
}

} // namespace

// A socket of the service and Trufios's end of it; sleeps pass at once and are added up.
class TrufiosReplies : public testing::Test {
  protected:
    TrufiosReplies() {
        forgetEverything();
        hooks.insteadOfSleep = [this](useconds_t microseconds) {
            ++sleeps;
            slept += microseconds;
            if (sleeps == answerAtSleep) {
                PeerSockets::send(trufiosEnd, lateAnswer);
            }
        };
    }

    ~TrufiosReplies() override {
        forgetEverything();
    }

    // The service's end as the document channel, a document on its way.
    void* sentDocument() {
        trufiosEnd = sockets.bind(ZMQ_REP, "inproc://documents");
        void* serviceEnd = sockets.connect(ZMQ_REQ, "inproc://documents");
        PeerSockets::send(serviceEnd, "document");
        EXPECT_EQ(PeerSockets::receive(trufiosEnd), "document");
        return serviceEnd;
    }

    // The service's end as the request channel, a request taken.
    void* takenRequest() {
        trufiosEnd = sockets.bind(ZMQ_REQ, "inproc://requests");
        void* serviceEnd = sockets.connect(ZMQ_REP, "inproc://requests");
        PeerSockets::send(trufiosEnd, "request");
        EXPECT_EQ(PeerSockets::receive(serviceEnd), "request");
        return serviceEnd;
    }

    // What a wait for this answer prints; its result is in result.
    std::string waitFor(const std::string& answer) {
        void* documentSocket = sentDocument();
        PeerSockets::send(trufiosEnd, answer);
        return consoleOf([&] { result = waitReply(documentSocket); });
    }

    void answerAfter(int sleep, const std::string& answer) {
        answerAtSleep = sleep;
        lateAnswer = answer;
    }

    PeerSockets sockets;
    void* trufiosEnd = nullptr;
    int result = -1;
    int sleeps = 0;
    long slept = 0; // microseconds
    int answerAtSleep = 0;
    std::string lateAnswer;
};

TEST_F(TrufiosReplies, AnAcknowledgementIsOneKeyWithoutATerminator) {
    sendReplyAck(takenRequest());
    EXPECT_EQ(PeerSockets::receive(trufiosEnd), R"({"reply": "ack"})");
}

TEST_F(TrufiosReplies, AnAcknowledgementMayCarryAText) {
    sendReplyAckText(takenRequest(), R"(a "text")");
    EXPECT_EQ(PeerSockets::receive(trufiosEnd), R"({"reply": "ack", "ack": "a \"text\""})");
}

TEST_F(TrufiosReplies, ARefusalCarriesItsReason) {
    sendReplyNak(takenRequest(), "busy");
    EXPECT_EQ(PeerSockets::receive(trufiosEnd), R"({"reply": "nak", "reason": "busy"})");
}

TEST_F(TrufiosReplies, AnEventNamesModuleEventAndTopicAndWaitsForItsReply) {
    trufiosEnd = sockets.bind(ZMQ_REP, "inproc://events");
    void* serviceEnd = sockets.connect(ZMQ_REQ, "inproc://events");
    std::string event;
    hooks.afterSend = [&](void*, const std::string&, const std::string&) {
        event = PeerSockets::receive(trufiosEnd);
        PeerSockets::send(trufiosEnd, R"({"reply": "nak", "reason": "unknown module"})");
    };
    EXPECT_EQ(consoleOf([&] { sendEvent(serviceEnd, "MPEGFE", "stream lost", "PAT"); }),
              "NAK Received: Reason: unknown module: Msg: "
              "{\"reply\": \"nak\", \"reason\": \"unknown module\"}\n");
    EXPECT_EQ(event, R"({"request": "event", "module": "MPEGFE", "event": "stream lost", "topic": "PAT"})");
}

TEST_F(TrufiosReplies, AckIsTakenSilently) {
    EXPECT_EQ(waitFor(R"({"reply": "ack"})"), "");
    EXPECT_EQ(result, 0);
}

TEST_F(TrufiosReplies, TheOrderOfTheKeysDoesNotMatter) {
    EXPECT_EQ(waitFor(R"({"ack":"a text","reply":"ack"})"), "");
    EXPECT_EQ(result, 0);
}

TEST_F(TrufiosReplies, WhatFollowsTheReplyIsIgnored) {
    EXPECT_EQ(waitFor(R"({"reply": "ack"} and more)"), "");
    EXPECT_EQ(result, 0);
}

TEST_F(TrufiosReplies, AReplyInCapitalsIsARefusalWithoutReason) {
    EXPECT_EQ(waitFor(R"({"reply": "ACK"})"), "NAK but no reason given\n");
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, ALongerWordIsARefusalWithoutReason) {
    EXPECT_EQ(waitFor(R"({"reply": "acknowledged"})"), "NAK but no reason given\n");
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, ARefusalIsShownWithItsReasonAndTheWholeText) {
    EXPECT_EQ(waitFor(R"({"reply": "nak", "reason": "busy"})"),
              "NAK Received: Reason: busy: Msg: {\"reply\": \"nak\", \"reason\": \"busy\"}\n");
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, AReasonThatIsNoTextIsNoReason) {
    EXPECT_EQ(waitFor(R"({"reply": "nak", "reason": 7})"), "NAK but no reason given\n");
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, WithoutAReplyTheAnswerIsRefusedSilently) {
    EXPECT_EQ(waitFor(R"({"answer": "ack"})"), "");
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, AReplyThatIsNoTextIsRefusedSilently) {
    EXPECT_EQ(waitFor(R"({"reply": ["ack"]})"), "");
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, AnAnswerThatIsNoJsonIsShownAsAParseError) {
    EXPECT_EQ(waitFor("xyz"), "Display Mgr parse error string '[' or '{' expected near 'xyz' \n"
                              "Display Mgr parse error source <string> \n"
                              "Display Mgr parse position 3 \n");
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, AnEmptyAnswerIsShownAsAParseError) {
    EXPECT_EQ(waitFor(""), parseErrorLines(""));
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, AnAnswerOfFiftyBytesIsTakenWhole) {
    const std::string answer = R"({"reply": "nak", "reason": "of twenty characters"})";
    ASSERT_EQ(answer.size(), 50U);
    EXPECT_EQ(waitFor(answer), "NAK Received: Reason: of twenty characters: Msg: " + answer + "\n");
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, ALongerAnswerIsCutToFiftyBytes) {
    const std::string answer = R"({"reply": "nak", "reason": "one of more than fifty bytes altogether"})";
    EXPECT_EQ(waitFor(answer), parseErrorLines(answer.substr(0, 50)));
    EXPECT_EQ(result, 1);
}

TEST_F(TrufiosReplies, ALongerAnswerWhoseObjectEndsWithinFiftyBytesIsUnderstood) {
    EXPECT_EQ(waitFor(R"({"reply": "ack"})" + std::string(200, ' ')), "");
    EXPECT_EQ(result, 0);
}

TEST_F(TrufiosReplies, WithoutAnAnswerTheWaitEndsAfterFiveSeconds) {
    void* documentSocket = sentDocument();
    EXPECT_EQ(consoleOf([&] { result = waitReply(documentSocket); }), "5s Abort\n");
    EXPECT_EQ(result, 2);
    EXPECT_EQ(callsOf(Call::receive), 501U);
    EXPECT_EQ(sleeps, 501);
    EXPECT_EQ(slept, 5010000);
}

TEST_F(TrufiosReplies, AnAnswerAfterThreeSecondsIsAccepted) {
    void* documentSocket = sentDocument();
    answerAfter(300, R"({"reply": "ack"})");
    EXPECT_EQ(consoleOf([&] { result = waitReply(documentSocket); }), "");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(callsOf(Call::receive), 301U);
}

TEST_F(TrufiosReplies, AnAnswerBeforeTheLastTryIsAccepted) {
    void* documentSocket = sentDocument();
    answerAfter(500, R"({"reply": "ack"})");
    EXPECT_EQ(consoleOf([&] { result = waitReply(documentSocket); }), "");
    EXPECT_EQ(result, 0);
}

TEST_F(TrufiosReplies, AnAnswerAfterTheLastTryIsTooLate) {
    void* documentSocket = sentDocument();
    answerAfter(501, R"({"reply": "ack"})");
    EXPECT_EQ(consoleOf([&] { result = waitReply(documentSocket); }), "5s Abort\n");
    EXPECT_EQ(result, 2);
}

TEST_F(TrufiosReplies, TheTextOfAnAcknowledgementIsHandedOver) {
    void* documentSocket = sentDocument();
    PeerSockets::send(trufiosEnd, R"({"reply": "ack", "ack": "ready"})");
    ReplyText text = "before";
    EXPECT_EQ(consoleOf([&] { result = waitReplyText(documentSocket, text); }), "");
    EXPECT_EQ(result, 0);
    EXPECT_STREQ(text, "ready");
}

TEST_F(TrufiosReplies, AnAcknowledgementWithoutATextLeavesTheTextAlone) {
    void* documentSocket = sentDocument();
    PeerSockets::send(trufiosEnd, R"({"reply": "ack", "ack": 5})");
    ReplyText text = "before";
    EXPECT_EQ(waitReplyText(documentSocket, text), 0);
    EXPECT_STREQ(text, "before");
}

TEST_F(TrufiosReplies, ARefusalLeavesTheTextAlone) {
    void* documentSocket = sentDocument();
    PeerSockets::send(trufiosEnd, R"({"reply": "nak", "reason": "no", "ack": "x"})");
    ReplyText text = "before";
    EXPECT_EQ(consoleOf([&] { result = waitReplyText(documentSocket, text); }),
              "NAK Received: Reason: no: Msg: {\"reply\": \"nak\", \"reason\": \"no\", \"ack\": \"x\"}\n");
    EXPECT_EQ(result, 1);
    EXPECT_STREQ(text, "before");
}

TEST_F(TrufiosReplies, AWaitForATextEndsAfterFiveSecondsToo) {
    void* documentSocket = sentDocument();
    ReplyText text = "before";
    EXPECT_EQ(consoleOf([&] { result = waitReplyText(documentSocket, text); }), "5s Abort\n");
    EXPECT_EQ(result, 2);
    EXPECT_STREQ(text, "before");
}

TEST_F(TrufiosReplies, EveryAnswerIsReleased) {
    void* documentSocket = sentDocument();
    json_malloc_t plainMalloc = nullptr;
    json_free_t plainFree = nullptr;
    json_get_alloc_funcs(&plainMalloc, &plainFree);
    json_set_alloc_funcs(countedMalloc, countedFree);
    for (const std::string answer : {R"({"reply": "ack"})", R"({"reply": "ack", "ack": "ready"})",
                                     R"({"reply": "nak", "reason": "busy"})", R"({"reply": "nak"})",
                                     R"({"answer": "ack"})", R"(["reply"])", "xyz", ""}) {
        for (const bool withText : {false, true}) {
            PeerSockets::send(trufiosEnd, answer);
            ReplyText text = "";
            consoleOf([&] { withText ? waitReplyText(documentSocket, text) : waitReply(documentSocket); });
            EXPECT_EQ(liveBlocks, 0) << answer;
            PeerSockets::send(documentSocket, "document");
            PeerSockets::receive(trufiosEnd);
        }
    }
    json_set_alloc_funcs(plainMalloc, plainFree);
}
