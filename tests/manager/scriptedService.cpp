#include "scriptedService.h"

#include "patience.h"
#include "wire/endpoints.h"

#include <gtest/gtest.h>

namespace testSupport {
namespace {

constexpr const char* nothing = "nothing in time";

zmq::socket_t patient(zmq::context_t& context, zmq::socket_type type) {
    zmq::socket_t socket(context, type);
    socket.set(zmq::sockopt::linger, 0);
    socket.set(zmq::sockopt::rcvtimeo, patience.count());
    socket.set(zmq::sockopt::sndtimeo, patience.count());
    return socket;
}

zmq::socket_t handshakesOf(zmq::context_t& context, zmq::socket_t& watched) {
    constexpr const char* endpoint = "inproc://handshakes";
    EXPECT_EQ(zmq_socket_monitor(watched.handle(), endpoint, ZMQ_EVENT_HANDSHAKE_SUCCEEDED), 0);
    zmq::socket_t events = patient(context, zmq::socket_type::pair);
    events.connect(endpoint);
    return events;
}

std::string take(zmq::socket_t& socket) {
    zmq::message_t message;
    return socket.recv(message) ? message.to_string() : nothing;
}

} // namespace

ScriptedService::ScriptedService()
    : requests(patient(context, zmq::socket_type::rep)), takenOver(handshakesOf(context, requests)),
      documents(patient(context, zmq::socket_type::req)) {
    requests.connect(wire::requestEndpoint);
    documents.connect(wire::documentEndpoint);
}

std::string ScriptedService::takeRequest() {
    return take(requests);
}

void ScriptedService::awaitRequestConnection() {
    EXPECT_NE(take(takenOver), nothing); // the event,
    take(takenOver);                     // and its endpoint
}

void ScriptedService::reply(const std::string& text) {
    requests.send(zmq::buffer(text));
}

void ScriptedService::sendDocument(const std::vector<std::string>& parts) {
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const bool last = i + 1 == parts.size();
        documents.send(zmq::buffer(parts[i]), last ? zmq::send_flags::none : zmq::send_flags::sndmore);
    }
}

std::string ScriptedService::takeAcknowledgement() {
    return take(documents);
}

} // namespace testSupport
