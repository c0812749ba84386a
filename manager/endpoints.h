// The media manager's ends of both channels with the service.
#pragma once

#include "connectedServices.h"

#include <zmq.hpp>

namespace manager {

// The lock that makes this process the only owner of the endpoints; held as long as the object lives.
class EndpointLock {
  public:
    // Throws ManagerError (noEndpoints) when the directory is missing, may not be written, or the lock is
    // held.
    EndpointLock();
    ~EndpointLock();
    EndpointLock(const EndpointLock&) = delete;
    EndpointLock& operator=(const EndpointLock&) = delete;

  private:
    int descriptor;
};

// Both sockets, bound. The service connects to them, and connects again by itself whenever a manager starts.
struct Endpoints {
    // Takes the lock and binds. Throws ManagerError (noEndpoints) when that fails.
    Endpoints();

    EndpointLock lock;
    zmq::context_t context;
    zmq::socket_t requests;  // REQ: requests go out, acknowledgements come back
    zmq::socket_t documents; // REP: documents come in, acknowledgements go back
    ConnectedServices services;
};

} // namespace manager
