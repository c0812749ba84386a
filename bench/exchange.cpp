#include "exchange.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience{20};
constexpr const char* acknowledgement = R"({"reply": "ack"})";
constexpr const char* stopRequest = R"({"dataStream": "pidData", "status": "off"})";
constexpr const char* idleRequest = R"({"dataStream": "nothing"})";

// The length of each request's document, as the service made it when it was asked first.
std::map<const DocumentRequest*, std::size_t> documentLengths;

// What both contestants are sent. The members that begin with "bare" tell the bare program, which has no
// documents of its own, what its exchange looks like; the service has no use for them.
std::string requestText(const DocumentRequest& request) {
    const auto known = documentLengths.find(&request);
    const std::size_t length = known == documentLengths.end() ? 0 : known->second;
    unsigned wanted = 0;
    for (const Topic& topic : request.topics) {
        wanted |= topic.bit;
    }
    return std::string("{") + request.members + ", \"bareTopics\": " + std::to_string(wanted) +
           ", \"bareLength\": " + std::to_string(length) + "}";
}

std::set<std::string> distinct(const std::deque<std::string>& topics) {
    return {topics.begin(), topics.end()};
}

} // namespace

const std::vector<DocumentRequest>& documentRequests() {
    static const std::vector<Topic> listTopics{patTopic, sdtTopic, pmtTopic, tsStatusTopic};
    static const std::vector<DocumentRequest> requests{
        {"PID list, programs unknown", R"("dataStream": "pidData", "status": "on")", listTopics, false},
        {"PID list", R"("dataStream": "pidData", "status": "on")", listTopics, true},
        {"program list", R"("dataStream": "pgmData", "status": "on")", listTopics, true},
        {"program detail",
         R"("dataStream": "pgmDetail", "patIndex": "1")",
         {patTopic, sdtTopic, pmtTopic, avPgmTopic, tsStatusTopic},
         true},
        {"EIT", R"("dataStream": "EIT", "status": "on")", {eitTopic, patTopic, tsStatusTopic}, true},
    };
    return requests;
}

const DocumentRequest& documentRequest(std::string_view name) {
    return *std::find_if(documentRequests().begin(), documentRequests().end(),
                         [=](const DocumentRequest& request) { return request.name == name; });
}

std::vector<std::string> silently(const std::string& program, const std::vector<std::string>& environment) {
    std::vector<std::string> words{
        "/bin/sh", "-c", R"(for variable; do export "$variable"; done; exec "$0" >/dev/null)", program};
    words.insert(words.end(), environment.begin(), environment.end());
    return words;
}

Exchange::Exchange(const std::vector<std::string>& words) : program(words, {}) {
    sendRequest(idleRequest);
    startUp = Clock::now() - started;
}

ExchangeTimes Exchange::run(const DocumentRequest& request) {
    const ExchangeTimes times = start(request);
    stop();
    return times;
}

ExchangeTimes Exchange::start(const DocumentRequest& request) {
    const std::string text = requestText(request);
    instructionsAnswered = 0;
    trufios.documents.clear();

    const Clock::time_point sent = Clock::now();
    sendRequest(text);
    waitUntil("subscriptions and an instruction", [&] {
        return parser.subscriptions.size() >= request.topics.size() && instructionsAnswered > 0;
    });
    for (const Topic& topic : request.topics) {
        const std::vector<char> record = publishedNow(topic).bytes;
        parser.publish({topic.name, "1", {record.data(), record.size()}});
    }
    waitUntil("a document", [&] { return !trufios.documents.empty(); });
    const Clock::time_point arrived = Clock::now();

    const std::size_t length = trufios.documents.front().size();
    if (documentLengths.try_emplace(&request, length).first->second != length) {
        throw std::runtime_error("the document has another length than before");
    }
    trufios.answerDocument(acknowledgement);
    const Clock::time_point acknowledged = Clock::now();
    sendRequest(idleRequest);
    return {arrived - sent, Clock::now() - acknowledged};
}

void Exchange::prepare(const DocumentRequest& request) {
    if (request.programsKnown) {
        run(documentRequest("program detail"));
    }
    run(request);
}

void Exchange::stop() {
    sendRequest(stopRequest);
    sendRequest(idleRequest);
    // The end of the connection takes all subscriptions back, so that none is taken for the next feed's.
    waitUntil("end of its subscriptions",
              [&] { return distinct(parser.unsubscriptions) == distinct(parser.subscriptions); });
    parser.subscriptions.clear();
    parser.unsubscriptions.clear();
}

void Exchange::sendRequest(const std::string& text) {
    trufios.acknowledgements.clear();
    trufios.sendRequest({text});
    waitUntil("the acknowledgement of a request", [&] { return !trufios.acknowledgements.empty(); });
}

void Exchange::waitUntil(const char* what, const std::function<bool()>& isThere) {
    std::vector<zmq::pollitem_t> sockets;
    for (zmq::socket_t* socket :
         {&trufios.requestSocket, &trufios.documentSocket, &parser.publisher, &parser.instructionSocket}) {
        sockets.push_back({socket->handle(), 0, ZMQ_POLLIN, 0});
    }
    const Clock::time_point deadline = Clock::now() + patience;
    while (!isThere()) {
        if (Clock::now() > deadline) {
            throw std::runtime_error(std::string("the program sent no ") + what);
        }
        zmq::poll(sockets, std::chrono::milliseconds(100));
        trufios.hear();
        parser.hear();
        for (; !parser.instructions.empty(); parser.instructions.pop_front()) {
            ++instructionsAnswered;
            parser.answerInstruction(parser.instructions.front());
        }
    }
}

void learnDocumentLengths(const std::string& service) {
    for (const DocumentRequest& request : documentRequests()) {
        Exchange(silently(service)).prepare(request);
    }
}
