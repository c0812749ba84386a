#include "support/connection.h"

#include <zmq.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

namespace mpegfe {

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

// libzmq tells of its next attempt right behind the end of a connection. Without that word it has given up.
constexpr Milliseconds graceForRetry{250};
// Between two renewals: about what libzmq itself waits between two attempts.
constexpr Milliseconds renewalInterval{100};
// For what a parser sends that has come again and has been told what to send.
constexpr Milliseconds recordPatience{3000};

// Two channels with Trufios, and two of each of at most two feeds.
constexpr std::size_t maxConnections = 6;

constexpr int noDescriptor = -1;

constexpr const char* nowhere = "ipc:///dev/null/nowhere"; // below what is no directory

constexpr int watchedEvents =
    ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_DISCONNECTED | ZMQ_EVENT_CONNECT_RETRIED;

constexpr Clock::time_point never = Clock::time_point::max();

struct Request {
    const void* bytes = nullptr; // none
    std::size_t size = 0;
    RequestLife life = RequestLife::oncePeer;
    bool taken = false;        // there has been a peer for it
    bool owed = false;         // its reply
    bool repeated = false;     // sent again, to a peer that has not come yet
    void* arrivesOn = nullptr; // what it asks for, besides the reply
};

struct Connection {
    void* socket = nullptr; // this place is free
    const char* endpoint = nullptr;
    void* monitor = nullptr; // not watched
    int monitorDescriptor = noDescriptor;
    // Readable when libzmq has something for the socket to do. None until the connection has been made anew:
    // the socket does it in its own waits.
    int commandDescriptor = noDescriptor;
    bool established = false;          // a peer is there
    Clock::time_point since;           // then
    Clock::time_point doubted = never; // when the peer was first missed that may have gone without a word
    bool ended = false;                // and libzmq has not said that it tries again
    bool lost = false;                 // and the request with it, or so it may be
    bool brokenOff = false;            // perhaps in the middle of a message
    Clock::time_point when;            // it ended
    Clock::time_point renewed;
    Request request;
};

// Process-wide, as the sockets are.
std::array<Connection, maxConnections> connections;

Connection* connectionOf(const void* socket) {
    if (socket == nullptr) {
        return nullptr;
    }
    auto* const found = std::find_if(connections.begin(), connections.end(),
                                     [&](const Connection& candidate) { return candidate.socket == socket; });
    return found == connections.end() ? nullptr : found;
}

int receiveNow(void* socket, void* buffer, std::size_t size) {
    int length = -1;
    do {
        length = zmq_recv(socket, buffer, size, ZMQ_DONTWAIT);
    } while (length < 0 && errno == EINTR);
    return length;
}

// The next event that the monitor holds: its number, then a value and an endpoint that nobody needs. False
// when there is none.
bool takeEvent(void* monitor, std::uint16_t& event) {
    std::array<unsigned char, sizeof event + sizeof(std::uint32_t)> frame{};
    if (receiveNow(monitor, frame.data(), frame.size()) < 0) {
        return false;
    }
    std::memcpy(&event, frame.data(), sizeof event);
    receiveNow(monitor, nullptr, 0);
    return true;
}

// Whether the next peer has to be sent the request.
bool isOpen(const Request& request) {
    return request.bytes != nullptr && (request.life == RequestLife::untilReplaced || !request.taken);
}

// Whether somebody waits for what the request asks for. Nobody else sends a request that one peer at most
// takes.
bool isAwaited(const Connection& connection, const void* requester) {
    return isOpen(connection.request) &&
           (connection.request.life == RequestLife::oncePeer || connection.socket == requester);
}

// Whoever has gone with one connection may have gone with the other too, and without a word, as a host does
// that loses its power. Who only listens never learns of it.
void doubt(void* socket, Clock::time_point loss) {
    Connection* connection = connectionOf(socket);
    if (connection != nullptr && !(connection->established && connection->since >= loss)) {
        connection->doubted = std::min(connection->doubted, Clock::now());
    }
}

void noteEvent(Connection& connection, std::uint16_t event) {
    switch (event) {
    case ZMQ_EVENT_HANDSHAKE_SUCCEEDED:
        connection.established = true;
        connection.ended = false;
        connection.since = Clock::now();
        connection.doubted = never;
        if (std::exchange(connection.request.repeated, false)) {
            doubt(connection.request.arrivesOn, connection.when);
        }
        connection.request.taken = true;
        break;
    case ZMQ_EVENT_DISCONNECTED:
        connection.lost = connection.lost || isOpen(connection.request);
        connection.established = false;
        connection.ended = true;
        connection.when = Clock::now();
        break;
    default:
        connection.ended = false;
        break;
    }
}

void readEvents(Connection& connection) {
    std::uint16_t event = 0;
    while (connection.monitor != nullptr && takeEvent(connection.monitor, event)) {
        noteEvent(connection, event);
    }
}

// When the connection is to be made anew.
Clock::time_point renewalTime(const Connection& connection, const void* requester) {
    Clock::time_point due = never;
    if (connection.doubted != never) {
        due = connection.doubted + recordPatience;
    }
    if (connection.ended) {
        due = connection.when + graceForRetry;
    }
    if (connection.lost && isAwaited(connection, requester)) {
        due = connection.when;
    }
    return due == never ? never : std::max(due, connection.renewed + renewalInterval);
}

void setInt(void* socket, int option, int value) {
    zmq_setsockopt(socket, option, &value, sizeof value);
}

// False when libzmq has given the connection up, with its queue, and perhaps in the middle of the message.
bool sendMessage(Connection& connection) {
    const Request& request = connection.request;
    connection.brokenOff =
        zmq_send(connection.socket, request.bytes, request.size, ZMQ_DONTWAIT) < 0 && errno == EAGAIN;
    return !connection.brokenOff;
}

// The REQ socket waits for a reply that does not come any more.
void sendAgain(Connection& connection) {
    setInt(connection.socket, ZMQ_REQ_RELAXED, 1);
    connection.lost = !sendMessage(connection);
    connection.request.owed = true;
    connection.request.repeated = true;
}

void forgetPeer(Connection& connection) {
    connection.doubted = never;
    connection.established = false;
    connection.ended = false;
}

// An old connection ends, with its attempts to connect, only when its socket takes part.
void takePart(const Connection& connection) {
    int events = 0;
    std::size_t size = sizeof events;
    zmq_getsockopt(connection.socket, ZMQ_EVENTS, &events, &size);
}

// libzmq 4.3.4 sends a request as an empty part and a text. When the connection ends between the two, a REQ
// socket takes what it is given next for that text, and sends it on the next connection, where no REP socket
// takes a text alone. So it is given an empty text, on a connection to nowhere, whose events come before
// those of the next one.
void endMessage(Connection& connection) {
    if (std::exchange(connection.brokenOff, false)) {
        zmq_connect(connection.socket, nowhere);
        zmq_send(connection.socket, nullptr, 0, ZMQ_DONTWAIT);
        zmq_disconnect(connection.socket, nowhere);
    }
}

void renew(Connection& connection, const void* requester) {
    std::size_t size = sizeof connection.commandDescriptor;
    zmq_getsockopt(connection.socket, ZMQ_FD, &connection.commandDescriptor, &size);
    setInt(connection.socket, ZMQ_LINGER, 0);
    forgetPeer(connection);
    zmq_disconnect(connection.socket, connection.endpoint);
    endMessage(connection);
    zmq_connect(connection.socket, connection.endpoint);
    connection.renewed = Clock::now();
    connection.lost = isOpen(connection.request);
    if (isAwaited(connection, requester)) {
        sendAgain(connection);
    }
}

// Milliseconds until the next renewal, rounded up.
long untilRenewal(const void* requester) {
    Clock::time_point due = never;
    for (const Connection& connection : connections) {
        if (connection.socket != nullptr) {
            due = std::min(due, renewalTime(connection, requester));
        }
    }
    if (due == never) {
        return withoutLimit;
    }
    return std::max(0L, static_cast<long>(std::chrono::ceil<Milliseconds>(due - Clock::now()).count()));
}

bool isDue(const Connection& connection, const void* requester) {
    const Clock::time_point due = renewalTime(connection, requester);
    return due != never && due <= Clock::now();
}

void renewWhatIsDue(const void* requester) {
    for (Connection& connection : connections) {
        if (connection.socket == nullptr) {
            continue;
        }
        if (isDue(connection, requester)) {
            readEvents(connection); // a peer may have come meanwhile
        }
        if (isDue(connection, requester)) {
            renew(connection, requester);
        }
    }
}

// The end of the monitor that is read; null when it cannot be had.
void* openMonitor(void* context, const char* name, int& descriptor) {
    void* monitor = zmq_socket(context, ZMQ_PAIR);
    if (monitor == nullptr) {
        return nullptr;
    }
    setInt(monitor, ZMQ_LINGER, 0);
    std::size_t size = sizeof descriptor;
    if (zmq_connect(monitor, name) != 0 || zmq_getsockopt(monitor, ZMQ_FD, &descriptor, &size) != 0) {
        zmq_close(monitor);
        return nullptr;
    }
    return monitor;
}

void watch(Connection& connection, void* context) {
    std::array<char, 40> name{};
    std::snprintf(name.data(), name.size(), "inproc://%p", connection.socket);
    if (zmq_socket_monitor(connection.socket, name.data(), watchedEvents) != 0) {
        return;
    }
    connection.monitor = openMonitor(context, name.data(), connection.monitorDescriptor);
    if (connection.monitor == nullptr) {
        zmq_socket_monitor(connection.socket, nullptr, 0);
    }
    // The descriptor tells of new events only once there has been none.
    readEvents(connection);
}

// A poll passes over what is no descriptor.
zmq_pollitem_t readable(int descriptor) {
    return {nullptr, descriptor, ZMQ_POLLIN, 0};
}

long shorter(long limit, long other) {
    return limit < 0 || (other >= 0 && other < limit) ? other : limit;
}

} // namespace

