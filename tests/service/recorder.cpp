// A library that is preloaded into the service. It writes a line to the service's own standard output for
// each ZeroMQ call that the outside can notice: console lines, subscriptions, instruction words, documents
// and acknowledgements so become one text in their true order.
//
// A line is "  | SOCKET: WHAT". Sockets are called after what they carry: "requests" and "documents" to the
// media manager, "instructions" and "records" to the parser, with a number from the second of its name on.
//
// SIGUSR1 interrupts the call that the service waits in, and does nothing else. SIGUSR2 ends the process
// through exit(), so that leak checks and coverage data are written.
#include "wire/endpoints.h"

#include <zmq.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <string>
#include <string_view>

namespace {

constexpr const char* newSocket = "new socket"; // not connected yet

// What has been opened so far. Never destroyed: the service may call in until its last moment.
struct Names {
    std::map<const void*, std::string> sockets;
    std::map<const void*, std::string> contexts;
    std::map<std::string, int> opened;
    int contextCount = 0;
};

Names& names() {
    static Names* const instance = new Names;
    return *instance;
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// libzmq calls some of its own public functions; only the service's calls are recorded.
thread_local int depth = 0;

struct Nested {
    Nested() {
        ++depth;
    }
    ~Nested() {
        --depth;
    }
    Nested(const Nested&) = delete;
    Nested& operator=(const Nested&) = delete;
    bool outermost() const {
        return depth == 1;
    }
};

struct Place {
    std::string_view endpoint;
    const char* name;
};
constexpr std::array<Place, 4> places{{
    {wire::requestEndpoint, "requests"},
    {wire::documentEndpoint, "documents"},
    {wire::instructionEndpoint, "instructions"},
    {"tcp://127.0.0.1:" WIRE_PARSER_PORT, "records"},
}};

const char* placeName(std::string_view endpoint) {
    const auto* place = std::find_if(places.begin(), places.end(),
                                     [&](const Place& candidate) { return candidate.endpoint == endpoint; });
    return place == places.end() ? "unknown" : place->name;
}

struct Option {
    int option;
    const char* name;
};
constexpr std::array<Option, 4> intOptions{{
    {ZMQ_LINGER, "linger"},
    {ZMQ_REQ_RELAXED, "relaxed"},
    {ZMQ_REQ_CORRELATE, "correlate"},
    {ZMQ_RCVTIMEO, "receive timeout"},
}};

// Limits on what the service holds of what comes in: no peer that keeps to them notices.
constexpr std::array<int, 2> limits{ZMQ_MAXMSGSIZE, ZMQ_RCVHWM};

bool isLimit(int option) {
    return std::find(limits.begin(), limits.end(), option) != limits.end();
}

const std::string& nameOf(const void* socket) {
    return names().sockets[socket];
}

// The sockets of libzmq's monitors stay inside the process and have no name.
bool isSeen(const void* socket) {
    return names().sockets.contains(socket);
}

void record(const std::string& who, const std::string& what) {
    std::printf("  | %s: %s\n", who.c_str(), what.c_str());
}

bool isText(std::string_view bytes) {
    return !bytes.empty() && std::all_of(bytes.begin(), bytes.end(),
                                         [](unsigned char c) { return std::isprint(c) || c >= 0x80; });
}

std::string hex(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        std::array<char, 4> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x ", static_cast<unsigned char>(byte));
        text += digits.data();
    }
    text.pop_back();
    return text;
}

// Names a socket at its first connection; it keeps the name when it connects again.
void nameAfter(const void* socket, const std::string& place) {
    std::string& name = names().sockets[socket];
    if (name.empty() || name == newSocket) {
        const int count = ++names().opened[place];
        name = count == 1 ? place : place + ' ' + std::to_string(count);
    }
}

// A message part as the transcript shows it: text as it stands, instruction words as hexadecimal bytes, any
// other by its length.
std::string shown(const std::string& socketName, const void* data, std::size_t length) {
    const std::string_view bytes(static_cast<const char*>(data), length);
    if (socketName.starts_with("instructions") && length > 0) {
        return hex(bytes);
    }
    return isText(bytes) ? std::string(bytes) : std::to_string(length) + " bytes";
}

std::string shownReceived(const std::string& socketName, const void* buffer, std::size_t capacity,
                          std::size_t length) {
    if (capacity == 0) {
        return std::to_string(length) + " bytes and drops them";
    }
    const std::string text = shown(socketName, buffer, std::min(length, capacity));
    return length <= capacity ? text : text + " (cut from " + std::to_string(length) + " bytes)";
}

std::string shownOption(int option, const void* value, std::size_t length) {
    if (option == ZMQ_SUBSCRIBE || option == ZMQ_UNSUBSCRIBE) {
        const std::string topic(static_cast<const char*>(value), length);
        return (option == ZMQ_SUBSCRIBE ? "subscribe " : "unsubscribe ") + topic;
    }
    const auto* known = std::find_if(intOptions.begin(), intOptions.end(),
                                     [&](const Option& row) { return row.option == option; });
    if (known == intOptions.end() || length != sizeof(int)) {
        return "option " + std::to_string(option);
    }
    int number = 0;
    std::memcpy(&number, value, sizeof number);
    return std::string(known->name) + ' ' + std::to_string(number);
}

int recordedDestroy(const Nested& call, const char* function, void* context) {
    if (call.outermost()) {
        record(names().contexts[context], "destroy");
    }
    return next<int(void*)>(function)(context);
}

void leave(int) {
    std::exit(EXIT_SUCCESS);
}

void doNothing(int) {}

[[gnu::constructor]] void handleSignals() {
    struct sigaction interrupt {}; // without SA_RESTART, so that calls end with EINTR
    interrupt.sa_handler = doNothing;
    sigaction(SIGUSR1, &interrupt, nullptr);
    std::signal(SIGUSR2, leave);
}

} // namespace

