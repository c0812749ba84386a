#include "scriptedService.h"

#include "wire/endpoints.h"

namespace testSupport {
namespace {

constexpr int patience = 20'000; // ms

zmq::socket_t connected(zmq::context_t& context, zmq::socket_type type, const char* endpoint) {
    zmq::socket_t socket(context, type);
    socket.set(zmq::sockopt::linger, 0);
    socket.set(zmq::sockopt::rcvtimeo, patience);
    socket.set(zmq::sockopt::sndtimeo, patience);
    socket.connect(endpoint);
    return socket;
}

std::string take(zmq::socket_t& socket) {
    zmq::message_t message;
    return socket.recv(message) ? message.to_string() : "nothing in time";
}

} // namespace

ScriptedService::ScriptedService()
    : requests(connected(context, zmq::socket_type::rep, wire::requestEndpoint)),
      documents(connected(context, zmq::socket_type::req, wire::documentEndpoint)) {}

std::string ScriptedService::takeRequest() {
    return take(requests);
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