int connectSocket(void* context, void* socket, const char* endpoint) {
    auto* const place = std::find_if(connections.begin(), connections.end(),
                                     [](const Connection& candidate) { return candidate.socket == nullptr; });
    if (place != connections.end()) {
        *place = {};
        place->socket = socket;
        place->endpoint = endpoint;
        watch(*place, context);
    }
    return zmq_connect(socket, endpoint);
}

void stopWatching(void* socket) {
    Connection* connection = connectionOf(socket);
    if (connection == nullptr) {
        return;
    }
    if (connection->monitor != nullptr) {
        // The I/O thread may be waiting for room, with the lock that is needed next.
        readEvents(*connection);
        zmq_socket_monitor(socket, nullptr, 0);
        zmq_close(connection->monitor);
    }
    *connection = {};
}

void reconnect(void* socket, const char* endpoint) {
    Connection* connection = connectionOf(socket);
    if (connection != nullptr) {
        readEvents(*connection);
        forgetPeer(*connection);
    }
    if (zmq_disconnect(socket, endpoint) == 0) {
        if (connection != nullptr) {
            endMessage(*connection);
        }
        zmq_connect(socket, endpoint);
    }
}

void sendRequest(void* socket, const void* bytes, std::size_t size, RequestLife life, void* arrivesOn) {
    Connection* connection = connectionOf(socket);
    if (connection == nullptr) {
        zmq_send(socket, bytes, size, ZMQ_DONTWAIT);
        return;
    }
    readEvents(*connection);
    connection->lost = false;
    connection->request = {bytes, size, life, connection->established, true, false, arrivesOn};
    if (connection->brokenOff || !sendMessage(*connection)) {
        readEvents(*connection); // they are of the connection that has ended
        connection->request.taken = false;
        renew(*connection, socket);
    }
}

