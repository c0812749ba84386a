#include "options.h"

#include "boardError.h"

#include <charconv>
#include <getopt.h>
#include <string_view>
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

} // namespace

std::string usage() {
    return "usage: mpegfe-board [options] FILE\n"
           "\n"
           "Analyses a transport stream and publishes its PSI/SI, programs and rates as binary records\n"
           "on TCP port 5101, as instructed over ipc:///run/shm/zmq/uRO_MMR_MPEGFE-1. FILE is a\n"
           "transport stream file, played in real time and from the start again at its end, or - for\n"
           "standard input.\n"
           "\n"
           "  --once            stop at the end of the file\n"
           "  --fast            as fast as possible instead of in real time\n"
           "  --interval MS     publish each requested topic at least this often (250)\n"
           "  --rate-period MS  measure rates over this much stream time (1000); 0: the whole stream\n"
           "  --service NUMBER  list this program's events in the EIT record (the first that has any)\n"
           "  --print           read the file once, print the records as JSON and stop; no sockets\n"
           "  --help            this text\n";
}

Options parseOptions(std::span<char* const> arguments) {
    enum Code {
        onceOption = 1,
        fastOption,
        printOption,
        intervalOption,
        ratePeriodOption,
        serviceOption,
        helpOption
    };
    static constexpr option known[] = {
        {"once", no_argument, nullptr, onceOption},
        {"fast", no_argument, nullptr, fastOption},
        {"print", no_argument, nullptr, printOption},
        {"interval", required_argument, nullptr, intervalOption},
        {"rate-period", required_argument, nullptr, ratePeriodOption},
        {"service", required_argument, nullptr, serviceOption},
        {"help", no_argument, nullptr, helpOption},
        {nullptr, 0, nullptr, 0},
    };
    std::string programName = "mpegfe-board";
    std::vector<char*> argv{programName.data()};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    argv.push_back(nullptr);
    const int argc = static_cast<int>(argv.size()) - 1;

    Options options;
    optind = 0; // start over, also in a test that parses twice
    opterr = 0;
    for (int code; (code = getopt_long(argc, argv.data(), "", known, nullptr)) != -1;) {
        switch (code) {
        case onceOption:
            options.once = true;
            break;
        case fastOption:
            options.fast = true;
            break;
        case printOption:
            options.print = options.once = options.fast = true;
            break;
        case intervalOption:
            options.interval =
                std::chrono::milliseconds(parseNumber("--interval", "milliseconds", optarg, {1, hour}));
            break;
        case ratePeriodOption:
            options.ratePeriod =
                parseNumber("--rate-period", "milliseconds", optarg, {0, hour}) * ticksPerMillisecond;
            break;
        case serviceOption:
            options.eventService =
                static_cast<std::uint16_t>(parseNumber("--service", "a program number", optarg, {1, 65535}));
            break;
        case helpOption:
            options.help = true;
            return options;
        default:
            throw BoardError({"cannot read the command line", "an option of mpegfe-board",
                              "\"" + std::string(argv[static_cast<std::size_t>(optind) - 1]) + "\"",
                              "see mpegfe-board --help"});
        }
    }
    if (argc - optind != 1) {
        throw BoardError({"cannot read the command line", "one transport stream file",
                          std::to_string(argc - optind) + " names", "see mpegfe-board --help"});
    }
    options.source = argv[static_cast<std::size_t>(optind)];
    return options;
}

} // namespace board
