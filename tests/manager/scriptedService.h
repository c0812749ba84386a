// The service's ends of both channels, saying and expecting what a test tells them to.
#pragma once

#include "support/acknowledgement.h"

#include <string>
#include <vector>
#include <zmq.hpp>

namespace testSupport {

// Connects as the service does, so that it may be there before or after the manager. Every wait is bounded;
// what does not come in time is the text "nothing in time".
class ScriptedService {
  public:
    ScriptedService();

    std::string takeRequest();
    // Until the manager has taken the connection over which requests come.
    void awaitRequestConnection();
    void reply(const std::string& text);

    void sendDocument(const std::vector<std::string>& parts);
    std::string takeAcknowledgement();

  private:
    zmq::context_t context;
    zmq::socket_t requests;  // REP
    zmq::socket_t takenOver; // PAIR: an event for each connection of it that the manager has taken over
    zmq::socket_t documents; // REQ
};

} // namespace testSupport