bool replyIsOwed(void* socket) {
    const Connection* connection = connectionOf(socket);
    return connection != nullptr && connection->request.owed;
}

void noteReply(void* socket) {
    if (Connection* connection = connectionOf(socket); connection != nullptr) {
        connection->request.owed = false;
    }
}

void settleRequest(void* socket) {
    if (Connection* connection = connectionOf(socket); connection != nullptr) {
        connection->request = {};
    }
}

int waitReadable(void* socket, long milliseconds, void* requester) {
    renewWhatIsDue(requester);
    // No more than libzmq polls without allocating.
    std::array<zmq_pollitem_t, 1 + 2 * maxConnections> items{{{socket, 0, ZMQ_POLLIN, 0}}};
    auto* item = items.data();
    for (const Connection& connection : connections) {
        const bool watched = connection.monitor != nullptr;
        *++item = readable(watched ? connection.monitorDescriptor : noDescriptor);
        *++item = readable(watched ? connection.commandDescriptor : noDescriptor);
    }
    const long limit = shorter(milliseconds, untilRenewal(requester));
    if (zmq_poll(items.data(), static_cast<int>(items.size()), limit) < 0) {
        return errno == EINTR ? 0 : -1;
    }
    item = items.data();
    for (Connection& connection : connections) {
        if ((++item)->revents != 0) {
            readEvents(connection);
        }
        if ((++item)->revents != 0) {
            takePart(connection);
        }
    }
    if ((items[0].revents & ZMQ_POLLIN) == 0) {
        return 0;
    }
    if (Connection* connection = connectionOf(socket); connection != nullptr) {
        connection->doubted = never;
    }
    return 1;
}

void keepConnectionsUp(void* requester) {
    for (Connection& connection : connections) {
        readEvents(connection);
        if (connection.socket != nullptr && connection.commandDescriptor != noDescriptor) {
            takePart(connection);
        }
    }
    renewWhatIsDue(requester);
}

} // namespace mpegfe
