#include "replayedSockets.h"

#include <zmq.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view acknowledgement = R"({"reply": "ack"})";

std::vector<PublishedRecord> messages;
std::size_t nextMessage;
int nextPart; // of the three of nextMessage

std::vector<std::string> subscriptions; // of the SUB socket: beginnings of topics

bool isSubscribed(const PublishedRecord& message) {
    return std::any_of(subscriptions.begin(), subscriptions.end(), [&](const std::string& beginning) {
        return std::string_view(message.topic->name).starts_with(beginning);
    });
}

// Goes on to the next message that is subscribed to.
void findMessage() {
    for (std::size_t skipped = 0; skipped < messages.size(); ++skipped) {
        if (isSubscribed(messages[nextMessage])) {
            return;
        }
        nextMessage = (nextMessage + 1) % messages.size();
    }
    std::fputs("the script has no message for the subscriptions\n", stderr);
    std::exit(1);
}

// The handles that the wrapped calls give out. Nothing is in them.
int context;
int subscriber;
int instructor;
int documents;

std::string_view takePart() {
    if (nextPart == 0) {
        findMessage();
    }
    const PublishedRecord& message = messages[nextMessage];
    const std::array<std::string_view, 3> parts{message.topic->name, "1",
                                                std::string_view(message.bytes.data(), message.bytes.size())};
    const std::string_view part = parts[static_cast<std::size_t>(nextPart)];
    nextPart = (nextPart + 1) % static_cast<int>(parts.size());
    if (nextPart == 0) {
        nextMessage = (nextMessage + 1) % messages.size();
    }
    return part;
}

std::string_view takeAnswer(const void* socket) {
    using namespace std::string_view_literals;
    if (socket == &subscriber) {
        return takePart();
    }
    return socket == &documents ? acknowledgement : "\1\0"sv;
}

} // namespace

void replay(std::vector<PublishedRecord> script) {
    messages = std::move(script);
    nextMessage = 0;
    nextPart = 0;
}

void* documentSocket() {
    return &documents;
}

void* recordSocket() {
    subscriptions.assign(1, "");
    return &subscriber;
}

// What the linker puts in the place of libzmq's calls, and of usleep, which the reply wait calls.
extern "C" {

void* __wrap_zmq_ctx_new() {
    return &context;
}

int __wrap_zmq_ctx_destroy(void*) {
    return 0;
}

void* __wrap_zmq_socket(void*, int type) {
    return type == ZMQ_SUB ? &subscriber : &instructor;
}

int __wrap_zmq_connect(void*, const char*) {
    return 0;
}

int __wrap_zmq_close(void* socket) {
    if (socket == &subscriber) {
        subscriptions.clear();
    }
    return 0;
}

int __wrap_zmq_setsockopt(void*, int option, const void* value, std::size_t length) {
    const std::string beginning(static_cast<const char*>(value), length);
    if (option == ZMQ_SUBSCRIBE) {
        subscriptions.push_back(beginning);
    } else if (option == ZMQ_UNSUBSCRIBE) {
        const auto found = std::find(subscriptions.begin(), subscriptions.end(), beginning);
        if (found != subscriptions.end()) {
            subscriptions.erase(found);
        }
    }
    return 0;
}

// ZMQ_RCVMORE is the only option that the service asks for.
int __wrap_zmq_getsockopt(void*, int, void* value, std::size_t*) {
    const int more = nextPart != 0 ? 1 : 0;
    std::memcpy(value, &more, sizeof more);
    return 0;
}

int __wrap_zmq_send(void*, const void*, std::size_t length, int) {
    return static_cast<int>(length);
}

int __wrap_zmq_recv(void* socket, void* buffer, std::size_t size, int) {
    const std::string_view answer = takeAnswer(socket);
    std::memcpy(buffer, answer.data(), std::min(size, answer.size()));
    return static_cast<int>(answer.size());
}

// Nothing is watched: the peers here do not go.
int __wrap_zmq_socket_monitor(void*, const char*, int) {
    return -1;
}

int __wrap_usleep(unsigned) {
    return 0;
}

} // extern "C"
