#include "feed/feedChannels.h"
#include "feed/reception.h"
#include "support/console.h"
#include "support/lastWords.h"
#include "support/records.h"
#include "support/scriptedPeers.h"
#include "support/zmqFaults.h"

#include <cerrno>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>

using namespace zmqFaults;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::KilledBySignal;
using testing::StartsWith;

namespace {

const std::string openedLines = "Connect SUB1 to MPEG PUB OK\n"
                                "Connect MMR1 REQ Instructor to MPEGFE1 MPEG REP OK\n";
const std::string closedLine = "MLC: MPEG SUB and Instr Channels for Media MLC 1 Closed\n";

int typeOf(void* socket) {
    int type = -1;
    std::size_t size = sizeof type;
    __real_zmq_getsockopt(socket, ZMQ_TYPE, &type, &size);
    return type;
}

// The report of a broken precondition, with the expression's parentheses and stars escaped.
std::string reportOf(const std::string& operation, const std::string& expression) {
    return "unitTests: tolk_mpeg_toGui:[0-9]+: " + operation + ": Assertion `" + expression + "' failed\\.\n";
}

const std::string opening = "init_mpeg_zmq_sub_context";
const std::string closing = "mpeg_cleanup_zmq_sub_context";

} // namespace

class FeedChannels : public PeersTest {
  protected:
    FeedContext feed{};
};

class FeedChannelsDeathTest : public FeedChannels {};

TEST_F(FeedChannels, OpeningConnectsTheSubscriberAndTheInstructorAndSaysSo) {
    int result = -1;
    EXPECT_EQ(consoleOf([&] { result = init_mpeg_zmq_sub_context(&feed); }), openedLines);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(endpointsConnected(), ElementsAre(testing::AllOf(StartsWith("tcp://"), EndsWith(":5101")),
                                                  "ipc:///run/shm/zmq/uRO_MMR_MPEGFE-1"));
    EXPECT_EQ(typeOf(feed.subscriber_1), ZMQ_SUB);
    EXPECT_EQ(typeOf(feed.instructor_1), ZMQ_REQ);
    EXPECT_NE(feed.context, nullptr);
}

TEST_F(FeedChannels, OnlyTheFirstOfTheFourChannelsIsBuilt) {
    for (int i = 1; i < maxParserChannels; ++i) {
        feed.subscribers[i] = feed.instructors[i] = &feed;
    }
    consoleOf([&] { init_mpeg_zmq_sub_context(&feed); });
    EXPECT_THAT(feed.subscribers, ElementsAre(feed.subscriber_1, nullptr, nullptr, nullptr));
    EXPECT_THAT(feed.instructors, ElementsAre(feed.instructor_1, nullptr, nullptr, nullptr));
    EXPECT_EQ(feed.activeChannel, 0);
}

TEST_F(FeedChannels, OpeningSetsNoOptionAndSubscribesToNothing) {
    int subscriptions = 0;
    hooks.afterSubscription = [&](void*, bool, const std::string&) { ++subscriptions; };
    consoleOf([&] { init_mpeg_zmq_sub_context(&feed); });
    EXPECT_EQ(subscriptions, 0);
    EXPECT_THAT(optionsSet(), IsEmpty());
}

TEST_F(FeedChannels, WhatIsNotSubscribedIsNotReceived) {
    ScriptedParser parser;
    parser.publishNext({publishedNow(sdtTopic), publishedNow(catTopic)});
    EXPECT_EQ(consoleOf([&] {
                  init_mpeg_zmq_sub_context(&feed);
                  subscribeTopics(&feed, {catTopic});
                  receiveMpegTopic(&feed, &programCount);
              }),
              openedLines + "> subscribe MPEG-STRUCT-CAT\n"
                            "MPEGtopic received: MPEG-STRUCT-CAT\n"
                            "Published MPEG CAT Received: Topic MPEG-STRUCT-CAT size 60 msgl 60\n");
}

TEST_F(FeedChannels, AnOpenFeedKnowsThatItIsOpen) {
    EXPECT_FALSE(feedIsOpen(&feed));
    consoleOf([&] { init_mpeg_zmq_sub_context(&feed); });
    EXPECT_TRUE(feedIsOpen(&feed));
    consoleOf([&] { mpeg_cleanup_zmq_sub_context(&feed); });
    EXPECT_FALSE(feedIsOpen(&feed));
}

