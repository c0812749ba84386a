// The two peers of the service, scripted: the media manager and the parser board. Each hears what comes over
// the wire and says only what a test tells it to. A test polls the sockets and lets them hear.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include <zmq.hpp>

namespace testSupport {

using Parts = std::vector<std::string>;

// The media manager Trufios, which binds both of its endpoints.
class Trufios {
  public:
    explicit Trufios(zmq::context_t& context);

    // Sends a request without waiting for the acknowledgement of an earlier one.
    void sendRequest(const Parts& parts);
    // The same without waiting for anything; false when there is no room for a request now.
    bool trySendRequest(const std::string& text);
    // Answers the oldest document that has no answer yet.
    void answerDocument(const std::string& text);
    // Takes everything that has arrived.
    void hear();

    std::deque<std::string> acknowledgements; // of requests, oldest first
    std::deque<std::string> documents;        // that no test has looked at yet, oldest first

    zmq::socket_t requestSocket;
    zmq::socket_t documentSocket;

  private:
    std::deque<Parts> unanswered; // envelopes of the documents without an answer
};

// The parser board, which binds its publisher to its TCP port and its instruction endpoint.
class Parser {
  public:
    explicit Parser(zmq::context_t& context);

    void publish(const Parts& parts);
    // Answers an instruction word with itself.
    void answerInstruction(std::uint16_t word);
    void hear();

    std::deque<std::string> subscriptions;      // topics, oldest first, each subscriber's first
    std::deque<std::string> unsubscriptions;    // topics
    std::deque<std::uint16_t> instructions;     // words, oldest first
    std::vector<std::string> malformedMessages; // instructions that are not 2 bytes

    zmq::socket_t publisher;
    zmq::socket_t instructionSocket;

  private:
    std::deque<Parts> unanswered;
};

} // namespace testSupport
