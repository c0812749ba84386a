#include "documentRequests.h"

#include <map>
#include <stdexcept>

using testSupport::Exchange;

namespace {

// As the service made it when it was asked first.
std::map<std::string, std::size_t> documentLengths; // by the request's name

// What both contestants are sent. The members that begin with "bare" tell the bare program, which has no
// documents of its own, what its exchange looks like; the service has no use for them.
std::string requestText(const DocumentRequest& request) {
    const auto known = documentLengths.find(request.name);
    unsigned wanted = 0;
    for (const Topic& topic : request.topics) {
        wanted |= topic.bit;
    }
    return std::string("{") + request.members + ", \"bareTopics\": " + std::to_string(wanted) +
           ", \"bareLength\": " + std::to_string(known == documentLengths.end() ? 0 : known->second) + "}";
}

} // namespace

ExchangeTimes startDocument(Exchange& exchange, const DocumentRequest& request) {
    using Clock = std::chrono::steady_clock;
    const std::string text = requestText(request);
    const Clock::time_point sent = Clock::now();
    exchange.startFeed(text, request.topics.size());
    for (const Topic& topic : request.topics) {
        const std::vector<char> record = publishedNow(topic).bytes;
        exchange.publish(topic.name, {record.data(), record.size()});
    }
    const std::size_t length = exchange.awaitDocument().size();
    const Clock::time_point arrived = Clock::now();
    if (documentLengths.try_emplace(request.name, length).first->second != length) {
        throw std::runtime_error("the document has another length than before");
    }
    exchange.acknowledgeDocument();
    const Clock::time_point acknowledged = Clock::now();
    exchange.awaitReady();
    return {arrived - sent, Clock::now() - acknowledged};
}

ExchangeTimes runDocument(Exchange& exchange, const DocumentRequest& request) {
    const ExchangeTimes times = startDocument(exchange, request);
    exchange.stopFeed();
    return times;
}

void prepare(Exchange& exchange, const DocumentRequest& request) {
    if (request.programsKnown) {
        runDocument(exchange, programDetailRequest);
    }
    runDocument(exchange, request);
}

void learnDocumentLengths(const std::string& service) {
    for (const DocumentRequest& request : documentRequests) {
        Exchange exchange(testSupport::silently(service));
        prepare(exchange, request);
    }
}
