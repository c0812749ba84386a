#include "options.h"

#include "boardError.h"
#include "source/networkAddress.h"

#include "wire/endpoints.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <getopt.h>
#include <string_view>
#include <utility>
#include <vector>

namespace board {

namespace {

struct Range {
    int least;
    int most;
};

constexpr int hour = 3'600'000; // milliseconds

int parseNumber(std::string_view option, std::string_view what, std::string_view text, Range range) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < range.least ||
        value > range.most) {
        throw BoardError(
            {"cannot use the value of " + std::string(option),
             std::string(what) + " from " + std::to_string(range.least) + " to " + std::to_string(range.most),
             "\"" + std::string(text) + "\"", "see mpegfe-board --help"});
    }
    return value;
}

std::chrono::milliseconds parseMilliseconds(std::string_view option, std::string_view text) {
    return std::chrono::milliseconds(parseNumber(option, "milliseconds", text, {1, hour}));
}

// What the board is started for, and with which kind of source, as bits.
using Uses = unsigned;
constexpr Uses playing = 1;
constexpr Uses printing = 2;
constexpr Uses recording = 4;
constexpr Uses replaying = 8;
constexpr Uses fromFile = 16;
constexpr Uses fromDatagrams = 32;
constexpr Uses fromSrt = 64;
constexpr Uses fromAnywhere = fromFile | fromDatagrams | fromSrt;
constexpr Uses forAnything = playing | printing | recording | replaying;

constexpr std::array<std::pair<Uses, const char*>, 7> usesInWords{{
    {playing, "a transport stream to play"},
    {printing, "records to print"},
    {recording, "a board to record"},
    {replaying, "a recording to replay"},
    {fromFile, "a file or standard input"},
    {fromDatagrams, "a UDP or RTP address"},
    {fromSrt, "an SRT address"},
}};

constexpr std::array<std::pair<std::string_view, Uses>, 3> schemes{{
    {"udp://", fromDatagrams},
    {"rtp://", fromDatagrams},
    {"srt://", fromSrt},
}};

std::string inWords(Uses uses) {
    std::string words;
    for (const auto& [use, text] : usesInWords) {
        if ((uses & use) != 0) {
            words += words.empty() ? "" : " or ";
            words += text;
        }
    }
    return words;
}

Uses useOf(const Options& options) {
    if (!options.record.empty()) {
        return recording;
    }
    if (!options.replay.empty()) {
        return replaying;
    }
    return options.print ? printing : playing;
}

// An address of no known scheme may be anything, until it cannot be opened.
Uses sourceOf(const Options& options) {
    const auto scheme =
        std::ranges::find_if(schemes, [&](const auto& one) { return options.source.starts_with(one.first); });
    if (scheme != schemes.end()) {
        return scheme->second;
    }
    return isNetworkAddress(options.source) ? fromAnywhere : fromFile;
}

struct KnownOption {
    const char* name;
    int argument;
    Uses uses; // with which it means something
    void (*take)(Options& options, const char* value);
};

constexpr std::array<KnownOption, 15> knownOptions{{
    {"once", no_argument, playing | printing | replaying | fromFile,
     [](Options& options, const char*) { options.once = true; }},
    {"fast", no_argument, playing | printing | replaying | fromFile,
     [](Options& options, const char*) { options.fast = true; }},
    {"new-stream-on-loop", no_argument, playing | fromFile,
     [](Options& options, const char*) { options.newStreamOnLoop = true; }},
    {"interface", required_argument, playing | printing | fromDatagrams,
     [](Options& options, const char* value) { options.interface = value; }},
    {"interval", required_argument, playing | replaying | fromAnywhere,
     [](Options& options, const char* value) { options.interval = parseMilliseconds("--interval", value); }},
    {"rate-period", required_argument, playing | printing | fromAnywhere,
     [](Options& options, const char* value) {
         options.ratePeriod =
             parseNumber("--rate-period", "milliseconds", value, {0, hour}) * ticksPerMillisecond;
     }},
    {"service", required_argument, playing | printing | fromAnywhere,
     [](Options& options, const char* value) {
         options.eventService =
             static_cast<std::uint16_t>(parseNumber("--service", "a program number", value, {1, 65535}));
     }},
    {"deterministic", no_argument, playing | replaying | fromAnywhere,
     [](Options& options, const char*) { options.deterministic = true; }},
    {"print", no_argument, printing | fromAnywhere,
     [](Options& options, const char*) { options.print = options.once = options.fast = true; }},
    {"record", required_argument, recording,
     [](Options& options, const char* value) { options.record = value; }},
    {"host", required_argument, recording, [](Options& options, const char* value) { options.host = value; }},
    {"instruct", no_argument, recording, [](Options& options, const char*) { options.instruct = true; }},
    {"duration", required_argument, recording,
     [](Options& options, const char* value) { options.duration = parseMilliseconds("--duration", value); }},
    {"replay", required_argument, replaying,
     [](Options& options, const char* value) { options.replay = value; }},
    {"help", no_argument, forAnything | fromAnywhere,
     [](Options& options, const char*) { options.help = true; }},
}};

