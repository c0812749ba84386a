#include "support/zmqFaults.h"

#include "support/connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <optional>
#include <poll.h>
#include <set>

namespace zmqFaults {

Hooks hooks;

namespace {

struct Failure {
    Call call;
    std::size_t atCall;
    int errorNumber;
    std::optional<int> written;
};

struct OpenSocket {
    int type;
    std::string endpoint;
    bool insideMessage;
};

struct Seen {
    std::vector<Failure> failures;
    std::map<Call, std::size_t> calls;
    std::map<void*, OpenSocket> sockets;
    std::set<void*> monitors; // their reading ends, which stay inside the process and count for nothing
    std::set<void*> contexts;
    std::vector<int> lingers;
    std::vector<OptionSet> options;
    std::vector<std::string> endpoints;
};
Seen seen;

thread_local bool isSending = false;

// Counts the call; the failure that was asked for at it, if any.
std::optional<Failure> failureOf(Call call) {
    const std::size_t number = ++seen.calls[call];
    const auto failure = std::ranges::find_if(seen.failures, [&](const Failure& candidate) {
        return candidate.call == call && candidate.atCall == number;
    });
    return failure == seen.failures.end() ? std::nullopt : std::optional(*failure);
}

void setLinger(void* socket, int linger) {
    __real_zmq_setsockopt(socket, ZMQ_LINGER, &linger, sizeof linger);
}

int lingerOf(void* socket) {
    int linger = 0;
    std::size_t size = sizeof linger;
    __real_zmq_getsockopt(socket, ZMQ_LINGER, &linger, &size);
    return linger;
}

// The socket as the service opened it; null for one that a test lent to the service.
OpenSocket* openSocket(void* socket) {
    const auto found = seen.sockets.find(socket);
    return found == seen.sockets.end() ? nullptr : &found->second;
}

// The feed's sockets are waited for here, so that a script decides what each wait meets.
bool waitsHere(const OpenSocket* open) {
    return open != nullptr &&
           (open->type == ZMQ_SUB || open->endpoint == "ipc:///run/shm/zmq/uRO_MMR_MPEGFE-1");
}

std::string endpointOf(void* socket) {
    const OpenSocket* open = openSocket(socket);
    return open == nullptr ? "" : open->endpoint;
}

bool moreParts(void* socket) {
    int more = 0;
    std::size_t size = sizeof more;
    __real_zmq_getsockopt(socket, ZMQ_RCVMORE, &more, &size);
    return more != 0;
}

} // namespace

void failCall(Call call, int nth, int errorNumber) {
    seen.failures.push_back({call, seen.calls[call] + static_cast<std::size_t>(nth), errorNumber, {}});
}

void failMoreQuery(int nth, int written) {
    seen.failures.push_back(
        {Call::option, seen.calls[Call::option] + static_cast<std::size_t>(nth), ETERM, written});
}

int openSockets() {
    return static_cast<int>(seen.sockets.size());
}

int openContexts() {
    return static_cast<int>(seen.contexts.size());
}

int openMonitors() {
    return static_cast<int>(seen.monitors.size());
}

std::vector<int> lingersAtClose() {
    return seen.lingers;
}

std::vector<OptionSet> optionsSet() {
    return seen.options;
}

std::vector<std::string> endpointsConnected() {
    return seen.endpoints;
}

std::size_t callsOf(Call call) {
    return seen.calls[call];
}

void forgetEverything() {
    hooks = {};
    for (const auto& [socket, state] : seen.sockets) {
        mpegfe::stopWatching(socket);
        setLinger(socket, 0);
        __real_zmq_close(socket);
    }
    for (void* context : seen.contexts) {
        __real_zmq_ctx_destroy(context);
    }
    seen = {};
}

} // namespace zmqFaults

using namespace zmqFaults;

