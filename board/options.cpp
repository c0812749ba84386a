#include "options.h"

#include "boardError.h"
#include "source/networkAddress.h"

#include "companions/commandLine.h"
#include "wire/endpoints.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <vector>

namespace board {

namespace {

using std::chrono::milliseconds;

constexpr int hour = 3'600'000; // milliseconds
constexpr int mostPrograms = 65'535;

std::string description() {
    return "Analyses a transport stream and publishes its PSI/SI, programs and rates as binary records\n"
           "on TCP port " +
           std::string(wire::parserPort) + ", as instructed over " + wire::instructionEndpoint +
           ".\nInstead, it prints the records, records what a board publishes, or replays a recording.";
}

constexpr const char* footer =
    "\nSOURCE is a transport stream: a file, which is played in real time and from the start again at its\n"
    "end; - for standard input; udp://ADDRESS:PORT, rtp://ADDRESS:PORT (multicast too) or\n"
    "srt://ADDRESS:PORT.\n"
    "\n"
    "Exit status: 0 at the end and when a signal stops it, 1 when it cannot go on, 2 when the command line "
    "is\n"
    "wrong, 3 when the stream has errors that --fail-on names.";

// All that can be said on a command line.
struct Words {
    PlayOptions play;
    bool print = false;
    RecordOptions record;
    ReplayOptions replay;
};

// A way of naming a source, and the options that mean something to it alone.
struct SourceRule {
    const char* inWords = "";
    std::array<std::string_view, 2> schemes{};
    std::array<const char*, 3> options{};
};

constexpr std::array<SourceRule, 3> sourceRules{{
    {"a file or standard input", {}, {"--once", "--fast", "--new-stream-on-loop"}},
    {"a UDP or RTP address", {"udp://", "rtp://"}, {"--interface"}},
    {"an SRT address", {"srt://"}, {}},
}};

const SourceRule& fileRule = sourceRules.front();

// Null for an address of no known scheme: it may be anything, until it cannot be opened.
const SourceRule* ruleOf(const std::string& source) {
    if (!isNetworkAddress(source)) {
        return &fileRule;
    }
    const auto* const rule = std::ranges::find_if(sourceRules, [&](const SourceRule& one) {
        return std::ranges::any_of(one.schemes, [&](std::string_view scheme) {
            return !scheme.empty() && source.starts_with(scheme);
        });
    });
    return rule == sourceRules.end() ? nullptr : rule;
}

// An option without an effect is a misunderstanding, and better told than kept.
void requireEffect(const CLI::App& app, const std::string& source) {
    const SourceRule* const rule = ruleOf(source);
    for (const SourceRule& other : sourceRules) {
        for (const char* option : other.options) {
            if (rule != nullptr && rule != &other && option != nullptr && app.count(option) > 0) {
                throw BoardError({std::string("cannot use ") + option, other.inWords, rule->inWords,
                                  "see mpegfe-board --help"},
                                 companions::wrongUsage);
            }
        }
    }
}

CLI::Validator named() {
    return {[](const std::string& name) { return name.empty() ? "a name is missing" : std::string(); }, ""};
}

// A text that CLI11 takes for a name though it begins like an option, and a source beside --help.
CLI::Validator sourceName(const CLI::App& app, std::span<const char* const> arguments) {
    const bool anyName = std::ranges::find(arguments, std::string_view("--")) != arguments.end();
    return {[&app, anyName](const std::string& name) {
                if (!anyName && name.size() > 1 && name.front() == '-') {
                    return name + " is no option; a file of that name follows --";
                }
                return app.get_help_ptr()->count() > 0 ? "--help stands alone" : std::string();
            },
            ""};
}

CLI::Option* addNumber(CLI::App& app, const std::string& name, const std::string& help, int least, int most,
                       const std::function<void(int)>& take) {
    return app.add_option_function<int>(name, take, help)
        ->transform(companions::wholeNumber(least, most))
        ->take_last();
}

CLI::Option* addName(CLI::App& app, const std::string& name, std::string& text, const std::string& help) {
    return app.add_option(name, text, help)->take_last();
}

// The options by what they go with.
struct OptionGroups {
    CLI::Option* source = nullptr;
    CLI::Option* record = nullptr;
    CLI::Option* print = nullptr;
    std::vector<CLI::Option*> needSource{};
    std::vector<CLI::Option*> needRecord{};
    std::vector<CLI::Option*> excludeRecord{};
    std::vector<CLI::Option*> excludePrint{};
};

void addTasks(CLI::App& app, Words& words, OptionGroups& groups, std::span<const char* const> arguments) {
    CLI::App& tasks = *app.add_option_group("What to do");
    groups.source = tasks.add_option("SOURCE", words.play.source, "The transport stream to play or print")
                        ->type_name("")
                        ->check(sourceName(app, arguments));
    groups.record =
        addName(tasks, "--record", words.record.file, "Write what a board publishes to FILE, until a signal")
            ->check(named())
            ->type_name("FILE");
    addName(tasks, "--replay", words.replay.file, "Publish a recording again with its timing")
        ->check(named())
        ->type_name("FILE");
    tasks.require_option(1);
    groups.print = app.add_flag("--print", words.print,
                                "Read SOURCE once, print the records as JSON and stop; no sockets");
    groups.needSource.push_back(groups.print);
}

void addPlaying(CLI::App& app, PlayOptions& play, OptionGroups& groups) {
    auto* const once = app.add_flag("--once", play.once, "Stop at the end of the file");
    auto* const fast = app.add_flag("--fast", play.fast, "As fast as possible instead of in real time");
    auto* const newStream = app.add_flag("--new-stream-on-loop", play.newStreamOnLoop,
                                         "A file that starts over is announced as a new stream");
    auto* const interface =
        addName(app, "--interface", play.interface, "Join multicast groups on this network interface")
            ->type_name("NAME");
    auto* const interval =
        addNumber(app, "--interval", "Publish each requested topic at least this often (250)", 1, hour,
                  [&play](int value) { play.interval = milliseconds(value); })
            ->type_name("MS");
    groups.needSource.insert(groups.needSource.end(), {newStream, interface});
    groups.excludeRecord.insert(groups.excludeRecord.end(), {once, fast, interval});
    groups.excludePrint.insert(groups.excludePrint.end(), {newStream, interval});
}

void addMeasuring(CLI::App& app, PlayOptions& play, OptionGroups& groups) {
    auto* const ratePeriod = addNumber(app, "--rate-period",
                                       "Measure rates over this much stream time (1000); 0: the whole stream",
                                       0, hour, [&play](int value) { play.ratePeriod = milliseconds(value); })
                                 ->type_name("MS");
    auto* const service =
        addNumber(app, "--service", "List this program's events in the EIT record (the first that has any)",
                  1, mostPrograms,
                  [&play](int value) { play.eventService = static_cast<std::uint16_t>(value); })
            ->type_name("NUMBER");
    groups.needSource.insert(groups.needSource.end(), {ratePeriod, service});
}

void addResults(CLI::App& app, PlayOptions& play, OptionGroups& groups) {
    auto* const bind = addName(app, "--bind", play.address,
                               "Publish on this address or network interface (127.0.0.1); * on all")
                           ->check(named())
                           ->type_name("ADDRESS");
    auto* const statistics =
        addName(app, "--statistics", play.statistics,
                "Write rates and errors as JSON once a rate period; - is standard output")
            ->check(named())
            ->type_name("FILE");
    auto* const failOn =
        app.add_option_function<std::string>(
               "--fail-on",
               [&play](const std::string& what) {
                   play.failOn = what == "errors" ? FailOn::errors : FailOn::priority1;
               },
               "End with 3 when the stream has shown \"errors\", or \"priority-1\" ones by TR 101 290")
            ->check(CLI::IsMember({"errors", "priority-1"}).description(""))
            ->take_last()
            ->type_name("WHAT");
    auto* const deterministic =
        app.add_flag("--deterministic", play.deterministic,
                     "Wait for a client, and time everything by the stream's clock alone");
    groups.needSource.insert(groups.needSource.end(), {statistics, failOn});
    groups.excludeRecord.insert(groups.excludeRecord.end(), {bind, deterministic});
    groups.excludePrint.insert(groups.excludePrint.end(), {bind, deterministic, statistics});
}

void addRecording(CLI::App& app, RecordOptions& record, OptionGroups& groups) {
    auto* const host =
        addName(app, "--host", record.host, "The board to record (127.0.0.1)")->type_name("HOST");
    auto* const instruct = app.add_flag("--instruct", record.instruct,
                                        "Ask that board for every topic; it must be on this machine");
    auto* const duration = addNumber(app, "--duration", "Record this long", 1, hour, [&record](int value) {
                               record.duration = milliseconds(value);
                           })->type_name("MS");
    groups.needRecord = {host, instruct, duration};
}

void addOptions(CLI::App& app, Words& words, std::span<const char* const> arguments) {
    OptionGroups groups;
    addTasks(app, words, groups, arguments);
    addPlaying(app, words.play, groups);
    addMeasuring(app, words.play, groups);
    addResults(app, words.play, groups);
    addRecording(app, words.record, groups);
    for (CLI::Option* option : groups.needSource) {
        option->needs(groups.source);
    }
    for (CLI::Option* option : groups.excludeRecord) {
        option->excludes(groups.record);
    }
    for (CLI::Option* option : groups.excludePrint) {
        option->excludes(groups.print);
    }
    for (CLI::Option* option : groups.needRecord) {
        option->needs(groups.record);
    }
}

Options chosen(const Words& words) {
    if (!words.record.file.empty()) {
        return words.record;
    }
    if (!words.replay.file.empty()) {
        return ReplayOptions{words.replay.file,        words.play.once,     words.play.fast,
                             words.play.deterministic, words.play.interval, words.play.address};
    }
    if (words.print) {
        const StreamOptions& source = words.play;
        return PrintOptions{source};
    }
    return words.play;
}

} // namespace

std::optional<Options> parseOptions(int argumentCount, const char* const* arguments) {
    Words words;
    CLI::App app(description(), "mpegfe-board");
    app.footer(footer);
    addOptions(app, words, std::span(arguments, static_cast<std::size_t>(argumentCount)));
    if (!companions::readCommandLine(app, argumentCount, arguments,
                                     "a transport stream, or --record or --replay with a file")) {
        return std::nullopt;
    }
    if (words.record.file.empty() && words.replay.file.empty()) {
        requireEffect(app, words.play.source);
    }
    return chosen(words);
}

} // namespace board