std::array<option, knownOptions.size() + 1> forGetopt() {
    std::array<option, knownOptions.size() + 1> all{};
    std::ranges::transform(knownOptions, all.begin(), [](const KnownOption& one) {
        return option{one.name, one.argument, nullptr, 0};
    });
    return all;
}

// An option without an effect is a misunderstanding, and better told than kept. use is what holds of the uses
// in question.
void requireUse(const std::vector<const KnownOption*>& given, Uses use, Uses question) {
    for (const KnownOption* option : given) {
        if ((option->uses & use) == 0) {
            throw BoardError({std::string("cannot use --") + option->name, inWords(option->uses & question),
                              inWords(use), "see mpegfe-board --help"});
        }
    }
}

// What stands on the command line beside options.
void takeSource(std::span<char* const> names, bool needed, Options& options) {
    if (names.size() != (needed ? 1 : 0)) {
        throw BoardError({"cannot read the command line",
                          needed ? "one transport stream" : "nothing but options",
                          std::to_string(names.size()) + " names", "see mpegfe-board --help"});
    }
    if (needed) {
        options.source = names.front();
    }
}

} // namespace

std::string usage() {
    return "usage: mpegfe-board [options] SOURCE\n"
           "       mpegfe-board --record FILE [--host HOST] [--instruct] [--duration MS]\n"
           "       mpegfe-board --replay FILE [options]\n"
           "\n"
           "Analyses a transport stream and publishes its PSI/SI, programs and rates as binary records\n"
           "on TCP port " WIRE_PARSER_PORT ", as instructed over ipc://" WIRE_DIRECTORY
           "/uRO_MMR_MPEGFE-1. SOURCE is a\n"
           "transport stream: a file, which is played in real time and from the start again at its end;\n"
           "- for standard input; udp://ADDRESS:PORT, rtp://ADDRESS:PORT (multicast too) or\n"
           "srt://ADDRESS:PORT.\n"
           "\n"
           "  --once                stop at the end of the file\n"
           "  --fast                as fast as possible instead of in real time\n"
           "  --new-stream-on-loop  a file that starts over is announced as a new stream\n"
           "  --interface NAME      join multicast groups on this network interface\n"
           "  --interval MS         publish each requested topic at least this often (250)\n"
           "  --rate-period MS      measure rates over this much stream time (1000); 0: the whole stream\n"
           "  --service NUMBER      list this program's events in the EIT record (the first that has any)\n"
           "  --deterministic       wait for a client, and time everything by the stream's clock alone\n"
           "  --print               read the file once, print the records as JSON and stop; no sockets\n"
           "  --record FILE         write what a board publishes to FILE, until a signal\n"
           "  --host HOST           the board to record (127.0.0.1)\n"
           "  --instruct            ask that board for every topic; it must be on this machine\n"
           "  --duration MS         record this long\n"
           "  --replay FILE         publish a recording again with its timing\n"
           "  --help                this text\n";
}

Options parseOptions(std::span<char* const> arguments) {
    std::string programName = "mpegfe-board";
    std::vector<char*> argv{programName.data()};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    argv.push_back(nullptr);
    const int argc = static_cast<int>(argv.size()) - 1;
    const auto longOptions = forGetopt();

    Options options;
    optind = 0; // start over, also in a test that parses twice
    opterr = 0;
    int index = 0;
    std::vector<const KnownOption*> given;
    for (int code = 0; (code = getopt_long(argc, argv.data(), "", longOptions.data(), &index)) != -1;) {
        if (code != 0) {
            throw BoardError({"cannot read the command line", "an option of mpegfe-board with its value",
                              "\"" + std::string(argv[static_cast<std::size_t>(optind) - 1]) + "\"",
                              "see mpegfe-board --help"});
        }
        given.push_back(&knownOptions[static_cast<std::size_t>(index)]);
        given.back()->take(options, optarg);
    }
    const auto names =
        std::span(argv).subspan(static_cast<std::size_t>(optind), static_cast<std::size_t>(argc - optind));
    if (options.help) {
        takeSource(names, false, options);
        return options;
    }
    const Uses use = useOf(options);
    const bool needsSource = (use & (playing | printing)) != 0;
    requireUse(given, use, forAnything);
    takeSource(names, needsSource, options);
    if (needsSource) {
        requireUse(given, sourceOf(options), fromAnywhere);
    }
    return options;
}

} // namespace board
