// Who is connected to a socket of the board, and who has to go.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>
#include <zmq.hpp>

namespace board {

// Watches the connections that a bound socket accepts, through libzmq's monitor, and ends those that are too
// many or send too much. libzmq ends none by itself, and has no call for it; it takes one whose descriptor
// has been shut down for one that has gone.
class ConnectionGuard {
  public:
    using Instant = std::chrono::steady_clock::time_point;

    // What it lets a client do.
    struct Limits {
        std::size_t connections;     // at once
        std::size_t messagesASecond; // from one of them
        std::size_t uselessBytes;    // that libzmq keeps for one of them, and nobody needs
    };

    // Before the socket is bound, so that nobody is missed. name: of the clients, for the console.
    ConnectionGuard(zmq::context_t& context, zmq::socket_t& socket, const Limits& limits, std::string name);
    ~ConnectionGuard(); // before the socket is closed
    ConnectionGuard(const ConnectionGuard&) = delete;
    ConnectionGuard& operator=(const ConnectionGuard&) = delete;

    // A ZeroMQ socket to poll: readable when connections have come or gone.
    zmq::socket_t& events() {
        return events_;
    }

    // Takes which have come and gone, and ends those above the limit.
    void look();

    // A message has come from a client, in which so many bytes are of no use. Ends the client's connection
    // when that was too much. Counts nothing for a connection before the queue has been empty once: until
    // then the message may be of one that had the same descriptor before.
    void count(const zmq::message_t& message, std::size_t uselessBytes, Instant now);

    // No message waits that came before the last look.
    void queueEmpty() {
        ++timesEmpty_;
    }

  private:
    struct Connection {
        std::size_t messages = 0; // in this second
        std::size_t uselessBytes = 0;
        Instant second;
        bool ended = false;
        std::uint64_t number = 0;          // of all connections that there have been
        std::uint64_t queueWasEmptyAt = 0; // what timesEmpty_ was when it came
    };

    void takeEvents();
    void end(int descriptor, std::uint64_t number, const std::string& expected, const std::string& got);

    zmq::socket_t& socket_;
    Limits limits_;
    std::string name_;
    zmq::socket_t events_;                               // PAIR: what the socket's monitor tells
    std::map<int, Connection> connections_;              // by descriptor
    std::vector<std::pair<int, std::uint64_t>> tooMany_; // descriptor and number of those above the limit
    std::uint64_t accepted_ = 0;
    std::uint64_t timesEmpty_ = 0;
};

// Raises the number of descriptors that this process may have as far as it may, and returns it.
std::size_t raiseDescriptorLimit();

} // namespace board
