#include "channelPeers.h"

#include <iterator>
#include <stdexcept>
#include <vector>

#include <zmq_addon.hpp>

namespace serviceTest {
namespace {

using testSupport::Parts;

constexpr std::array<ChannelRow, channels.size()> rows{{
    {"requests", "ipc:///run/shm/zmq/uRO_MMR_MpegFE", zmq::socket_type::dealer, "DEALER"},
    {"documents", "ipc:///run/shm/zmq/uRO_MpegFE_MMR", zmq::socket_type::router, "ROUTER"},
    {"records", "tcp://127.0.0.1:5101", zmq::socket_type::xpub, "XPUB"},
    {"instructions", "ipc:///run/shm/zmq/uRO_MMR_MPEGFE-1", zmq::socket_type::router, "ROUTER"},
}};

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

} // namespace

const ChannelRow& rowOf(Channel channel) {
    return rows[static_cast<std::size_t>(channel)];
}

ChannelPeers::Peer::Peer(const ChannelRow& row) : socket(context, row.peer) {
    socket.set(zmq::sockopt::linger, 0);
    socket.set(zmq::sockopt::sndtimeo, 20000);
    if (row.peer == zmq::socket_type::xpub) {
        socket.set(zmq::sockopt::xpub_verboser, 1);
    }
    socket.bind(row.endpoint);
}

zmq::socket_t& ChannelPeers::socket(Channel channel) {
    return peers[static_cast<std::size_t>(channel)].value().socket;
}

void ChannelPeers::start(Channel channel) {
    if (channel == Channel::records) {
        subscriptionCount = 0;
    }
    peers[static_cast<std::size_t>(channel)].emplace(rowOf(channel));
}

void ChannelPeers::stop(Channel channel) {
    peers[static_cast<std::size_t>(channel)].reset();
}

void ChannelPeers::startAll() {
    for (const Channel channel : channels) {
        start(channel);
    }
}

void ChannelPeers::stopAll() {
    for (const Channel channel : channels) {
        stop(channel);
    }
}

std::optional<Parts> ChannelPeers::take(Channel channel) {
    if (!peers[static_cast<std::size_t>(channel)]) {
        return std::nullopt;
    }
    std::vector<zmq::message_t> messages;
    if (!zmq::recv_multipart(socket(channel), std::back_inserter(messages), zmq::recv_flags::dontwait)) {
        return std::nullopt;
    }
    Parts parts;
    for (const zmq::message_t& message : messages) {
        parts.push_back(message.to_string());
    }
    return parts;
}

void ChannelPeers::sendRequest(const std::string& text) {
    send(socket(Channel::requests), {"", text});
}

bool ChannelPeers::trySendRequest(const std::string& text) {
    // Part by part: the connection may end between the two, which zmq::send_multipart takes for impossible.
    zmq::socket_t& peer = socket(Channel::requests);
    const auto now = zmq::send_flags::dontwait;
    return peer.send(zmq::const_buffer(), zmq::send_flags::sndmore | now) &&
           peer.send(zmq::buffer(text), now);
}

std::optional<std::string> ChannelPeers::acknowledgement() {
    std::optional<Parts> message = take(Channel::requests);
    return message ? std::optional(takeBody(*message)) : std::nullopt;
}

std::optional<std::string> ChannelPeers::document() {
    std::optional<Parts> message = take(Channel::documents);
    if (!message) {
        return std::nullopt;
    }
    std::string body = takeBody(*message);
    documentEnvelope = std::move(*message);
    return body;
}

std::optional<std::uint16_t> ChannelPeers::instruction() {
    std::optional<Parts> message = take(Channel::instructions);
    if (!message) {
        return std::nullopt;
    }
    const std::string body = takeBody(*message);
    instructionEnvelope = std::move(*message);
    if (body.size() != 2) {
        throw std::runtime_error("an instruction of " + std::to_string(body.size()) + " bytes");
    }
    return static_cast<std::uint16_t>(static_cast<std::uint8_t>(body[0]) |
                                      (static_cast<std::uint8_t>(body[1]) << 8));
}

std::size_t ChannelPeers::subscriptions() {
    while (std::optional<Parts> message = take(Channel::records)) {
        subscriptionCount += message->front().front() == '\1' ? 1U : 0U;
    }
    return subscriptionCount;
}

void ChannelPeers::forgetSubscriptions() {
    subscriptions();
    subscriptionCount = 0;
}

void ChannelPeers::answerDocument(const Parts& parts) {
    Parts message = documentEnvelope;
    message.insert(message.end(), parts.begin(), parts.end());
    send(socket(Channel::documents), message);
}

void ChannelPeers::answerInstruction(const Parts& parts) {
    Parts message = instructionEnvelope;
    message.insert(message.end(), parts.begin(), parts.end());
    send(socket(Channel::instructions), message);
}

void ChannelPeers::publish(const Parts& parts) {
    send(socket(Channel::records), parts);
}

} // namespace serviceTest
