#include "watch.h"

#include "waiting.h"

#include "documents/documentReader.h"
#include "terminal/terminalKind.h"
#include "terminal/watchScreen.h"
#include "text/displayText.h"

#include "companions/stopSignals.h"

#include <array>
#include <chrono>
#include <ctime>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <unistd.h>
#include <variant>

namespace manager {
namespace {

using Clock = std::chrono::steady_clock;

// How often what is waited for is said anew.
constexpr std::chrono::seconds glance{1};

std::string clockTime() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, sizeof "HH:MM:SS"> text{};
    std::strftime(text.data(), text.size(), "%H:%M:%S", &local);
    return text.data();
}

// Empty while there is nothing to say.
const char* meaningOf(ServiceState state) {
    switch (state) {
    case ServiceState::absent:
        return "no service is connected";
    case ServiceState::unanswered:
        return "the service does not answer: it works on an earlier request";
    case ServiceState::waiting:
        return "waiting for the parser's records";
    case ServiceState::noStream:
        return "no records come: the parser board has no stream, or is away";
    case ServiceState::answering:
        break;
    }
    return "";
}

// The request, again and again.
class Repetition {
  public:
    Repetition(Endpoints& endpoints, const Options& watched,
               const std::function<void(std::string_view)>& takeDocument)
        : options(watched), exchange(endpoints.requests, endpoints.documents, endpoints.services,
                                     {.replied = [](std::string_view) {},
                                      .refused = [this](std::string_view reply) { refusal = reply; },
                                      .answered =
                                          [this, takeDocument](const Request&, std::string_view document) {
                                              refusal.clear();
                                              takeDocument(document);
                                          },
                                      .strayed = [](std::string_view) {},
                                      .shared = Printer::showSharing},
                                     Clock::now()) {}

    // Until something has come or happened, or it is time for something.
    void turn(int descriptor) {
        const Time now = Clock::now();
        if (exchange.idle() && now >= due) {
            exchange.take({options.request});
            due = now + *options.watchPeriod;
        }
        waitFor(exchange, std::min(exchange.idle() ? due : now + glance, now + glance), descriptor);
        exchange.step(Clock::now());
    }

    // What keeps the next document away; empty when nothing does.
    std::string trouble() const {
        const ServiceCondition condition = exchange.condition(Clock::now());
        const auto lasted = std::chrono::floor<std::chrono::seconds>(Clock::now() - condition.since);
        if (!refusal.empty()) {
            return "refused: " + refusal;
        }
        return lasted < glance ? "" : meaningOf(condition.state);
    }

    // Ends what the requests began, if the service takes that at once.
    void stopFeed() {
        if (!exchange.idle()) {
            return;
        }
        exchange.take({makeRequest("pidData", "off"), 0});
        const Time deadline = Clock::now() + tunables::farewell;
        while (!exchange.idle() && Clock::now() < deadline) {
            waitFor(exchange, deadline);
            exchange.step(Clock::now());
        }
    }

  private:
    const Options& options;
    std::string refusal;
    Time due{};
    Exchange exchange;
};

void watchInLines(Endpoints& endpoints, const Options& options, Printer& printer) {
    Repetition repetition(endpoints, options, [&](std::string_view document) { printer.show(document); });
    std::string said;
    while (!companions::stopRequested() && std::cout) {
        repetition.turn(-1);
        const std::string trouble = repetition.trouble();
        if (trouble != said && !trouble.empty()) {
            say(trouble);
        }
        said = trouble;
    }
    repetition.stopFeed();
}

void watchOnScreen(Endpoints& endpoints, const Options& options) {
    WatchedTable table;
    std::string state = "nothing has come yet";
    std::optional<WatchScreen> screen;
    try {
        screen.emplace();
    } catch (const std::runtime_error& error) {
        throw ManagerError(ExitStatus::usage, {"no live screen", "a terminal that the system knows",
                                               error.what(), "see TERM, or send the output to a pipe"});
    }
    Repetition repetition(endpoints, options, [&](std::string_view text) {
        if (screen->isPaused()) {
            return;
        }
        const auto result = readDocument(text);
        if (const auto* const document = std::get_if<Document>(&result)) {
            table.take(tableOf(*document), clockTime());
            state = clockTime();
        } else {
            state = "a document that cannot be read: " + describe(std::get<ReadError>(result));
        }
    });
    const Request& request = options.request;
    const std::string title = request.dataStream + (request.value == "on" ? "" : ' ' + request.value) +
                              ", every " + std::to_string(options.watchPeriod->count()) + " s: ";
    while (!companions::stopRequested() && screen->takeKeys(table)) {
        const std::string trouble = repetition.trouble();
        screen->show(table, displayable(title + state + (trouble.empty() ? "" : ", " + trouble)));
        repetition.turn(STDIN_FILENO);
    }
    repetition.stopFeed();
}

} // namespace

void watch(Endpoints& endpoints, const Options& options, Printer& printer) {
    const bool onScreen = isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
    if (onScreen && options.output != Output::json && canPlaceText()) {
        watchOnScreen(endpoints, options);
    } else {
        watchInLines(endpoints, options, printer);
    }
}

} // namespace manager
