#include "exchange.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience{20};
constexpr const char* acknowledgement = R"({"reply": "ack"})";
constexpr const char* stopRequest = R"({"dataStream": "pidData", "status": "off"})";
constexpr const char* idleRequest = R"({"dataStream": "nothing"})";

// What both contestants are sent. The members that begin with "bare" tell the bare program, which has no
// documents of its own, what its exchange looks like; the service has no use for them.
std::string requestText(const DocumentRequest& request, std::size_t documentLength) {
    const TopicBits topics = std::accumulate(
        request.topics.begin(), request.topics.end(), TopicBits{0},
        [](TopicBits sum, const Topic& topic) { return static_cast<TopicBits>(sum | topic.bit); });
    return std::string("{") + request.members + ", \"bareTopics\": " + std::to_string(topics) +
           ", \"bareLength\": " + std::to_string(documentLength) + "}";
}

// The length of each request's document, as the service made it when it was asked first.
std::map<const DocumentRequest*, std::size_t> documentLengths;

std::set<std::string> distinct(const std::deque<std::string>& topics) {
    return {topics.begin(), topics.end()};
}

} // namespace

const std::vector<DocumentRequest>& documentRequests() {
    static const std::vector<DocumentRequest> requests{
        {"PID list, programs unknown",
         R"("dataStream": "pidData", "status": "on")",
         {patTopic, sdtTopic, pmtTopic, tsStatusTopic},
         false},
        {"PID list",
         R"("dataStream": "pidData", "status": "on")",
         {patTopic, sdtTopic, pmtTopic, tsStatusTopic},
         true},
        {"program list",
         R"("dataStream": "pgmData", "status": "on")",
         {patTopic, sdtTopic, pmtTopic, tsStatusTopic},
         true},
        {"program detail",
         R"("dataStream": "pgmDetail", "patIndex": "1")",
         {patTopic, sdtTopic, pmtTopic, avPgmTopic, tsStatusTopic},
         true},
        {"EIT", R"("dataStream": "EIT", "status": "on")", {eitTopic, patTopic, tsStatusTopic}, true},
    };
    return requests;
}

const DocumentRequest& documentRequest(std::string_view name) {
    const std::vector<DocumentRequest>& requests = documentRequests();
    const auto found = std::find_if(requests.begin(), requests.end(),
                                    [=](const DocumentRequest& request) { return request.name == name; });
    if (found == requests.end()) {
        throw std::invalid_argument("there is no such document request");
    }
    return *found;
}

std::vector<std::string> silently(const std::string& program, const std::vector<std::string>& environment) {
    std::vector<std::string> words{
        "/bin/sh", "-c", R"(for variable; do export "$variable"; done; exec "$0" >/dev/null)", program};
    words.insert(words.end(), environment.begin(), environment.end());
    return words;
}

Exchange::Exchange(const std::vector<std::string>& words) : program(words, {}) {}

double Exchange::secondsSinceStart() const {
    return std::chrono::duration<double>(Clock::now() - started).count();
}

void Exchange::awaitReady() {
    sendRequest(idleRequest);
}

ExchangeTimes Exchange::run(const DocumentRequest& request) {
    const ExchangeTimes times = start(request);
    stop();
    return times;
}

ExchangeTimes Exchange::start(const DocumentRequest& request) {
    std::size_t& length = documentLengths[&request];
    const std::string text = requestText(request, length);
    instructionsAnswered = 0;
    trufios.documents.clear();

    const Clock::time_point sent = Clock::now();
    sendRequest(text);
    waitUntil("subscriptions and an instruction", [&] {
        return parser.subscriptions.size() >= request.topics.size() && instructionsAnswered > 0;
    });
    for (const Topic& topic : request.topics) {
        const PublishedRecord record = publishedNow(topic);
        parser.publish({record.topic->name, "1", {record.bytes.data(), record.bytes.size()}});
    }
    waitUntil("a document", [&] { return !trufios.documents.empty(); });
    const Clock::time_point arrived = Clock::now();

    const std::size_t arrivedLength = trufios.documents.front().size();
    if (length == 0) {
        length = arrivedLength;
    } else if (length != arrivedLength) {
        throw std::runtime_error("the document has another length than before");
    }
    trufios.answerDocument(acknowledgement);
    const Clock::time_point acknowledged = Clock::now();
    awaitReady();
    return {arrived - sent, Clock::now() - acknowledged};
}

void Exchange::stop() {
    sendRequest(stopRequest);
    awaitReady();
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
    std::vector<zmq::pollitem_t> sockets{{trufios.requestSocket.handle(), 0, ZMQ_POLLIN, 0},
                                         {trufios.documentSocket.handle(), 0, ZMQ_POLLIN, 0},
                                         {parser.publisher.handle(), 0, ZMQ_POLLIN, 0},
                                         {parser.instructionSocket.handle(), 0, ZMQ_POLLIN, 0}};
    const Clock::time_point deadline = Clock::now() + patience;
    while (!isThere()) {
        if (Clock::now() > deadline) {
            throw std::runtime_error(std::string("the program sent no ") + what);
        }
        zmq::poll(sockets, std::chrono::milliseconds(100));
        trufios.hear();
        parser.hear();
        answerInstructions();
    }
}

void Exchange::answerInstructions() {
    for (; !parser.instructions.empty(); parser.instructions.pop_front()) {
        ++instructionsAnswered;
        parser.answerInstruction(parser.instructions.front());
    }
}

void prepare(Exchange& exchange, const DocumentRequest& request) {
    if (request.programsKnown) {
        exchange.run(documentRequest("program detail"));
    }
    exchange.run(request);
}

void learnDocumentLengths(const std::string& service) {
    for (const DocumentRequest& request : documentRequests()) {
        Exchange exchange(silently(service));
        prepare(exchange, request);
    }
}
