// mpegfe-manager: the other end of both of the service's channels, as a command.

#include "commandLine.h"
#include "documents/documentReader.h"
#include "documents/programIndex.h"
#include "managerError.h"
#include "oneRequest.h"
#include "servePage.h"
#include "terminal/documentTable.h"
#include "text/displayText.h"
#include "text/documentJson.h"

#include "companions/stopSignals.h"

#include <exception>
#include <iostream>
#include <unistd.h>
#include <variant>

namespace {

using namespace manager;

void say(std::string_view line) {
    std::cerr << "mpegfe-manager: " << displayable(line) << std::endl;
}

// The bytes of a peer, which a terminal must not act on.
void printBytes(std::string_view bytes) {
    static const bool toTerminal = isatty(STDOUT_FILENO) == 1;
    std::cout << (toTerminal ? displayable(bytes) : std::string(bytes)) << std::endl;
}

// Prints documents as they came, as tables or as JSON; what cannot be read is remembered.
class Printer {
  public:
    explicit Printer(Output output) : form(output) {}

    void showReply(std::string_view reply) const {
        if (form == Output::asTheyCome) {
            printBytes(reply);
        }
    }

    void show(std::string_view text) {
        if (form == Output::asTheyCome) {
            printBytes(text);
            return;
        }
        const auto result = readDocument(text);
        if (const auto* const document = std::get_if<Document>(&result)) {
            std::cout << (form == Output::tables ? documentTable(*document) : documentJson(*document) + '\n')
                      << std::flush;
        } else {
            showUnreadable(text, std::get<ReadError>(result));
        }
    }

    // A script has asked for what answers its request, and for nothing else.
    void showStray(std::string_view text) const {
        if (form == Output::json) {
            say("a document that answers an earlier request is left out");
            return;
        }
        printBytes(text);
        say("the document above answers an earlier request");
    }

    static void showSharing() {
        say(companions::describe({"more than one service takes the requests",
                                  std::string("one mpegFE at ") + wire::requestEndpoint, "two or more",
                                  "a request reaches one of them only: stop all but one"}));
    }

    ExitStatus status() const {
        if (!std::cout) {
            say("cannot write to standard output: what was printed is incomplete");
            return ExitStatus::refused;
        }
        return complete ? ExitStatus::success : ExitStatus::refused;
    }

  private:
    void showUnreadable(std::string_view text, const ReadError& error) {
        complete = false;
        if (form == Output::json) {
            say("no JSON for this document: " + describe(error) + "; it is left out");
            return;
        }
        printBytes(text);
        say("no table for this document: " + describe(error) + "; it is shown as it came");
    }

    Output form;
    bool complete = true;
};

// Finds out the program's index in the PAT, without showing how.
Request requestByNumber(Options options, Endpoints& endpoints, const Printer& printer) {
    std::string pat;
    options.request = makeRequest("PAT", "on");
    options.documents = 1;
    runRequest(endpoints, options,
               {.replied = [](std::string_view) {},
                .refused = {},
                .answered = [&](const Request&, std::string_view document) { pat = document; },
                .strayed = [&](std::string_view document) { printer.showStray(document); },
                .shared = Printer::showSharing});
    return makeRequest(programDetail, std::to_string(programIndex(pat, *options.program)));
}

ExitStatus run(Options options) {
    companions::stopOnSignals();
    Endpoints endpoints;
    if (options.webAddress) {
        servePage(endpoints, *options.webAddress, say, Printer::showSharing);
        return ExitStatus::success;
    }
    Printer printer(options.output);
    if (options.program) {
        options.request = requestByNumber(options, endpoints, printer);
    }
    runRequest(endpoints, options,
               {.replied = [&](std::string_view reply) { printer.showReply(reply); },
                .refused = {},
                .answered = [&](const Request&, std::string_view document) { printer.show(document); },
                .strayed = [&](std::string_view document) { printer.showStray(document); },
                .shared = Printer::showSharing});
    return printer.status();
}

} // namespace

int main(int argumentCount, char** arguments) {
    ExitStatus status = ExitStatus::success;
    try {
        if (const auto options = parseCommandLine(argumentCount, arguments)) {
            status = run(*options);
        }
    } catch (const companions::Failure& failure) {
        say(failure.what());
        return failure.exitStatus();
    } catch (const std::exception& error) {
        say(std::string("unexpected: ") + error.what());
        status = ExitStatus::noEndpoints;
    }
    return static_cast<int>(status);
}
