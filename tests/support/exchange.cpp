#include "exchange.h"

#include "acknowledgement.h"
#include "patience.h"

#include <chrono>
#include <set>
#include <stdexcept>

namespace testSupport {
namespace {

using Clock = std::chrono::steady_clock;

std::set<std::string> distinct(const std::deque<std::string>& topics) {
    return {topics.begin(), topics.end()};
}

} // namespace

std::vector<std::string> silently(const std::string& program, const std::vector<std::string>& environment) {
    std::vector<std::string> words{
        "/bin/sh", "-c", R"(for variable; do export "$variable"; done; exec "$0" >/dev/null)", program};
    words.insert(words.end(), environment.begin(), environment.end());
    return words;
}

Exchange::Exchange(const std::vector<std::string>& words) : program(words, {}) {}

void Exchange::request(const std::string& text) {
    trufios.acknowledgements.clear();
    trufios.sendRequest({text});
    waitUntil("the acknowledgement of a request", [&] { return !trufios.acknowledgements.empty(); });
}

void Exchange::awaitReady() {
    request(R"({"dataStream": "nothing"})");
}

void Exchange::startFeed(const std::string& text, std::size_t subscriptions) {
    instructionsAnswered = 0;
    parser.subscriptions.clear();
    parser.unsubscriptions.clear();
    request(text);
    waitUntil("subscriptions and an instruction",
              [&] { return parser.subscriptions.size() >= subscriptions && instructionsAnswered > 0; });
}

void Exchange::publish(const std::string& topic, const std::string& record) {
    parser.publish({topic, "1", record});
}

std::string Exchange::awaitDocument() {
    waitUntil("a document", [&] { return !trufios.documents.empty(); });
    std::string document = std::move(trufios.documents.front());
    trufios.documents.pop_front();
    return document;
}

void Exchange::acknowledgeDocument() {
    trufios.answerDocument(ack);
}

// The end of the connection takes all subscriptions back, so that none is taken for the next feed's.
void Exchange::stopFeed() {
    request(R"({"dataStream": "pidData", "status": "off"})");
    awaitReady();
    waitUntil("end of its subscriptions",
              [&] { return distinct(parser.unsubscriptions) == distinct(parser.subscriptions); });
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

} // namespace testSupport
