// The peer of the service for what sockets alone cost: the same sockets on the same endpoints, used in the
// same order with messages of the same length, and nothing in between. It parses nothing, derives nothing and
// prints nothing; the document is as many bytes as the request asks for. It waits for the document's
// acknowledgement in the same steps, so that both programs come to the next request equally rested.
//
// usage: bareSockets [--open-feed]     --open-feed: opens the feed at once too, so that all sockets are there
#include "wire/endpoints.h"
#include "wire/topics.h"

#include <unistd.h>
#include <zmq.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr unsigned waitStepMicroseconds = 10000;

char message[30000]; // one part of any message, and the document

struct Feed {
    void* context;
    void* subscriber;
    void* instructor;
};

void* connected(void* context, int type, const char* endpoint) {
    void* socket = zmq_socket(context, type);
    zmq_connect(socket, endpoint);
    return socket;
}

Feed openFeed() {
    void* context = zmq_ctx_new();
    return {context, connected(context, ZMQ_SUB, "tcp://127.0.0.1:" WIRE_PARSER_PORT),
            connected(context, ZMQ_REQ, wire::instructionEndpoint)};
}

void instruct(const Feed& feed) {
    wire::TopicBits word = 1;
    zmq_send(feed.instructor, &word, sizeof word, 0);
    zmq_recv(feed.instructor, &word, sizeof word, 0);
}

// Up to the record that the parser publishes last.
void receiveRecords(const Feed& feed) {
    char name[wire::maxTopicLength];
    std::string_view topic;
    while (topic != wire::tsStatusTopic.name) {
        topic = {name, static_cast<std::size_t>(zmq_recv(feed.subscriber, name, sizeof name, 0))};
        zmq_recv(feed.subscriber, message, sizeof message, 0);
        zmq_recv(feed.subscriber, message, sizeof message, 0);
    }
}

// What the request writes as a number behind this member's name; 0 without it.
std::size_t numberIn(const char* request, const char* member) {
    const char* found = std::strstr(request, member);
    return found != nullptr ? std::strtoul(found + std::strlen(member), nullptr, 10) : 0;
}

void serveStart(void* documents, Feed& feed, const char* request) {
    feed = openFeed();
    const std::size_t wanted = numberIn(request, "\"bareTopics\": ");
    for (const wire::Topic& topic : wire::topics) {
        if ((wanted & topic.bit) != 0) {
            zmq_setsockopt(feed.subscriber, ZMQ_SUBSCRIBE, topic.name, std::strlen(topic.name));
        }
    }
    instruct(feed);
    receiveRecords(feed);
    zmq_send(documents, message, numberIn(request, "\"bareLength\": "), 0);
    for (int length = -1; length < 0;) {
        length = zmq_recv(documents, message, sizeof message, ZMQ_DONTWAIT);
        usleep(waitStepMicroseconds);
    }
}

void serveStop(Feed& feed) {
    if (feed.context == nullptr) {
        return;
    }
    instruct(feed);
    for (void* socket : {feed.subscriber, feed.instructor}) {
        const int linger = 0;
        zmq_setsockopt(socket, ZMQ_LINGER, &linger, sizeof linger);
        zmq_close(socket);
    }
    zmq_ctx_term(feed.context);
    feed = {};
}

} // namespace

int main(int argc, char** argv) {
    void* context = zmq_ctx_new();
    void* documents = connected(context, ZMQ_REQ, wire::documentEndpoint);
    void* requests = connected(context, ZMQ_REP, wire::requestEndpoint);
    Feed feed = argc > 1 && std::strcmp(argv[1], "--open-feed") == 0 ? openFeed() : Feed{};
    zmq_pollitem_t waiting{requests, 0, ZMQ_POLLIN, 0};
    for (;;) {
        char request[400]{};
        if (zmq_poll(&waiting, 1, 5000) <= 0 ||
            zmq_recv(requests, request, sizeof request - 1, ZMQ_DONTWAIT) < 0) {
            continue;
        }
        constexpr std::string_view acknowledgement = R"({"reply": "ack"})";
        zmq_send(requests, acknowledgement.data(), acknowledgement.size(), 0);
        if (std::strstr(request, "bareLength") != nullptr) {
            serveStart(documents, feed, request);
        } else if (std::strstr(request, "off") != nullptr) {
            serveStop(feed);
        }
    }
}
