#include "recordStreams.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

// Messages and bytes that may pile up on the way, at each of the two ends.
constexpr int messagesOnTheWay = 50;
constexpr int bytesOnTheWay = 128 * 1024;

// More than all that can pile up.
constexpr int rotationsToSettle = 20;

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "bench: %s: %s\n", what, zmq_strerror(zmq_errno()));
        std::exit(1);
    }
}

void skipMessages(void* subscriber, std::size_t count) {
    std::array<char, sizeof(AvPgmRecord)> part{};
    for (std::size_t parts = 3 * count; parts > 0; --parts) {
        require(zmq_recv(subscriber, part.data(), part.size(), 0) >= 0, "no message");
    }
}

} // namespace

Context::Context() : context(zmq_ctx_new()) {
    require(context != nullptr, "no context");
}

Context::~Context() {
    zmq_ctx_term(context);
}

Socket::Socket(const Context& context, int type) : socket(zmq_socket(context.get(), type)) {
    require(socket != nullptr, "no socket");
    set(ZMQ_LINGER, 0);
}

Socket::~Socket() {
    zmq_close(socket);
}

void Socket::set(int option, int value) {
    require(zmq_setsockopt(socket, option, &value, sizeof value) == 0, "no such option");
}

void Socket::subscribeToEverything() {
    require(zmq_setsockopt(socket, ZMQ_SUBSCRIBE, "", 0) == 0, "no subscription");
}

Rotation::Rotation(bool changing) : changes(changing), first(allPublishedNow()), second(first) {
    for (PublishedRecord& record : second) {
        record.bytes.back() = static_cast<char>(record.bytes.back() ^ 1);
    }
}

void Rotation::publishAll(void* publisher) {
    for (const PublishedRecord& record : changes&& turn++ % 2 == 1 ? second : first) {
        publish(publisher, record);
    }
}

WireStream::WireStream(bool changing) : rotation(changing) {
    for (Socket* end : {&publisher, &receiving}) {
        end->set(ZMQ_SNDHWM, messagesOnTheWay);
        end->set(ZMQ_RCVHWM, messagesOnTheWay);
        end->set(ZMQ_SNDBUF, bytesOnTheWay);
        end->set(ZMQ_RCVBUF, bytesOnTheWay);
    }
    publisher.set(ZMQ_XPUB_NODROP, 1);
    publisher.set(ZMQ_SNDTIMEO, 100); // so that the thread sees the end
    require(zmq_bind(publisher.get(), "tcp://127.0.0.1:*") == 0, "no TCP port");
    std::array<char, 64> endpoint{};
    std::size_t size = endpoint.size();
    zmq_getsockopt(publisher.get(), ZMQ_LAST_ENDPOINT, endpoint.data(), &size);
    receiving.subscribeToEverything();
    require(zmq_connect(receiving.get(), endpoint.data()) == 0, "no connection");
    thread = std::jthread([this] { publishForEver(); });
}

WireStream::~WireStream() {
    stopping = true;
}

void WireStream::prepareTurn() {
    skipMessages(receiving.get(), rotationsToSettle * topics.size());
}

void WireStream::publishForEver() {
    while (!stopping) {
        rotation.publishAll(publisher.get());
    }
}

QueuedStream::QueuedStream(bool changing) : rotation(changing) {
    publisher.set(ZMQ_SNDHWM, 0);
    receiving.set(ZMQ_RCVHWM, 0);
    receiving.subscribeToEverything();
    require(zmq_bind(publisher.get(), "inproc://records") == 0, "no endpoint");
    require(zmq_connect(receiving.get(), "inproc://records") == 0, "no connection");
}

void QueuedStream::prepareTurn() {
    for (int k = 0; k < rotationsOfATurn; ++k) {
        rotation.publishAll(publisher.get());
    }
}
