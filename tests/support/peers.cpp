#include "peers.h"

#include "patience.h"
#include "wire/endpoints.h"

#include <array>
#include <iterator>
#include <optional>
#include <stdexcept>

#include <zmq_addon.hpp>

namespace testSupport {
namespace {

constexpr const char* publisherEndpoint = "tcp://127.0.0.1:" WIRE_PARSER_PORT;

zmq::socket_t bound(zmq::context_t& context, zmq::socket_type type, const char* endpoint) {
    zmq::socket_t socket(context, type);
    socket.set(zmq::sockopt::linger, 0);
    socket.set(zmq::sockopt::sndtimeo, patience.count()); // until somebody has connected
    if (type == zmq::socket_type::xpub) {
        socket.set(zmq::sockopt::xpub_verboser, 1);
    }
    socket.bind(endpoint);
    return socket;
}

std::optional<Parts> receive(zmq::socket_t& socket) {
    std::vector<zmq::message_t> messages;
    if (!zmq::recv_multipart(socket, std::back_inserter(messages), zmq::recv_flags::dontwait)) {
        return std::nullopt;
    }
    Parts parts;
    for (const zmq::message_t& message : messages) {
        parts.push_back(message.to_string());
    }
    return parts;
}

void send(zmq::socket_t& socket, const Parts& parts) {
    std::vector<zmq::const_buffer> buffers;
    for (const std::string& part : parts) {
        buffers.push_back(zmq::buffer(part));
    }
    if (!zmq::send_multipart(socket, buffers)) {
        throw std::runtime_error("nobody connected to take a message");
    }
}

// The body is what follows the empty part of an envelope.
std::string takeBody(Parts& message) {
    std::string body = std::move(message.back());
    message.pop_back();
    return body;
}

Parts takeFront(std::deque<Parts>& envelopes) {
    if (envelopes.empty()) {
        throw std::runtime_error("there is nothing to answer");
    }
    Parts envelope = std::move(envelopes.front());
    envelopes.pop_front();
    return envelope;
}

} // namespace

Trufios::Trufios(zmq::context_t& context)
    : requestSocket(bound(context, zmq::socket_type::dealer, wire::requestEndpoint)),
      documentSocket(bound(context, zmq::socket_type::router, wire::documentEndpoint)) {}

void Trufios::sendRequest(const Parts& parts) {
    Parts message{""};
    message.insert(message.end(), parts.begin(), parts.end());
    send(requestSocket, message);
}

bool Trufios::trySendRequest(const std::string& text) {
    const std::array<zmq::const_buffer, 2> parts{zmq::const_buffer(), zmq::buffer(text)};
    return zmq::send_multipart(requestSocket, parts, zmq::send_flags::dontwait).has_value();
}

void Trufios::answerDocument(const std::string& text) {
    Parts message = takeFront(unanswered);
    message.push_back(text);
    send(documentSocket, message);
}

void Trufios::hear() {
    while (std::optional<Parts> message = receive(requestSocket)) {
        acknowledgements.push_back(takeBody(*message));
    }
    while (std::optional<Parts> message = receive(documentSocket)) {
        documents.push_back(takeBody(*message));
        unanswered.push_back(std::move(*message));
    }
}

Parser::Parser(zmq::context_t& context)
    : publisher(bound(context, zmq::socket_type::xpub, publisherEndpoint)),
      instructionSocket(bound(context, zmq::socket_type::router, wire::instructionEndpoint)) {}

void Parser::publish(const Parts& parts) {
    send(publisher, parts);
}

void Parser::answerInstruction(std::uint16_t word) {
    Parts message = takeFront(unanswered);
    message.push_back({static_cast<char>(word & 0xFF), static_cast<char>(word >> 8)});
    send(instructionSocket, message);
}

void Parser::hear() {
    while (std::optional<Parts> message = receive(publisher)) {
        const std::string& text = message->front();
        (text.front() == '\1' ? subscriptions : unsubscriptions).push_back(text.substr(1));
    }
    while (std::optional<Parts> message = receive(instructionSocket)) {
        const std::string body = takeBody(*message);
        if (body.size() == 2) {
            const auto low = static_cast<std::uint8_t>(body[0]);
            const auto high = static_cast<std::uint8_t>(body[1]);
            instructions.push_back(static_cast<std::uint16_t>(low | (high << 8)));
        } else {
            malformedMessages.push_back(body);
        }
        unanswered.push_back(std::move(*message));
    }
}

} // namespace testSupport