extern "C" {

void* zmq_ctx_new() {
    const Nested call;
    void* const context = next<decltype(zmq_ctx_new)>("zmq_ctx_new")();
    if (call.outermost()) {
        names().contexts[context] = "context " + std::to_string(++names().contextCount);
        record(names().contexts[context], "new");
    }
    return context;
}

// Two names of one function.
int zmq_ctx_destroy(void* context) {
    const Nested call;
    return recordedDestroy(call, "zmq_ctx_destroy", context);
}

int zmq_ctx_term(void* context) {
    const Nested call;
    return recordedDestroy(call, "zmq_ctx_term", context);
}

void* zmq_socket(void* context, int type) {
    const Nested call;
    void* const socket = next<decltype(zmq_socket)>("zmq_socket")(context, type);
    if (call.outermost() && type != ZMQ_PAIR) {
        names().sockets[socket] = newSocket;
    }
    return socket;
}

int zmq_connect(void* socket, const char* endpoint) {
    const Nested call;
    if (call.outermost() && isSeen(socket)) {
        nameAfter(socket, placeName(endpoint));
        record(nameOf(socket), std::string("connect ") + endpoint);
    }
    return next<decltype(zmq_connect)>("zmq_connect")(socket, endpoint);
}

int zmq_disconnect(void* socket, const char* endpoint) {
    const Nested call;
    if (call.outermost()) {
        record(nameOf(socket), std::string("disconnect ") + endpoint);
    }
    return next<decltype(zmq_disconnect)>("zmq_disconnect")(socket, endpoint);
}

int zmq_setsockopt(void* socket, int option, const void* value, std::size_t length) {
    const Nested call;
    if (call.outermost() && isSeen(socket) && !isLimit(option)) {
        record(nameOf(socket), shownOption(option, value, length));
    }
    return next<decltype(zmq_setsockopt)>("zmq_setsockopt")(socket, option, value, length);
}

int zmq_send(void* socket, const void* data, std::size_t length, int flags) {
    const Nested call;
    const int sent = next<decltype(zmq_send)>("zmq_send")(socket, data, length, flags);
    if (call.outermost() && sent >= 0) {
        record(nameOf(socket), "sends " + shown(nameOf(socket), data, length));
    }
    return sent;
}

int zmq_recv(void* socket, void* buffer, std::size_t capacity, int flags) {
    const Nested call;
    const int length = next<decltype(zmq_recv)>("zmq_recv")(socket, buffer, capacity, flags);
    if (call.outermost() && length >= 0 && isSeen(socket)) {
        record(nameOf(socket), "receives " + shownReceived(nameOf(socket), buffer, capacity,
                                                           static_cast<std::size_t>(length)));
    }
    return length;
}

int zmq_close(void* socket) {
    const Nested call;
    if (call.outermost() && isSeen(socket)) {
        record(nameOf(socket), "close");
        names().sockets.erase(socket);
    }
    return next<decltype(zmq_close)>("zmq_close")(socket);
}

} // extern "C"
