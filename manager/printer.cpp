#include "printer.h"

#include "documents/documentReader.h"
#include "terminal/documentTable.h"
#include "text/displayText.h"
#include "text/documentJson.h"

#include "wire/endpoints.h"

#include <iostream>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <variant>

namespace manager {
namespace {

// The bytes of a peer, which a terminal must not act on.
void printBytes(std::string_view bytes) {
    static const bool toTerminal = isatty(STDOUT_FILENO) == 1;
    std::cout << (toTerminal ? displayable(bytes) : std::string(bytes)) << std::endl;
}

// Whether standard output is a pipe or a terminal that nobody reads any more.
bool isUnread() {
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return poll(&output, 1, 0) == 1 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

} // namespace

void say(std::string_view line) {
    std::cerr << "mpegfe-manager: " << displayable(line) << std::endl;
}

void Printer::showReply(std::string_view reply) const {
    if (form == Output::asTheyCome) {
        printBytes(reply);
    }
}

void Printer::show(std::string_view text) {
    if (form == Output::asTheyCome) {
        printBytes(text);
        return;
    }
    const auto result = readDocument(text);
    if (const auto* const document = std::get_if<Document>(&result)) {
        std::cout << (form == Output::tables ? documentTable(*document) : documentJson(*document) + '\n')
                  << std::flush;
    } else {
        showUnreadable(text, describe(std::get<ReadError>(result)));
    }
}

// A script has asked for what answers its request, and for nothing else.
void Printer::showStray(std::string_view text) const {
    if (form == Output::json) {
        say("a document that answers an earlier request is left out");
        return;
    }
    printBytes(text);
    say("the document above answers an earlier request");
}

void Printer::showSharing() {
    say(companions::describe({"more than one service takes the requests",
                              std::string("one mpegFE at ") + wire::requestEndpoint, "two or more",
                              "a request reaches one of them only: stop all but one"}));
}

ExitStatus Printer::status() const {
    if (!std::cout && !isUnread()) {
        say("cannot write to standard output: what was printed is incomplete");
        return ExitStatus::refused;
    }
    return complete ? ExitStatus::success : ExitStatus::refused;
}

void Printer::showUnreadable(std::string_view text, std::string_view reason) {
    complete = false;
    if (form == Output::json) {
        say("no JSON for this document: " + std::string(reason) + "; it is left out");
        return;
    }
    printBytes(text);
    say("no table for this document: " + std::string(reason) + "; it is shown as it came");
}

} // namespace manager
