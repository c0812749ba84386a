// Too few descriptors, from those that the program starts with to those of a second feed. Whatever cannot be
// had is named by a report, and nothing else has been said or done before than with enough of them.
#include "../support/isolation.h"
#include "../support/testedService.h"
#include "cases.h"

#include <gtest/gtest.h>
#include <regex>
#include <string>

namespace serviceTest {
namespace {

// The service has 3 descriptors of its start, 13 of the channels with Trufios and 13 of each feed: 5 of a
// context, and of each of its two sockets 1, 2 of the monitor and 1 of the connection.
constexpr int enoughDescriptors = 42;

struct Shortage {
    const char* name;
    int limit;
    const char* report; // on standard error; lines of source files are left out
    const char* lastLine;
    int occurrence = 1; // of that line
};

// Keeps the names of failing tests short.
void PrintTo(const Shortage& shortage, std::ostream* stream) {
    *stream << shortage.limit << " descriptors";
}

constexpr const char* reportOfZeroMq = "Too many open files (src/epoll.cpp:LINE)\n";

// ZeroMQ itself ends the process when there is an event descriptor for a context but none for its threads.
constexpr Shortage shortagesAtStart[] = {
    {"FirstSocket", 4,
     "mpegFE: main:102: initMPEGsideofMLC_MPEG_CTX: Assertion `vtx->mpegMstmlc != ((void *)0)' failed.\n",
     "MPEGFE ZMQ Version"},
    {"FirstThread", 5, reportOfZeroMq, "MPEGFE ZMQ Version"},
    {"DocumentSocket", 8,
     "mpegFE: main:102: initMPEGsideofMLC_MPEG_CTX: Assertion `vtx->mpegMstmlc != ((void *)0)' failed.\n",
     "MPEGFE ZMQ Version"},
    {"RequestSocket", 9,
     "mpegFE: main:109: initMPEGsideofMLC_MPEG_CTX: Assertion `vtx->mlcMstmpeg != ((void *)0)' failed.\n",
     "Connect mpegFE REQ to Trufios REP OK"},
};

constexpr Shortage shortagesOfFeeds[] = {
    {"FeedContext", 16,
     "mpegFE: tolk_mpeg_toGui:LINE: init_mpeg_zmq_sub_context: Assertion "
     "`ptx->context != ((void *)0)' failed.\n",
     "Init MPEG Feed ZMQ channel"},
    {"FeedThread", 18, reportOfZeroMq, "Init MPEG Feed ZMQ channel"},
    {"FeedSubscriber", 21,
     "mpegFE: tolk_mpeg_toGui:LINE: init_mpeg_zmq_sub_context: Assertion "
     "`ptx->subscriber_1 != ((void *)0)' failed.\n",
     "Init MPEG Feed ZMQ channel"},
    {"FeedInstructor", 22,
     "mpegFE: tolk_mpeg_toGui:LINE: init_mpeg_zmq_sub_context: Assertion "
     "`ptx->instructor_1 != ((void *)0)' failed.\n",
     "Connect SUB1 to MPEG PUB OK"},
    {"SecondFeedContext", 29,
     "mpegFE: tolk_mpeg_toGui:LINE: init_mpeg_zmq_sub_context: Assertion "
     "`ptx->context != ((void *)0)' failed.\n",
     "Init MPEG Feed ZMQ channel", 2},
    {"SecondFeedThread", 31, reportOfZeroMq, "Init MPEG Feed ZMQ channel", 2},
    {"SecondFeedSubscriber", 34,
     "mpegFE: tolk_mpeg_toGui:LINE: init_mpeg_zmq_sub_context: Assertion "
     "`ptx->subscriber_1 != ((void *)0)' failed.\n",
     "Init MPEG Feed ZMQ channel", 2},
    {"SecondFeedInstructor", 35,
     "mpegFE: tolk_mpeg_toGui:LINE: init_mpeg_zmq_sub_context: Assertion "
     "`ptx->instructor_1 != ((void *)0)' failed.\n",
     "Connect SUB1 to MPEG PUB OK", 2},
};

constexpr const char* playedCase = "on-many-times";

// The console up to and with the line that begins like this for this time.
std::string consoleUntil(const std::string& line, int occurrence) {
    const std::string whole = consoleLines(expectedTranscript(playedCase));
    std::size_t at = whole.find(line);
    for (int k = 1; k < occurrence; ++k) {
        at = whole.find(line, at + 1);
    }
    return whole.substr(0, whole.find('\n', at) + 1);
}

// A line of our sources or of a library's may move.
std::string withoutLines(const std::string& errors) {
    const std::string report = testSupport::withoutEmulatorsWord(errors);
    return std::regex_replace(report, std::regex("(tolk_mpeg_toGui|\\.cpp):[0-9]+"), "$1:LINE");
}

RunOptions withDescriptors(int limit) {
    RunOptions options;
    options.recorded = false;
    options.launcher = {"prlimit", "--nofile=" + std::to_string(limit), "--core=0"};
    return options;
}

class DescriptorShortage : public testing::TestWithParam<Shortage> {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
    }
};

class DescriptorShortageAtStart : public DescriptorShortage {};

TEST_P(DescriptorShortageAtStart, EndsTheProcessWithAReport) {
    ServiceRun run(withDescriptors(GetParam().limit));
    run.startTrufios();
    run.startService();
    EXPECT_EQ(run.waitForEnd(), "signal 6 (Aborted)");
    EXPECT_EQ(run.console(), consoleUntil(GetParam().lastLine, GetParam().occurrence));
    EXPECT_EQ(withoutLines(run.errors()), GetParam().report);
}

TEST_P(DescriptorShortage, EndsTheProcessWithAReport) {
    const Outcome outcome = playCase(playedCase, withDescriptors(GetParam().limit));
    EXPECT_EQ(outcome.transcript, consoleUntil(GetParam().lastLine, GetParam().occurrence));
    EXPECT_EQ(withoutLines(outcome.errors), GetParam().report);
    EXPECT_EQ(outcome.ending.actual, "signal 6 (Aborted)");
}

std::string shortageName(const testing::TestParamInfo<Shortage>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, DescriptorShortageAtStart, testing::ValuesIn(shortagesAtStart), shortageName);
INSTANTIATE_TEST_SUITE_P(Of, DescriptorShortage, testing::ValuesIn(shortagesOfFeeds), shortageName);

class Descriptors : public testing::TestWithParam<int> {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
    }
};

// However many requests there are.
TEST_P(Descriptors, AreEnough) {
    const Outcome outcome = playCase(playedCase, withDescriptors(GetParam()));
    EXPECT_EQ(outcome.trouble, "");
    EXPECT_EQ(outcome.transcript, consoleLines(expectedTranscript(playedCase)));
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.ending.actual, "signal 15 (Terminated)");
}

INSTANTIATE_TEST_SUITE_P(Number, Descriptors, testing::Values(enoughDescriptors, 44));

} // namespace
} // namespace serviceTest
