#include "options.h"

#include "companions/trouble.h"
#include "tickPrinter.h"

#include <gtest/gtest.h>

namespace {

std::optional<board::Options> parsedOptions(const std::vector<std::string>& words) {
    std::vector<const char*> arguments{"mpegfe-board"};
    for (const std::string& word : words) {
        arguments.push_back(word.c_str());
    }
    return board::parseOptions(static_cast<int>(arguments.size()), arguments.data());
}

// What the words ask for, which is a task of this kind.
template <class Task>
Task task(const std::vector<std::string>& words) {
    return std::get<Task>(parsedOptions(words).value());
}

std::string problem(const std::vector<std::string>& words) {
    try {
        parsedOptions(words);
        return "none";
    } catch (const companions::Failure& error) {
        EXPECT_EQ(error.exitStatus(), 2);
        return error.what();
    }
}

TEST(Options, PlaysASourceInRealTimeForEver) {
    const auto options = task<board::PlayOptions>({"file.ts"});
    EXPECT_EQ(options.source, "file.ts");
    EXPECT_FALSE(options.once || options.fast || options.deterministic || options.newStreamOnLoop);
    EXPECT_EQ(options.interval.count(), 250);
    EXPECT_EQ(options.ratePeriod, std::chrono::seconds(1));
    EXPECT_FALSE(options.eventService);
    EXPECT_EQ(options.interface, "");
}

TEST(Options, TakesEveryOption) {
    const auto options =
        task<board::PlayOptions>({"--once", "--fast", "--interval", "100", "-", "--rate-period=0",
                                  "--service", "7", "--deterministic", "--new-stream-on-loop"});
    EXPECT_EQ(options.source, "-");
    EXPECT_TRUE(options.once && options.fast && options.deterministic && options.newStreamOnLoop);
    EXPECT_EQ(options.interval.count(), 100);
    EXPECT_EQ(options.ratePeriod, board::Ticks(0));
    EXPECT_EQ(options.eventService, 7);
    EXPECT_EQ(task<board::PlayOptions>({"udp://239.1.1.1:5000", "--interface", "lo"}).interface, "lo");
    const auto printing =
        task<board::PrintOptions>({"--print", "file.ts", "--rate-period", "2", "--service", "9"});
    EXPECT_EQ(printing.source, "file.ts");
    EXPECT_EQ(printing.ratePeriod, std::chrono::milliseconds(2));
    EXPECT_EQ(printing.eventService, 9);
    const auto recording = task<board::RecordOptions>(
        {"--record", "out", "--host", "board", "--instruct", "--duration", "5000"});
    EXPECT_EQ(recording.file, "out");
    EXPECT_EQ(recording.host, "board");
    EXPECT_TRUE(recording.instruct);
    EXPECT_EQ(recording.duration.count(), 5000);
    const auto untold = task<board::RecordOptions>({"--record", "out"});
    EXPECT_EQ(untold.host, "127.0.0.1");
    EXPECT_FALSE(untold.instruct);
    EXPECT_EQ(untold.duration, std::chrono::milliseconds::max());
    const auto replaying = task<board::ReplayOptions>(
        {"--replay", "in", "--once", "--fast", "--deterministic", "--interval", "5"});
    EXPECT_EQ(replaying.file, "in");
    EXPECT_TRUE(replaying.once && replaying.fast && replaying.deterministic);
    EXPECT_EQ(replaying.interval.count(), 5);
    const auto plainly = task<board::ReplayOptions>({"--replay", "in"});
    EXPECT_FALSE(plainly.once || plainly.fast || plainly.deterministic);
    EXPECT_EQ(plainly.interval.count(), 250);
    EXPECT_EQ(plainly.address, "127.0.0.1");
    EXPECT_EQ(task<board::ReplayOptions>({"--replay", "in", "--bind", "*"}).address, "*");
    EXPECT_EQ(task<board::PlayOptions>({"--bind", "::1", "file.ts"}).address, "::1");
    EXPECT_EQ(task<board::PlayOptions>({"file.ts"}).address, "127.0.0.1");
    for (const char* word : {"-h", "--help", "--version"}) {
        EXPECT_FALSE(parsedOptions({word})) << word;
    }
}

TEST(Options, TakesTheLastOfEach) {
    EXPECT_EQ(task<board::PlayOptions>({"--interval", "1", "--interval", "2", "file.ts"}).interval.count(),
              2);
    EXPECT_EQ(task<board::PlayOptions>({"--interval", "010", "file.ts"}).interval.count(), 10);
    EXPECT_EQ(task<board::RecordOptions>({"--record", "one", "--record", "two"}).file, "two");
}

// The line about words that the library does not take.
std::string wrong(const std::string& error) {
    return "the command line is wrong: expected a transport stream, or --record or --replay with a file, got "
           "an error: " +
           error + "; see mpegfe-board --help";
}

TEST(Options, SaysWhatItDoesNotUnderstand) {
    const std::string one = "Exactly 1 option from [SOURCE,--record,--replay] is required";
    EXPECT_EQ(problem({}), wrong(one));
    EXPECT_EQ(problem({"a", "b"}), wrong("The following argument was not expected: b"));
    EXPECT_EQ(problem({"--replay", "a", "b"}), wrong(one + " and 2 were given"));
    EXPECT_EQ(problem({"--slow", "a"}), wrong("The following argument was not expected: --slow"));
    EXPECT_EQ(problem({"--interval", "0", "a"}), wrong("--interval: Value 0 not in range 1 to 3600000"));
    EXPECT_EQ(problem({"--service", "7x", "a"}), wrong("--service: Value 7x not in range 1 to 65535"));
    EXPECT_EQ(problem({"--interval=", "7", "a"}), wrong("--interval has no value"));
    EXPECT_EQ(problem({"--once=true", "a"}), wrong("--once takes no value"));
    EXPECT_EQ(problem({"---once"}), wrong("SOURCE: ---once is no option; a file of that name follows --"));
    EXPECT_EQ(problem({"--record", ""}), wrong("--record: a name is missing"));
    EXPECT_EQ(problem({"--help", "a"}), wrong("SOURCE: --help stands alone"));
}

TEST(Options, RefusesOptionsThatWouldHaveNoEffect) {
    EXPECT_EQ(problem({"--print", "--replay", "in"}), wrong("--print requires SOURCE"));
    EXPECT_EQ(problem({"--record", "out", "--print"}), wrong("--print requires SOURCE"));
    EXPECT_EQ(problem({"--record", "out", "--replay", "in"}),
              wrong("Exactly 1 option from [SOURCE,--record,--replay] is required and 2 were given"));
    EXPECT_EQ(problem({"--replay", "in", "--host", "board"}), wrong("--host requires --record"));
    EXPECT_EQ(problem({"--instruct", "file.ts"}), wrong("--instruct requires --record"));
    EXPECT_EQ(problem({"--duration", "5000"}), wrong("--duration requires --record"));
    EXPECT_EQ(problem({"--replay", "in", "--service", "7"}), wrong("--service requires SOURCE"));
    EXPECT_EQ(problem({"--record", "out", "--once"}), wrong("--once excludes --record"));
    EXPECT_EQ(problem({"--print", "--interval", "9", "file.ts"}), wrong("--print excludes --interval"));
    EXPECT_EQ(problem({"--print", "--bind", "*", "file.ts"}), wrong("--print excludes --bind"));
    EXPECT_EQ(problem({"--record", "out", "--bind", "*"}), wrong("--bind excludes --record"));
    EXPECT_EQ(problem({"--bind", "", "file.ts"}), wrong("--bind: a name is missing"));
    EXPECT_EQ(problem({"--print", "--deterministic", "file.ts"}), wrong("--print excludes --deterministic"));
    EXPECT_EQ(problem({"--print", "--new-stream-on-loop", "file.ts"}),
              wrong("--print excludes --new-stream-on-loop"));
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

struct CommandLine {
    bool accepted;
    std::vector<std::string> words;
};

// What is accepted and what is refused, each with every kind of source and every task.
const std::vector<CommandLine> commandLines{
    // A source, and nothing but options beside it.
    {true, {"file.ts"}},
    {true, {"-"}},
    {true, {"udp://239.1.1.1:5000"}},
    {true, {"rtp://127.0.0.1:5002"}},
    {true, {"srt://0.0.0.0:5004?mode=listener"}},
    {true, {"http://127.0.0.1:1"}},
    {true, {"--", "file.ts"}},
    {true, {"--", "-file.ts"}},
    {true, {"--once", "--", "--once"}},
    {true, {"file.ts", "--once"}},
    {true, {"++"}},
    {true, {"[a,b]"}},
    {true, {"{}"}},
    {true, {"/once"}},
    {false, {}},
    {false, {"--"}},
    {false, {"--once"}},
    {false, {"a", "b"}},
    {false, {"-", "-"}},
    // Options that there are not, or not so.
    {false, {"--slow", "file.ts"}},
    {false, {"-x", "file.ts"}},
    {false, {"-once", "file.ts"}},
    {false, {"---once"}},
    {false, {"--!once"}},
    {false, {"-5"}},
    {false, {"-!"}},
    {false, {"--ONCE", "file.ts"}},
    {false, {"--new_stream_on_loop", "file.ts"}},
    {false, {"--once=1", "file.ts"}},
    {false, {"--once=true", "file.ts"}},
    {false, {"--fast=false", "file.ts"}},
    {false, {"--print=", "file.ts", "x"}},
    // Values.
    {true, {"--interval", "1", "file.ts"}},
    {true, {"--interval=3600000", "file.ts"}},
    {true, {"--interval", "010", "file.ts"}},
    {false, {"--interval", "0", "file.ts"}},
    {false, {"--interval", "3600001", "file.ts"}},
    {false, {"--interval", "-5", "file.ts"}},
    {false, {"--interval", "+5", "file.ts"}},
    {false, {"--interval", " 5", "file.ts"}},
    {false, {"--interval", "0x5", "file.ts"}},
    {false, {"--interval", "5.0", "file.ts"}},
    {false, {"--interval", "1e3", "file.ts"}},
    {false, {"--interval", "5ms", "file.ts"}},
    {false, {"--interval", "99999999999", "file.ts"}},
    {false, {"--interval", "", "file.ts"}},
    {false, {"--interval", "file.ts"}},
    {false, {"--interval=", "5", "file.ts"}},
    {false, {"file.ts", "--interval"}},
    {true, {"--rate-period", "0", "file.ts"}},
    {false, {"--rate-period", "-1", "file.ts"}},
    {false, {"--rate-period", "3600001", "file.ts"}},
    {true, {"--service", "1", "file.ts"}},
    {true, {"--service", "65535", "file.ts"}},
    {false, {"--service", "0", "file.ts"}},
    {false, {"--service", "65536", "file.ts"}},
    {false, {"--service", "7x", "file.ts"}},
    {true, {"--record", "out", "--duration", "1"}},
    {false, {"--record", "out", "--duration", "0"}},
    {true, {"--record", "--once"}},
    {true, {"--record", "out", "--host", "--instruct"}},
    {false, {"--record", ""}},
    {false, {"--replay", ""}},
    {false, {"--record"}},
    // The last one counts, but each is looked at.
    {true, {"--once", "--once", "file.ts"}},
    {true, {"--interval", "1", "--interval", "2", "file.ts"}},
    {false, {"--interval", "0", "--interval", "2", "file.ts"}},
    {true, {"--record", "one", "--record", "two"}},
    {true, {"--record", "one", "--instruct", "--instruct"}},
    // What is played.
    {true,
     {"--once", "--fast", "--new-stream-on-loop", "--interval", "1", "--rate-period", "1", "--service", "1",
      "--deterministic", "file.ts"}},
    {true,
     {"--interface", "lo", "--interval", "1", "--rate-period", "1", "--service", "1", "--deterministic",
      "udp://a:1"}},
    {true, {"--interface", "lo", "rtp://a:1"}},
    {true, {"--interface", "lo", "http://a:1"}},
    {false, {"--interface", "lo", "file.ts"}},
    {false, {"--interface", "lo", "-"}},
    {false, {"--interface", "lo", "srt://a:1"}},
    {true, {"--once", "-"}},
    {true, {"--fast", "http://a:1"}},
    {false, {"--once", "udp://a:1"}},
    {false, {"--once", "rtp://a:1"}},
    {false, {"--once", "srt://a:1"}},
    {false, {"--fast", "udp://a:1"}},
    {false, {"--fast", "srt://a:1"}},
    {false, {"--new-stream-on-loop", "udp://a:1"}},
    {false, {"--new-stream-on-loop", "srt://a:1"}},
    {false, {"--host", "a", "file.ts"}},
    {false, {"--instruct", "file.ts"}},
    {false, {"--duration", "1", "file.ts"}},
    {false, {"--duration", "1"}},
    // What is printed.
    {true, {"--print", "--once", "--fast", "--rate-period", "1", "--service", "1", "file.ts"}},
    {true, {"--print", "--interface", "lo", "--rate-period", "1", "--service", "1", "udp://a:1"}},
    {false, {"--print"}},
    {false, {"--print", "--interface", "lo", "file.ts"}},
    {false, {"--print", "--once", "srt://a:1"}},
    {false, {"--print", "--fast", "udp://a:1"}},
    {false, {"--print", "--new-stream-on-loop", "file.ts"}},
    {false, {"--print", "--interval", "1", "file.ts"}},
    {false, {"--print", "--deterministic", "file.ts"}},
    {false, {"--print", "--host", "a", "file.ts"}},
    {false, {"--print", "--instruct", "file.ts"}},
    {false, {"--print", "--duration", "1", "file.ts"}},
    // What is told of errors.
    {true, {"--statistics", "out", "file.ts"}},
    {true, {"--statistics", "-", "udp://a:1"}},
    {true, {"--fail-on", "errors", "--print", "file.ts"}},
    {true, {"--fail-on", "priority-1", "srt://a:1"}},
    {false, {"--fail-on", "priority-2", "file.ts"}},
    {false, {"--fail-on", "", "file.ts"}},
    {false, {"--fail-on"}},
    {false, {"--statistics", "", "file.ts"}},
    {false, {"--statistics", "out"}},
    {false, {"--statistics", "out", "--print", "file.ts"}},
    {false, {"--statistics", "out", "--record", "in"}},
    {false, {"--statistics", "out", "--replay", "in"}},
    {false, {"--fail-on", "errors", "--record", "out"}},
    {false, {"--fail-on", "errors", "--replay", "in"}},
    // What is recorded.
    {true, {"--record", "out"}},
    {true, {"--record", "out", "--host", "a", "--instruct", "--duration", "1"}},
    {false, {"--record", "out", "file.ts"}},
    {false, {"--record", "out", "--replay", "in"}},
    {false, {"--record", "out", "--print"}},
    {false, {"--record", "out", "--once"}},
    {false, {"--record", "out", "--fast"}},
    {false, {"--record", "out", "--new-stream-on-loop"}},
    {false, {"--record", "out", "--interface", "lo"}},
    {false, {"--record", "out", "--interval", "1"}},
    {false, {"--record", "out", "--rate-period", "1"}},
    {false, {"--record", "out", "--service", "1"}},
    {false, {"--record", "out", "--deterministic"}},
    // What is replayed.
    {true, {"--replay", "in"}},
    {true, {"--replay", "in", "--once", "--fast", "--interval", "1", "--deterministic"}},
    {false, {"--replay", "in", "file.ts"}},
    {false, {"--replay", "in", "--print"}},
    {false, {"--replay", "in", "--new-stream-on-loop"}},
    {false, {"--replay", "in", "--interface", "lo"}},
    {false, {"--replay", "in", "--rate-period", "1"}},
    {false, {"--replay", "in", "--service", "1"}},
    {false, {"--replay", "in", "--host", "a"}},
    {false, {"--replay", "in", "--instruct"}},
    {false, {"--replay", "in", "--duration", "1"}},
    // Help, whatever else is asked for, as long as it is understood.
    {true, {"--help"}},
    {true, {"--help", "--record", "out", "--print"}},
    {true, {"--once", "--help"}},
    {false, {"--help", "file.ts"}},
    {false, {"--help", "--slow"}},
    {false, {"--help", "--interval", "0"}},
    {false, {"--help=1"}},
    {true, {"-h"}},
    {true, {"--version"}},
    {false, {"--version", "--slow"}},
    {false, {"-v"}},
    {false, {"--fas", "file.ts"}},
};

TEST(Options, AreAcceptedOrRefused) {
    for (const CommandLine& line : commandLines) {
        std::string words;
        for (const std::string& word : line.words) {
            words += " \"" + word + '"';
        }
        EXPECT_EQ(problem(line.words) == "none", line.accepted) << "mpegfe-board" << words;
    }
}

} // namespace
