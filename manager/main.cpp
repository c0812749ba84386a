// mpegfe-manager: the other end of both of the service's channels, as a command.

#include "commandLine.h"
#include "documentTable.h"
#include "exchange.h"
#include "managerError.h"
#include "programIndex.h"

#include "companions/stopSignals.h"

#include <exception>
#include <iostream>

namespace {

using namespace manager;

void say(std::string_view line) {
    std::cerr << "mpegfe-manager: " << line << std::endl;
}

// Prints documents as they came, or as tables; what has no table form is shown as it came, and remembered.
class Printer {
  public:
    explicit Printer(bool asTables) : tables(asTables) {}

    void showReply(std::string_view reply) const {
        if (!tables) {
            std::cout << reply << std::endl;
        }
    }

    void show(std::string_view document) {
        if (!tables) {
            std::cout << document << std::endl;
            return;
        }
        const DocumentTable result = makeDocumentTable(document);
        if (result.problem.empty()) {
            std::cout << result.table << std::flush;
            return;
        }
        std::cout << document << std::endl;
        say("no table for this document: " + result.problem + "; it is shown as it came");
        complete = false;
    }

    static void showStray(std::string_view document) {
        std::cout << document << std::endl;
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
    bool tables;
    bool complete = true;
};

// Finds out the program's index in the PAT, without showing how.
Request requestByNumber(Options options, Endpoints& endpoints) {
    std::string pat;
    options.request = makeRequest("PAT", "on");
    options.documents = 1;
    runExchange(endpoints, options,
                {[](std::string_view) {}, [&](std::string_view document) { pat = document; },
                 Printer::showStray, Printer::showSharing});
    return makeRequest(programDetail, std::to_string(programIndex(pat, *options.program)));
}

ExitStatus run(Options options) {
    companions::stopOnSignals();
    Endpoints endpoints;
    if (options.program) {
        options.request = requestByNumber(options, endpoints);
    }
    Printer printer(options.table);
    runExchange(endpoints, options,
                {[&](std::string_view reply) { printer.showReply(reply); },
                 [&](std::string_view document) { printer.show(document); }, Printer::showStray,
                 Printer::showSharing});
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