TEST_F(FeedChannels, ClosingLeavesNothingOpenAndSaysWhichChannel) {
    consoleOf([&] { init_mpeg_zmq_sub_context(&feed); });
    int result = -1;
    EXPECT_EQ(consoleOf([&] { result = mpeg_cleanup_zmq_sub_context(&feed); }), closedLine);
    EXPECT_EQ(result, static_cast<int>(closedLine.size()));
    EXPECT_EQ(openSockets(), 0);
    EXPECT_EQ(openContexts(), 0);
    EXPECT_EQ(feed.context, nullptr);
    EXPECT_EQ(feed.subscriber_1, nullptr);
    EXPECT_EQ(feed.instructor_1, nullptr);
    EXPECT_THAT(feed.subscribers, testing::Each(nullptr));
    EXPECT_THAT(feed.instructors, testing::Each(nullptr));
}

TEST_F(FeedChannels, ClosingDoesNotWaitForWhatIsUnsent) {
    consoleOf([&] {
        init_mpeg_zmq_sub_context(&feed); // no parser: the word below can never be delivered
        __real_zmq_send(feed.instructor_1, "\1\0", 2, 0);
        mpeg_cleanup_zmq_sub_context(&feed);
    });
    EXPECT_THAT(lingersAtClose(), ElementsAre(0, 0));
}

TEST_F(FeedChannels, AClosedFeedOpensAgain) {
    EXPECT_EQ(consoleOf([&] {
                  init_mpeg_zmq_sub_context(&feed);
                  mpeg_cleanup_zmq_sub_context(&feed);
                  init_mpeg_zmq_sub_context(&feed);
              }),
              openedLines + closedLine + openedLines);
    EXPECT_EQ(openSockets(), 2);
    EXPECT_EQ(openContexts(), 1);
}

TEST_F(FeedChannels, ASecondOpeningLeavesTheFirstFeedOpen) {
    consoleOf([&] { init_mpeg_zmq_sub_context(&feed); });
    const FeedContext first = feed;
    EXPECT_EQ(consoleOf([&] { init_mpeg_zmq_sub_context(&feed); }), openedLines);
    EXPECT_EQ(openSockets(), 4);
    EXPECT_EQ(openContexts(), 2);
    EXPECT_NE(feed.context, first.context);
    EXPECT_EQ(feed.superseded.context, first.context);
    EXPECT_EQ(feed.superseded.subscriber, first.subscriber_1);
    EXPECT_EQ(feed.superseded.instructor, first.instructor_1);
}

TEST_F(FeedChannels, HoweverOftenItIsOpenedOnlyTwoFeedsStayOpen) {
    std::string expected;
    for (int i = 0; i < 20; ++i) {
        expected += openedLines;
    }
    EXPECT_EQ(consoleOf([&] {
                  for (int i = 0; i < 20; ++i) {
                      init_mpeg_zmq_sub_context(&feed);
                  }
              }),
              expected);
    EXPECT_EQ(openSockets(), 4);
    EXPECT_EQ(openContexts(), 2);
    EXPECT_THAT(lingersAtClose(), testing::Each(0));
}

TEST_F(FeedChannels, ClosingClosesTheSupersededFeedTooWithoutAFurtherLine) {
    consoleOf([&] {
        init_mpeg_zmq_sub_context(&feed);
        init_mpeg_zmq_sub_context(&feed);
    });
    EXPECT_EQ(consoleOf([&] { mpeg_cleanup_zmq_sub_context(&feed); }), closedLine);
    EXPECT_EQ(openSockets(), 0);
    EXPECT_EQ(openContexts(), 0);
    EXPECT_EQ(feed.superseded.context, nullptr);
    EXPECT_EQ(feed.superseded.subscriber, nullptr);
    EXPECT_EQ(feed.superseded.instructor, nullptr);
}

TEST_F(FeedChannels, SubscriptionsAreTheTopicNamesInTheOrderGiven) {
    ScriptedParser parser;
    EXPECT_EQ(consoleOf([&] {
                  init_mpeg_zmq_sub_context(&feed);
                  subscribeTopics(&feed, {patTopic, sdtTopic, tsStatusTopic, pmtTopic, avPgmTopic, catTopic,
                                          nitTopic, eitTopic, tdtTopic});
                  unsubscribeTopic(&feed, tsStatusTopic);
              }),
              openedLines + "> subscribe MPEG-STRUCT-PAT\n"
                            "> subscribe MPEG-STRUCT-SDT\n"
                            "> subscribe MPEG-STRUCT-TS-STATUS\n"
                            "> subscribe MPEG-STRUCT-PMT\n"
                            "> subscribe MPEG-STRUCT-AVPGM\n"
                            "> subscribe MPEG-STRUCT-CAT\n"
                            "> subscribe MPEG-STRUCT-NIT\n"
                            "> subscribe MPEG-STRUCT-EIT\n"
                            "> subscribe MPEG-STRUCT-TDT\n"
                            "> unsubscribe MPEG-STRUCT-TS-STATUS\n");
}

