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

using namespace std::string_view_literals;

// The handles that the wrapped calls give out. Nothing is in them.
int context;
int subscriber;
int instructor;
int documents;

std::vector<PublishedRecord> messages;
std::size_t nextMessage;
std::size_t nextPart;                   // of the three of nextMessage
std::vector<std::string> subscriptions; // beginnings of topics

bool isSubscribed(const PublishedRecord& message) {
    return std::any_of(subscriptions.begin(), subscriptions.end(), [&](const std::string& beginning) {
        return std::string_view(message.topic->name).starts_with(beginning);
    });
}

void goOn() {
    nextMessage = (nextMessage + 1) % messages.size();
}

std::string_view takePart() {
    for (std::size_t skipped = 0; nextPart == 0 && !isSubscribed(messages[nextMessage]); ++skipped) {
        if (skipped == messages.size()) {
            std::fputs("the script has no message for the subscriptions\n", stderr);
            std::exit(1);
        }
        goOn();
    }
    const auto& [topic, bytes] = messages[nextMessage];
    const std::string_view part = std::array{std::string_view(topic->name), "1"sv,
                                             std::string_view(bytes.data(), bytes.size())}[nextPart];
    nextPart = (nextPart + 1) % 3;
    if (nextPart == 0) {
        goOn();
    }
    return part;
}

std::string_view takeAnswer(const void* socket) {
    if (socket == &subscriber) {
        return takePart();
    }
    return socket == &documents ? R"({"reply": "ack"})"sv : "\1\0"sv;
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
        std::erase(subscriptions, beginning); // the service subscribes to none twice
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