extern "C" {

int __real_zmq_ctx_term(void* context);

// libzmq's own calls come here too.
int poll(pollfd* descriptors, nfds_t count, int timeout) {
    static auto* const next = reinterpret_cast<int (*)(pollfd*, nfds_t, int)>(dlsym(RTLD_NEXT, "poll"));
    const int result = next(descriptors, count, timeout);
    if (isSending && result == 0 && hooks.insideSend) {
        hooks.insideSend();
    }
    return result;
}

void* __wrap_zmq_ctx_new() {
    if (const auto failure = failureOf(Call::contextNew)) {
        errno = failure->errorNumber;
        return nullptr;
    }
    void* context = __real_zmq_ctx_new();
    seen.contexts.insert(context);
    return context;
}

int __wrap_zmq_ctx_destroy(void* context) {
    if (const auto failure = failureOf(Call::contextEnd)) {
        errno = failure->errorNumber;
        return -1;
    }
    seen.contexts.erase(context);
    return __real_zmq_ctx_destroy(context);
}

int __wrap_zmq_ctx_term(void* context) {
    seen.contexts.erase(context);
    return __real_zmq_ctx_term(context);
}

void* __wrap_zmq_socket(void* context, int type) {
    if (type == ZMQ_PAIR) {
        if (const auto failure = failureOf(Call::monitorSocketNew)) {
            errno = failure->errorNumber;
            return nullptr;
        }
        void* monitor = __real_zmq_socket(context, type);
        seen.monitors.insert(monitor);
        return monitor;
    }
    if (const auto failure = failureOf(Call::socketNew)) {
        errno = failure->errorNumber;
        return nullptr;
    }
    void* socket = __real_zmq_socket(context, type);
    // A script that goes wrong ends in a failed receive rather than in a test that hangs.
    const int limit = 10000;
    __real_zmq_setsockopt(socket, ZMQ_RCVTIMEO, &limit, sizeof limit);
    seen.sockets[socket] = {type, "", false};
    return socket;
}

int __wrap_zmq_close(void* socket) {
    if (seen.monitors.erase(socket) != 0) {
        return __real_zmq_close(socket);
    }
    if (seen.sockets.erase(socket) != 0) {
        seen.lingers.push_back(lingerOf(socket));
    }
    if (hooks.beforeClose) {
        hooks.beforeClose(socket);
    }
    return __real_zmq_close(socket);
}

int __wrap_zmq_connect(void* socket, const char* endpoint) {
    if (seen.monitors.contains(socket)) {
        if (const auto failure = failureOf(Call::monitorConnect)) {
            errno = failure->errorNumber;
            return -1;
        }
        return __real_zmq_connect(socket, endpoint);
    }
    if (const auto failure = failureOf(Call::connect)) {
        errno = failure->errorNumber;
        return -1;
    }
    if (OpenSocket* open = openSocket(socket)) {
        open->endpoint = endpoint;
    }
    seen.endpoints.emplace_back(endpoint);
    return __real_zmq_connect(socket, endpoint);
}

int __wrap_zmq_setsockopt(void* socket, int option, const void* value, std::size_t size) {
    const int result = __real_zmq_setsockopt(socket, option, value, size);
    if (option == ZMQ_SUBSCRIBE || option == ZMQ_UNSUBSCRIBE) {
        if (hooks.afterSubscription) {
            hooks.afterSubscription(socket, option == ZMQ_SUBSCRIBE, {static_cast<const char*>(value), size});
        }
    } else if (option != ZMQ_LINGER) {
        int number = 0;
        std::memcpy(&number, value, std::min(size, sizeof number));
        seen.options.push_back({option, number, !endpointOf(socket).empty()});
    }
    return result;
}

int __wrap_zmq_getsockopt(void* socket, int option, void* value, std::size_t* size) {
    const OpenSocket* open = openSocket(socket);
    if (seen.monitors.contains(socket) || (open != nullptr && open->type != ZMQ_SUB)) {
        return __real_zmq_getsockopt(socket, option, value, size);
    }
    if (const auto failure = failureOf(Call::option)) {
        if (failure->written) {
            std::memcpy(value, &*failure->written, sizeof *failure->written);
        }
        errno = failure->errorNumber;
        return -1;
    }
    return __real_zmq_getsockopt(socket, option, value, size);
}

int __wrap_zmq_send(void* socket, const void* bytes, std::size_t size, int flags) {
    isSending = true;
    const int result = __real_zmq_send(socket, bytes, size, flags);
    isSending = false;
    if (result >= 0 && hooks.afterSend) {
        hooks.afterSend(socket, endpointOf(socket), {static_cast<const char*>(bytes), size});
    }
    return result;
}

int __wrap_zmq_recv(void* socket, void* bytes, std::size_t size, int flags) {
    if (seen.monitors.contains(socket)) {
        if (const auto failure = failureOf(Call::monitorReceive)) {
            errno = failure->errorNumber;
            return -1;
        }
        return __real_zmq_recv(socket, bytes, size, flags);
    }
    if (const auto failure = failureOf(Call::receive)) {
        errno = failure->errorNumber;
        return -1;
    }
    OpenSocket* open = openSocket(socket);
    if (open != nullptr && open->type == ZMQ_SUB && !open->insideMessage && hooks.beforeMessage) {
        hooks.beforeMessage(socket);
    }
    const bool waits = waitsHere(open);
    const int result = __real_zmq_recv(socket, bytes, size, waits ? 0 : flags);
    if (waits && result < 0 && errno == EAGAIN) {
        errno = ETERM;
    }
    if (open != nullptr) {
        open->insideMessage = result >= 0 && moreParts(socket);
    }
    return result;
}

int __wrap_zmq_poll(zmq_pollitem_t* items, int count, long timeout) {
    return hooks.insteadOfPoll ? hooks.insteadOfPoll(items, count, timeout)
                               : __real_zmq_poll(items, count, timeout);
}

int __wrap_zmq_socket_monitor(void* socket, const char* endpoint, int events) {
    if (endpoint == nullptr) { // the end of monitoring
        return __real_zmq_socket_monitor(socket, endpoint, events);
    }
    if (const auto failure = failureOf(Call::monitor)) {
        errno = failure->errorNumber;
        return -1;
    }
    return __real_zmq_socket_monitor(socket, endpoint, events);
}

int __wrap_usleep(useconds_t microseconds) {
    if (hooks.insteadOfSleep) {
        hooks.insteadOfSleep(microseconds);
        return 0;
    }
    return __real_usleep(microseconds);
}

} // extern "C"