TEST_F(FeedChannels, AnInstructionIsTwoBytesLittleEndianAndTakesItsReply) {
    PeerSockets board;
    void* instructions = board.bind(ZMQ_REP, "ipc:///run/shm/zmq/uRO_MMR_MPEGFE-1");
    std::vector<std::string> words;
    hooks.afterSend = [&](void*, const std::string&, const std::string&) {
        words.push_back(PeerSockets::receive(instructions));
        PeerSockets::send(instructions, "ok");
    };
    consoleOf([&] {
        init_mpeg_zmq_sub_context(&feed);
        for (const TopicBits word : {allTopicBits, patBit, TopicBits{0x107}}) {
            feed.instructionWord = word;
            sendInstruction(&feed);
        }
    });
    EXPECT_THAT(words, ElementsAre(std::string("\xFF\x01", 2), std::string("\x01\x00", 2),
                                   std::string("\x07\x01", 2)));
}

TEST_F(FeedChannels, AnInterruptedWaitForTheReplyIsTakenUpAgain) {
    ScriptedParser parser;
    EXPECT_EQ(consoleOf([&] {
                  init_mpeg_zmq_sub_context(&feed);
                  failCall(Call::receive, 1, EINTR);
                  feed.instructionWord = 0x00F;
                  sendInstruction(&feed);
                  feed.instructionWord = 0x1FF;
                  sendInstruction(&feed);
              }),
              openedLines + "> instruction of 2 bytes: 00f\n"
                            "> instruction of 2 bytes: 1ff\n");
}

TEST_F(FeedChannelsDeathTest, OpeningNothingIsReported) {
    EXPECT_EXIT(init_mpeg_zmq_sub_context(nullptr), KilledBySignal(SIGABRT),
                lastWordsMatch(reportOf(opening, R"(ptx != \(\(void \*\)0\))")));
}

TEST_F(FeedChannelsDeathTest, ClosingNothingIsReported) {
    EXPECT_EXIT(mpeg_cleanup_zmq_sub_context(nullptr), KilledBySignal(SIGABRT),
                lastWordsMatch(reportOf(closing, R"(ptx != \(\(void \*\)0\))")));
}

TEST_F(FeedChannelsDeathTest, ClosingAClosedFeedIsReported) {
    EXPECT_EXIT(mpeg_cleanup_zmq_sub_context(&feed), KilledBySignal(SIGABRT),
                lastWordsMatch(reportOf(closing, R"(ptx->context != \(\(void \*\)0\))")));
}

TEST_F(FeedChannelsDeathTest, AMissingContextIsReported) {
    EXPECT_EXIT(
        {
            failCall(Call::contextNew, 1, EMFILE);
            init_mpeg_zmq_sub_context(&feed);
        },
        KilledBySignal(SIGABRT), lastWordsMatch(reportOf(opening, R"(ptx->context != \(\(void \*\)0\))")));
}

TEST_F(FeedChannelsDeathTest, AMissingSubscriberIsReported) {
    EXPECT_EXIT(
        {
            failCall(Call::socketNew, 1, EMFILE);
            init_mpeg_zmq_sub_context(&feed);
        },
        KilledBySignal(SIGABRT),
        lastWordsMatch(reportOf(opening, R"(ptx->subscriber_1 != \(\(void \*\)0\))")));
}

TEST_F(FeedChannelsDeathTest, AMissingInstructorIsReported) {
    EXPECT_EXIT(
        {
            joinConsoleAndErrors();
            failCall(Call::socketNew, 2, EMFILE);
            init_mpeg_zmq_sub_context(&feed);
        },
        KilledBySignal(SIGABRT),
        lastWordsMatch("Connect SUB1 to MPEG PUB OK\n" +
                       reportOf(opening, R"(ptx->instructor_1 != \(\(void \*\)0\))")));
}

TEST_F(FeedChannelsDeathTest, ASubscriberThatCannotConnectIsReportedWithItsReason) {
    EXPECT_EXIT(
        {
            joinConsoleAndErrors();
            failCall(Call::connect, 1, EINVAL);
            init_mpeg_zmq_sub_context(&feed);
        },
        KilledBySignal(SIGABRT),
        lastWordsMatch("MPEG SUB1 failed -1 Invalid argument\n" + reportOf(opening, "rc == 0")));
}

TEST_F(FeedChannelsDeathTest, AnInstructorThatCannotConnectIsReportedWithItsReason) {
    EXPECT_EXIT(
        {
            joinConsoleAndErrors();
            failCall(Call::connect, 2, ENOENT);
            init_mpeg_zmq_sub_context(&feed);
        },
        KilledBySignal(SIGABRT),
        lastWordsMatch("Connect SUB1 to MPEG PUB OK\n"
                       "MPEG MLC1 REQ To ZYNQ1 failed -1 No such file or directory\n" +
                       reportOf(opening, "rc == 0")));
}
