#include "commandLine.h"

#include "managerError.h"

#include "companions/commandLine.h"

namespace manager {
namespace {

constexpr const char* description =
    "Stands in for the media manager: sends mpegFE one request, prints its "
    "acknowledgement and the documents\n"
    "that answer it, and acknowledges each. Or serves a page that shows the stream.";

constexpr const char* footer = R"(
A program index is its place in the PAT, counted from 0; "pgmDetail --program NUMBER" finds it out.
"on" starts the parser feed and brings a document; "off" stops the feed, whichever data stream is named.

Exit status:
  0  acknowledged, and every document arrived; --watch was ended
  1  the answer was not an acknowledgement, --table or --json met a document that cannot be read, or the
     stream has no such program
  2  the command line is wrong
  3  nothing acknowledged the request in time
  4  acknowledged, but a document did not arrive in time
  5  the endpoints in )" WIRE_DIRECTORY R"( cannot be used
  128 + N  ended by signal N)";

constexpr int highestProgramNumber = 65535;

std::string defaultOf(std::chrono::seconds value) {
    return std::to_string(value.count());
}

} // namespace

std::optional<Options> parseCommandLine(int argumentCount, const char* const* arguments) {
    std::string dataStream;
    std::string value;
    std::optional<int> program;
    bool table = false;
    bool json = false;
    std::optional<int> documents;
    std::optional<int> watchPeriod;
    std::string webAddress = tunables::webAddress;
    int timeout = static_cast<int>(tunables::timeout.count());

    CLI::App app(description, "mpegfe-manager");
    app.footer("\nData streams:\n" + dataStreamHelp() + footer);
    auto* const streamOption =
        app.add_option("DATASTREAM", dataStream, "What to ask for, see below")->type_name("");
    auto* const valueOption =
        app.add_option("VALUE", value, "on, off or a program index, see below")->type_name("");
    auto* const programOption =
        app.add_option("--program", program,
                       "The program of pgmDetail by its number; its index is asked of the PAT")
            ->transform(companions::wholeNumber(1, highestProgramNumber))
            ->type_name("NUMBER")
            ->excludes(valueOption);
    auto* const tableFlag = app.add_flag("--table", table, "Print documents as tables for people");
    auto* const jsonFlag =
        app.add_flag("--json", json, "Print documents as JSON for scripts, one a line")->excludes(tableFlag);
    auto* const watchOption =
        app.add_option(
               "--watch", watchPeriod,
               "Repeat the request this often (1) until q or Ctrl-C: in place on a terminal, with what has "
               "changed marked, else one document after the other")
            ->expected(0, 1)
            ->default_str("1")
            ->transform(companions::wholeNumber(1, static_cast<int>(tunables::longestTimeout.count())))
            ->type_name("[SECONDS]");
    auto* const documentsOption =
        app.add_option("--documents", documents, "Documents to wait for (1, and 0 for \"off\")")
            ->transform(companions::wholeNumber(0, tunables::mostDocuments))
            ->type_name("N")
            ->excludes(watchOption);
    auto* const timeoutOption =
        app.add_option("--timeout", timeout,
                       "How long to wait for each message (" + defaultOf(tunables::timeout) + ')')
            ->transform(companions::wholeNumber(1, static_cast<int>(tunables::longestTimeout.count())))
            ->type_name("SECONDS")
            ->excludes(watchOption);
    auto* const webOption =
        app.add_option("--web", webAddress,
                       "Serve the page there until Ctrl-C (" + std::string(tunables::webAddress) + ')')
            ->expected(0, 1)
            ->type_name("[ADDRESS:PORT]");
    for (CLI::Option* const other : {streamOption, valueOption, programOption, tableFlag, jsonFlag,
                                     watchOption, documentsOption, timeoutOption}) {
        webOption->excludes(other);
    }
    app.callback([&] {
        if (webOption->count() > 0) {
            return;
        }
        if (streamOption->count() == 0) {
            throw CLI::RequiredError("DATASTREAM");
        }
        if (!program && valueOption->count() == 0) {
            throw CLI::RequiredError("VALUE");
        }
        if (program && dataStream != programDetail) {
            throw CLI::ValidationError("--program", "for " + std::string(programDetail) + " only");
        }
    });
    if (!companions::readCommandLine(app, argumentCount, arguments,
                                     "a data stream and its value, for example \"pidData on --table\"")) {
        return std::nullopt;
    }

    Options options;
    if (webOption->count() > 0) {
        options.webAddress = webAddress.empty() ? tunables::webAddress : webAddress;
        return options;
    }
    options.request = makeRequest(dataStream, program ? "0" : value);
    options.program = program;
    options.output = table ? Output::tables : json ? Output::json : Output::asTheyCome;
    options.documents = documents.value_or(bringsDocument(options.request) ? 1 : 0);
    options.timeout = std::chrono::seconds(timeout);
    if (watchPeriod) {
        if (!bringsDocument(options.request)) {
            throw ManagerError(ExitStatus::usage, {"nothing to watch", "a request that brings a document",
                                                   "\"off\"", "watch with \"on\""});
        }
        options.watchPeriod = std::chrono::seconds(*watchPeriod);
        options.output = json ? Output::json : Output::tables;
    }
    return options;
}

} // namespace manager
