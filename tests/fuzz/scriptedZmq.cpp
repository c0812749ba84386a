#include "scriptedZmq.h"

#include "check.h"
#include "support/connection.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <unistd.h>
#include <utility>
#include <zmq.h>

namespace scriptedZmq {
namespace {

// Two feeds of two sockets and the document socket: what a client can make the service hold.
constexpr std::size_t mostSockets = 5;
constexpr std::size_t mostContexts = 2;

constexpr std::size_t longestDocument = 24999;

struct Socket {
    int type;
    bool lent = false;                     // the document socket, which the service only uses
    int connections = 0;                   // that are open
    bool awaitsReply = false;              // an instruction has been sent and not answered
    bool more = false;                     // of the part received last
    MoreQuery query = MoreQuery::answered; // how the next query is answered
    std::set<std::string> subscriptions{}; // beginnings of topics
};

struct State {
    Peers peers;
    std::map<void*, Socket> sockets;
    std::set<void*> contexts;
    std::uintptr_t lastHandle = 0;
    void* documents = nullptr;
    Socket* receiving = nullptr; // the subscriber that received last
    std::optional<Reply> reply;
    std::size_t tries = 0;
    std::size_t sleeps = 0;
};
State state;

// Handles are numbers that no address has, so that whoever uses one as a pointer is found out.
void* newHandle() {
    return reinterpret_cast<void*>(++state.lastHandle);
}

Socket& socketOf(void* handle) {
    const auto found = state.sockets.find(handle);
    check(found != state.sockets.end(), "the socket is open");
    return found->second;
}

// Not inline, so that a profiler can tell libzmq's copies from what is done here beside them.
[[gnu::noinline]] void copyOut(const std::vector<unsigned char>& bytes, void* buffer, std::size_t size) {
    std::copy_n(bytes.begin(), std::min(bytes.size(), size), static_cast<unsigned char*>(buffer));
}

int receivePublished(Socket& socket, void* buffer, std::size_t size) {
    state.receiving = &socket;
    const std::optional<Part> part = state.peers.publishPart ? state.peers.publishPart() : std::nullopt;
    if (!part) {
        throw PeersAreSilent{};
    }
    socket.query = part->query;
    if (part->errorNumber != 0) {
        errno = part->errorNumber;
        return -1;
    }
    socket.more = part->more;
    copyOut(part->bytes, buffer, size);
    return static_cast<int>(part->sentLength);
}

int receiveInstructionReply(Socket& socket, void* buffer, std::size_t size) {
    check(socket.awaitsReply, "an instruction was sent before its reply is awaited");
    socket.awaitsReply = false;
    std::memset(buffer, 0xA5, std::min(size, state.peers.instructionReplyLength));
    return static_cast<int>(state.peers.instructionReplyLength);
}

int receiveReply(void* buffer, std::size_t size) {
    ++state.tries;
    if (!state.reply || state.reply->emptyTries > 0) {
        if (state.reply) {
            --state.reply->emptyTries;
        }
        errno = EAGAIN;
        return -1;
    }
    const Reply reply = *std::exchange(state.reply, std::nullopt);
    copyOut(reply.bytes, buffer, size);
    return static_cast<int>(reply.sentLength);
}

void sendInstruction(Socket& socket, std::size_t size) {
    check(size == 2, "an instruction has two bytes");
    check(!socket.awaitsReply, "the last instruction is answered before the next is sent");
    socket.awaitsReply = true;
}

void sendDocument(const void* bytes, std::size_t size) {
    check(size > 0 && size <= longestDocument, "a document is a text of the buffer's size at most");
    check(std::memchr(bytes, '\0', size) == nullptr, "a document holds no terminator");
    state.reply = state.peers.takeDocument ? state.peers.takeDocument() : std::nullopt;
}

} // namespace

void begin(Peers peers) {
    for (const auto& [handle, socket] : state.sockets) {
        mpegfe::stopWatching(handle);
    }
    state = {};
    state.peers = std::move(peers);
    state.documents = newHandle();
    state.sockets[state.documents] = {.type = ZMQ_REQ, .lent = true, .connections = 1};
}

void* documentSocket() {
    return state.documents;
}

bool isSubscribed(std::string_view topic) {
    return std::ranges::any_of(state.receiving->subscriptions,
                               [&](const std::string& beginning) { return topic.starts_with(beginning); });
}

void expectReply(Reply reply) {
    state.reply = std::move(reply);
}

std::size_t tries() {
    return state.tries;
}

std::size_t sleeps() {
    return state.sleeps;
}

} // namespace scriptedZmq

