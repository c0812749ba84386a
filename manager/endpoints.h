// The media manager's ends of both channels with the service.
#pragma once

#include "exchange/connectedServices.h"

#include "companions/lockFile.h"

#include <optional>
#include <zmq.hpp>

namespace manager {

// Both sockets, bound. The service connects to them, and connects again by itself whenever a manager starts.
struct Endpoints {
    // Takes the lock and binds, for the user and the group of the endpoints' directory. Throws Failure
    // (noEndpoints) when that fails.
    Endpoints();

    std::optional<companions::LockFile> lock;
    zmq::context_t context;
    zmq::socket_t requests;  // REQ: requests go out, acknowledgements come back
    zmq::socket_t documents; // REP: documents come in, acknowledgements go back
    ConnectedServices services;
};

} // namespace manager
