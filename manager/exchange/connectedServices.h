// How many services are connected to the endpoint that requests go to.
#pragma once

#include <zmq.hpp>

namespace manager {

// A request goes to one of the connected services, and no service knows of another: only here it shows that
// there are two. A connection counts from its handshake on, and no longer once it has ended; as both ends are
// on one machine, that of a service that has gone ends before the next one's handshake.
class ConnectedServices {
  public:
    // Watches a socket of the context. Before it is bound, so that nobody is missed.
    ConnectedServices(zmq::context_t& context, zmq::socket_t& requests);
    ~ConnectedServices(); // before the socket is closed
    ConnectedServices(const ConnectedServices&) = delete;
    ConnectedServices& operator=(const ConnectedServices&) = delete;

    // A ZeroMQ socket to poll: readable when connections have come or gone.
    void* handle() {
        return events.handle();
    }

    // Whether one is connected, by what has been taken.
    bool any() const {
        return connected > 0;
    }

    // How many connections have ended, by what has been taken.
    int ended() const {
        return endings;
    }

    // Takes what has happened. Whether two or more have been connected at once by now; true one time only.
    bool newlyShared();

  private:
    void take(int event);

    zmq::socket_t& watched;
    zmq::socket_t events; // PAIR: what its monitor tells
    bool handshakeFailed = false;
    int connected = 0;
    int endings = 0;
    bool shared = false;
    bool told = false;
};

} // namespace manager
