#include "exchange/connectedServices.h"

#include "exchange/uninterrupted.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace manager {
namespace {

constexpr const char* eventEndpoint = "inproc://connected-services";

constexpr int failures = ZMQ_EVENT_HANDSHAKE_FAILED_NO_DETAIL | ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL |
                         ZMQ_EVENT_HANDSHAKE_FAILED_AUTH;

// An event comes as its number, 16 bits in the machine's order, with a value behind it; a second part names
// the endpoint.
int numberOf(const zmq::message_t& event) {
    std::uint16_t number = 0;
    std::memcpy(&number, event.data(), sizeof number);
    return number;
}

} // namespace

ConnectedServices::ConnectedServices(zmq::context_t& context, zmq::socket_t& requests)
    : watched(requests), events(context, zmq::socket_type::pair) {
    if (zmq_socket_monitor(requests.handle(), eventEndpoint,
                           failures | ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_DISCONNECTED) != 0) {
        throw zmq::error_t();
    }
    events.set(zmq::sockopt::linger, 0);
    events.set(zmq::sockopt::rcvhwm, 0); // a full queue would stop libzmq's I/O thread
    events.connect(eventEndpoint);
}

// Else libzmq's I/O thread would wait for a reader of its next event, and everything else for that.
ConnectedServices::~ConnectedServices() {
    zmq_socket_monitor(watched.handle(), nullptr, 0);
}

bool ConnectedServices::newlyShared() {
    zmq::message_t event;
    zmq::message_t endpoint;
    const auto taken = [&](zmq::message_t& part) {
        return uninterrupted([&] { return events.recv(part, zmq::recv_flags::dontwait); }).has_value();
    };
    while (taken(event)) {
        static_cast<void>(taken(endpoint));
        take(numberOf(event));
    }
    return shared && !std::exchange(told, shared);
}

// Events do not tell connections apart, but a failed handshake is told directly before its connection's end.
void ConnectedServices::take(int event) {
    if (event == ZMQ_EVENT_HANDSHAKE_SUCCEEDED) {
        ++connected;
        shared = shared || connected > 1;
    } else if (event == ZMQ_EVENT_DISCONNECTED) {
        const int ending = std::exchange(handshakeFailed, false) ? 0 : 1;
        connected -= ending;
        endings += ending;
    } else {
        handshakeFailed = true;
    }
}

} // namespace manager
