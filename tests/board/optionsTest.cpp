#include "options.h"

#include "boardError.h"

#include <gtest/gtest.h>

namespace {

board::Options parsed(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    return board::parseOptions(arguments);
}

std::string problem(const std::vector<std::string>& words) {
    try {
        parsed(words);
        return "none";
    } catch (const board::BoardError& error) {
        return error.what();
    }
}

TEST(Options, PlaysASourceInRealTimeForEver) {
    const board::Options options = parsed({"file.ts"});
    EXPECT_EQ(options.source, "file.ts");
    EXPECT_FALSE(options.once || options.fast || options.print || options.deterministic ||
                 options.newStreamOnLoop);
    EXPECT_EQ(options.interval.count(), 250);
    EXPECT_EQ(options.ratePeriod, board::ticksPerSecond);
}

TEST(Options, TakesEveryOption) {
    const board::Options options = parsed({"--once", "--fast", "--interval", "100", "-", "--rate-period=0",
                                           "--service", "7", "--deterministic", "--new-stream-on-loop"});
    EXPECT_EQ(options.source, "-");
    EXPECT_TRUE(options.once && options.fast && options.deterministic && options.newStreamOnLoop);
    EXPECT_EQ(options.interval.count(), 100);
    EXPECT_EQ(options.ratePeriod, 0);
    EXPECT_EQ(options.eventService, 7);
    EXPECT_EQ(parsed({"udp://239.1.1.1:5000", "--interface", "lo"}).interface, "lo");
    const board::Options recording =
        parsed({"--record", "out", "--host", "board", "--instruct", "--duration", "5000"});
    EXPECT_EQ(recording.record, "out");
    EXPECT_EQ(recording.host, "board");
    EXPECT_TRUE(recording.instruct);
    EXPECT_EQ(recording.duration.count(), 5000);
    EXPECT_EQ(parsed({"--replay", "in"}).replay, "in");
    EXPECT_TRUE(parsed({"--help"}).help);
    const board::Options printing = parsed({"--print", "file.ts"});
    EXPECT_TRUE(printing.print && printing.once && printing.fast);
}

TEST(Options, SaysWhatItDoesNotUnderstand) {
    EXPECT_EQ(problem({}), "cannot read the command line: expected one transport stream, got 0 names; see "
                           "mpegfe-board --help");
    EXPECT_EQ(problem({"a", "b"}),
              "cannot read the command line: expected one transport stream, got 2 names; see "
              "mpegfe-board --help");
    EXPECT_EQ(problem({"--replay", "a", "b"}),
              "cannot read the command line: expected nothing but options, got 1 "
              "names; see mpegfe-board --help");
    EXPECT_EQ(problem({"--slow", "a"}),
              "cannot read the command line: expected an option of mpegfe-board with its "
              "value, got \"--slow\"; see mpegfe-board --help");
    EXPECT_EQ(problem({"--interval", "0", "a"}),
              "cannot use the value of --interval: expected milliseconds from 1 to "
              "3600000, got \"0\"; see mpegfe-board --help");
    EXPECT_EQ(problem({"--service", "7x", "a"}),
              "cannot use the value of --service: expected a program number from "
              "1 to 65535, got \"7x\"; see mpegfe-board --help");
}

TEST(Options, RefusesOptionsThatWouldHaveNoEffect) {
    const auto refusal = [](const std::string& option, const std::string& expected, const std::string& got) {
        return "cannot use " + option + ": expected " + expected + ", got " + got +
               "; see mpegfe-board --help";
    };
    const std::string playing = "a transport stream to play";
    const std::string printing = "records to print";
    const std::string recording = "a board to record";
    const std::string replaying = "a recording to replay";
    EXPECT_EQ(problem({"--print", "--replay", "in"}), refusal("--print", printing, replaying));
    EXPECT_EQ(problem({"--record", "out", "--print"}), refusal("--print", printing, recording));
    EXPECT_EQ(problem({"--record", "out", "--replay", "in"}), refusal("--replay", replaying, recording));
    EXPECT_EQ(problem({"--replay", "in", "--host", "board"}), refusal("--host", recording, replaying));
    EXPECT_EQ(problem({"--instruct", "file.ts"}), refusal("--instruct", recording, playing));
    EXPECT_EQ(problem({"--duration", "5000"}), refusal("--duration", recording, playing));
    EXPECT_EQ(problem({"--replay", "in", "--service", "7"}),
              refusal("--service", playing + " or " + printing, replaying));
    EXPECT_EQ(problem({"--record", "out", "--once"}),
              refusal("--once", playing + " or " + printing + " or " + replaying, recording));
    EXPECT_EQ(problem({"--print", "--interval", "9", "file.ts"}),
              refusal("--interval", playing + " or " + replaying, printing));
    EXPECT_EQ(problem({"--print", "--deterministic", "file.ts"}),
              refusal("--deterministic", playing + " or " + replaying, printing));
    EXPECT_EQ(problem({"--print", "--new-stream-on-loop", "file.ts"}),
              refusal("--new-stream-on-loop", playing, printing));
    EXPECT_EQ(problem({"--replay", "in", "--once", "--fast", "--interval", "9", "--deterministic"}), "none");
    EXPECT_EQ(problem({"--print", "--rate-period", "0", "--service", "7", "file.ts"}), "none");
    EXPECT_EQ(problem({"--help", "--record", "out", "--print"}), "none");
}

TEST(Options, RefusesOptionsThatMeanNothingToTheSource) {
    const auto refusal = [](const std::string& option, const std::string& expected, const std::string& got) {
        return "cannot use " + option + ": expected " + expected + ", got " + got +
               "; see mpegfe-board --help";
    };
    const std::string file = "a file or standard input";
    const std::string datagrams = "a UDP or RTP address";
    const std::string srt = "an SRT address";
    for (const std::string name : {"file.ts", "-"}) {
        EXPECT_EQ(problem({"--interface", "lo", name}), refusal("--interface", datagrams, file));
        EXPECT_EQ(problem({"--print", "--interface", "lo", name}), refusal("--interface", datagrams, file));
        EXPECT_EQ(problem({"--once", "--fast", "--new-stream-on-loop", name}), "none");
    }
    EXPECT_EQ(problem({"--interface", "lo", "srt://a:1"}), refusal("--interface", datagrams, srt));
    for (const std::string option : {"--once", "--fast", "--new-stream-on-loop"}) {
        EXPECT_EQ(problem({option, "udp://a:1"}), refusal(option, file, datagrams));
        EXPECT_EQ(problem({"rtp://a:1", option}), refusal(option, file, datagrams));
        EXPECT_EQ(problem({option, "srt://a:1"}), refusal(option, file, srt));
        EXPECT_EQ(problem({option, "http://a:1"}), "none") << "opening it says what is wrong";
    }
    EXPECT_EQ(
        problem({"--interface", "lo", "--deterministic", "--interval", "9", "--service", "7", "udp://a:1"}),
        "none");
    EXPECT_EQ(problem({"--print", "--rate-period", "0", "--interface", "lo", "rtp://a:1"}), "none");
}

} // namespace
