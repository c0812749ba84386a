// mpegfe-manager: the other end of both of the service's channels, as a command.

#include "commandLine.h"
#include "documents/programIndex.h"
#include "managerError.h"
#include "oneRequest.h"
#include "printer.h"
#include "servePage.h"
#include "watch.h"

#include "companions/console.h"
#include "companions/standardDescriptors.h"
#include "companions/stopSignals.h"

#include <exception>

namespace {

using namespace manager;

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
    if (options.watchPeriod) {
        watch(endpoints, options, printer);
        return printer.status();
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
    companions::openStandardDescriptors();
    companions::outliveReaders();
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
