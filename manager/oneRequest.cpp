#include "oneRequest.h"

#include "managerError.h"
#include "waiting.h"

#include "companions/json.h"
#include "companions/stopSignals.h"

#include <chrono>
#include <cstring>
#include <string>
#include <utility>

namespace manager {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void stopFor(int signal) {
    const int status = static_cast<int>(ExitStatus::interrupted) + signal;
    throw ManagerError(static_cast<ExitStatus>(status),
                       {"stopped before the exchange was complete", "time to finish",
                        std::string("signal ") + std::to_string(signal) + " (" + strsignal(signal) + ')',
                        "the service may still send a document; the next mpegfe-manager takes it"});
}

[[noreturn]] void tellRefusal(std::string_view reply) {
    const companions::Json object(json_loadb(reply.data(), reply.size(), 0, nullptr));
    const std::string meaning =
        companions::textOf(object.get(), "reply") == "nak"
            ? "the service refused it: " +
                  std::string(companions::textOf(object.get(), "reason", "no reason given"))
            : "what answers on the request endpoint does not speak mpegFE's protocol";
    throw ManagerError(ExitStatus::refused, {"the request was not accepted", R"(the reply {"reply": "ack"})",
                                             std::string(reply), meaning});
}

[[noreturn]] void giveUp(const Exchange& exchange, const Options& options) {
    const std::string inTime = " within " + std::to_string(options.timeout.count()) + " s";
    if (!exchange.sent()) {
        throw ManagerError(ExitStatus::noAnswer,
                           {"no service took the request",
                            std::string("mpegFE to connect to ") + wire::requestEndpoint + inTime,
                            "no connection",
                            "mpegFE may not be running: start it, or everything with ./run --keep"});
    }
    if (!exchange.acknowledged()) {
        throw ManagerError(ExitStatus::noAnswer,
                           {"the request was not acknowledged", "a reply" + inTime, "none",
                            "mpegFE is busy with an earlier request, most likely still waiting for the "
                            "parser's records: see that the parser board is running"});
    }
    throw ManagerError(ExitStatus::noDocument,
                       {"the request was acknowledged, but its documents are incomplete",
                        std::to_string(options.documents) + ", the next" + inTime,
                        std::to_string(exchange.documentsTaken()),
                        "mpegFE may still be waiting for the parser's records, or the stream has nothing "
                        "to show: its console says which"});
}

} // namespace

void runRequest(Endpoints& endpoints, const Options& options, Listener listener) {
    listener.refused = tellRefusal;
    Exchange exchange(endpoints.requests, endpoints.documents, endpoints.services, std::move(listener),
                      Clock::now());
    exchange.take({options.request, options.documents});
    while (!exchange.idle()) {
        if (const int signal = companions::stopSignal()) {
            stopFor(signal);
        }
        const Time deadline = exchange.lastProgress() + options.timeout;
        if (Clock::now() >= deadline) {
            giveUp(exchange, options);
        }
        waitFor(exchange, deadline);
        exchange.step(Clock::now());
    }
}

} // namespace manager
