// Connections that outlive their peers. libzmq connects again when a peer goes, but never after one has
// broken the protocol: of the wrong socket type or mechanism, with a malformed greeting or command, with a
// frame that is too large. It says neither. So every connection is watched through libzmq's monitor, and made
// anew when libzmq has given it up. The monitor's events are read in every wait of the service, because one
// whose queue is full stops libzmq's I/O thread.
//
// Sockets that were not connected here (a test's own) are used as they are.
#pragma once

#include <cstddef>

namespace mpegfe {

// How long a request that has been sent concerns its peers.
enum class RequestLife {
    oncePeer,      // one peer at most takes it: sent again only when it has reached none
    untilReplaced, // each new peer is told, once somebody waits for what it asks for
};

// Connects the socket, which has no connection yet, and watches the connection. endpoint lives as long as the
// socket. Returns what zmq_connect does. Without a descriptor left for the watching it is done without.
int connectSocket(void* context, void* socket, const char* endpoint);

// Ends the watching. The connection itself stays.
void stopWatching(void* socket);

// Drops what the connection has queued in either direction, and makes it anew. A socket without a connection
// to this endpoint is left alone.
void reconnect(void* socket, const char* endpoint);

// Sends a request as one part without waiting for a peer, and keeps its place for the case that it has to be
// sent again, until settleRequest or the next one. The bytes stay where they are for so long. arrivesOn is
// the socket on which what is asked for comes, besides the reply, or null: when nothing has come 3 s after
// another peer has been sent the request, its connection is made anew, too.
void sendRequest(void* socket, const void* bytes, std::size_t size, RequestLife life,
                 void* arrivesOn = nullptr);

// Whether a request has been sent, or sent again, whose reply has not been noted.
bool replyIsOwed(void* socket);
void noteReply(void* socket);

// Forgets the request.
void settleRequest(void* socket);

inline constexpr long withoutLimit = -1;

// Waits until the socket can be read, for at most so many milliseconds, and keeps all connections up while it
// waits. requester is the socket whose request asks for what is waited for, or null. Returns 1 when the
// socket can be read; 0 when not, which may be before the time is over; -1 when it cannot be waited for.
int waitReadable(void* socket, long milliseconds, void* requester);

// The same for a wait that polls by itself: reads the events that there are and makes anew what is due.
void keepConnectionsUp(void* requester);

} // namespace mpegfe
