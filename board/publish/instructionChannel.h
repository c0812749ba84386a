// The endpoint on which clients say what to publish, and get each word back.
#pragma once

#include "wire/instructionWord.h"

#include <cstddef>
#include <optional>
#include <zmq.hpp>

namespace board {

// What a client has sent in place of a word, or as one.
struct Instruction {
    wire::InstructionWord word{}; // the first bytes
    std::size_t length = 0;       // bytes of the first part
    std::size_t parts = 0;

    // Whether it is an instruction word: 2 bytes, little-endian, in one part.
    bool usable() const {
        return parts == 1 && length == word.size();
    }
};

// A ROUTER that speaks as a REP does: libzmq's REP loses the reply to the next request behind a message
// without the empty part, when the peer that sent it has gone.
class InstructionChannel {
  public:
    explicit InstructionChannel(zmq::context_t& context) : socket_(context, zmq::socket_type::router) {}

    zmq::socket_t& socket() {
        return socket_;
    }

    // Takes the next message and sends its first bytes back, as many as a word has. Never waits. Nothing when
    // there is no message, and for one without the empty part that a REQ begins with: it is dropped.
    std::optional<Instruction> take();

  private:
    zmq::socket_t socket_;
};

} // namespace board
