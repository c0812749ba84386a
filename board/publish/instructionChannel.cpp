#include "publish/instructionChannel.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

namespace board {

namespace {

using Parts = std::vector<zmq::message_t>;

// Parts of a message that are kept: those that lead back to the client, and the first of what it says.
constexpr std::size_t keptParts = 16;

struct Message {
    Parts parts;           // the first ones
    std::size_t count = 0; // of all
};

// libzmq's own functions receive and send here: with them a signal is a result and no exception.
Message receive(zmq::socket_t& socket) {
    Message message;
    for (bool more = true; more;) {
        zmq::message_t part;
        if (zmq_msg_recv(part.handle(), socket.handle(), ZMQ_DONTWAIT) < 0) {
            break;
        }
        more = part.more();
        if (++message.count <= keptParts) {
            message.parts.push_back(std::move(part));
        }
    }
    return message;
}

// Sends the word the way that the request came. It is dropped where the client has gone.
void reply(zmq::socket_t& socket, std::span<zmq::message_t> way, const wire::InstructionWord& word) {
    for (zmq::message_t& part : way) {
        zmq_msg_send(part.handle(), socket.handle(), ZMQ_DONTWAIT | ZMQ_SNDMORE);
    }
    zmq_send(socket.handle(), word.data(), word.size(), ZMQ_DONTWAIT);
}

} // namespace

// ROUTER puts the client's number in front of what the client sends.
std::optional<Instruction> InstructionChannel::take() {
    Message message = receive(socket_);
    if (message.parts.empty()) {
        return std::nullopt;
    }
    const auto delimiter = std::find_if(message.parts.begin() + 1, message.parts.end(),
                                        [](const zmq::message_t& part) { return part.empty(); });
    if (message.parts.end() - delimiter < 2) {
        return std::nullopt;
    }
    const std::span<zmq::message_t> way(message.parts.begin(), delimiter + 1);
    const zmq::message_t& first = *(delimiter + 1);
    Instruction instruction{{}, first.size(), message.count - way.size()};
    std::memcpy(instruction.word.data(), first.data(), std::min(first.size(), instruction.word.size()));
    reply(socket_, way, instruction.word);
    return instruction;
}

} // namespace board