using namespace scriptedZmq;

extern "C" {

void* __wrap_zmq_ctx_new() {
    void* context = newHandle();
    state.contexts.insert(context);
    check(state.contexts.size() <= mostContexts, "contexts stay bounded");
    return context;
}

int __wrap_zmq_ctx_destroy(void* context) {
    check(state.contexts.erase(context) == 1, "the context is open");
    return 0;
}

void* __wrap_zmq_socket(void* context, int type) {
    check(state.contexts.contains(context), "the context is open");
    void* socket = newHandle();
    state.sockets[socket] = {.type = type};
    check(state.sockets.size() <= mostSockets, "sockets stay bounded");
    return socket;
}

int __wrap_zmq_close(void* socket) {
    check(!socketOf(socket).lent, "the document socket is not the session's to close");
    state.sockets.erase(socket);
    return 0;
}

int __wrap_zmq_connect(void* socket, const char*) {
    ++socketOf(socket).connections;
    return 0;
}

// Whatever was under way on the connection is lost with it.
int __wrap_zmq_disconnect(void* socket, const char*) {
    Socket& disconnected = socketOf(socket);
    check(disconnected.lent && disconnected.connections == 1, "only documents are given up, each once");
    --disconnected.connections;
    state.reply.reset();
    return 0;
}

int __wrap_zmq_setsockopt(void* socket, int option, const void* value, std::size_t size) {
    Socket& set = socketOf(socket);
    check(option == ZMQ_LINGER || set.type == ZMQ_SUB, "only a subscriber subscribes");
    const std::string beginning(static_cast<const char*>(value), size);
    if (option == ZMQ_SUBSCRIBE) {
        set.subscriptions.insert(beginning);
    } else if (option == ZMQ_UNSUBSCRIBE) {
        set.subscriptions.erase(beginning);
    }
    return 0;
}

int __wrap_zmq_getsockopt(void* socket, int option, void* value, std::size_t* size) {
    Socket& asked = socketOf(socket);
    check(option == ZMQ_RCVMORE && *size == sizeof(int), "the query is of ZMQ_RCVMORE, into an int");
    const MoreQuery query = std::exchange(asked.query, MoreQuery::answered);
    if (query != MoreQuery::fails) {
        const int more =
            query == MoreQuery::answered ? asked.more : query == MoreQuery::failsAndWritesFurther;
        std::memcpy(value, &more, sizeof more);
    }
    errno = ETERM;
    return query == MoreQuery::answered ? 0 : -1;
}

int __wrap_zmq_send(void* socket, const void* bytes, std::size_t size, int flags) {
    Socket& sending = socketOf(socket);
    check(flags == ZMQ_DONTWAIT && sending.type == ZMQ_REQ, "requests alone are sent, each whole");
    check(sending.connections == 1, "a request has one peer");
    if (sending.lent) {
        sendDocument(bytes, size);
    } else {
        sendInstruction(sending, size);
    }
    return static_cast<int>(size);
}

int __wrap_zmq_recv(void* socket, void* buffer, std::size_t size, int flags) {
    Socket& receiving = socketOf(socket);
    check(flags == ZMQ_DONTWAIT, "waits keep the connections up");
    if (receiving.lent) {
        return receiveReply(buffer, size);
    }
    return receiving.type == ZMQ_SUB ? receivePublished(receiving, buffer, size)
                                     : receiveInstructionReply(receiving, buffer, size);
}

// A receive that found nothing is tried again.
int __wrap_zmq_poll(zmq_pollitem_t* items, int, long) {
    items[0].revents = ZMQ_POLLIN;
    return 1;
}

// Nothing is watched: the peers here neither break the protocol nor go.
int __wrap_zmq_socket_monitor(void*, const char*, int) {
    errno = EMFILE;
    return -1;
}

int __wrap_usleep(useconds_t) {
    ++state.sleeps;
    return 0;
}

} // extern "C"
