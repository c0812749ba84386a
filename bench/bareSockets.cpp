// The peer of the service for what sockets alone cost: the same sockets on the same endpoints, used in the
// same order with messages of the same length, and nothing in between. It parses nothing, derives nothing and
// prints nothing; the document is as many bytes as the request asks for. It waits for the document's
// acknowledgement in the same steps, so that both programs come to the next request equally rested.
//
// usage: bareSockets [--open-feed]     --open-feed: opens the feed at once too, so that all sockets are there
#include "wire/endpoints.h"

#include <unistd.h>
#include <zmq.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

// In the order of the instruction word's bits, from the lowest.
constexpr std::array topicNames{"MPEG-STRUCT-PAT", "MPEG-STRUCT-PMT", "MPEG-STRUCT-TS-STATUS",
                                "MPEG-STRUCT-SDT", "MPEG-STRUCT-NIT", "MPEG-STRUCT-TDT",
                                "MPEG-STRUCT-EIT", "MPEG-STRUCT-CAT", "MPEG-STRUCT-AVPGM"};
constexpr std::string_view lastTopic = "MPEG-STRUCT-TS-STATUS"; // the parser publishes it last

constexpr unsigned waitStepMicroseconds = 10000;

std::array<char, 30000> message; // one part of any message, and the document

struct Feed {
    void* context;
    void* subscriber;
    void* instructor;
};

void closeNow(void* socket) {
    const int linger = 0;
    zmq_setsockopt(socket, ZMQ_LINGER, &linger, sizeof linger);
    zmq_close(socket);
}

Feed openFeed() {
    void* context = zmq_ctx_new();
    Feed feed{context, zmq_socket(context, ZMQ_SUB), nullptr};
    zmq_connect(feed.subscriber, "tcp://127.0.0.1:" WIRE_PARSER_PORT);
    feed.instructor = zmq_socket(context, ZMQ_REQ);
    zmq_connect(feed.instructor, wire::instructionEndpoint);
    return feed;
}

void closeFeed(Feed& feed) {
    if (feed.context != nullptr) {
        closeNow(feed.subscriber);
        closeNow(feed.instructor);
        zmq_ctx_term(feed.context);
        feed = {};
    }
}

void instruct(const Feed& feed) {
    std::uint16_t word = 1;
    zmq_send(feed.instructor, &word, sizeof word, 0);
    zmq_recv(feed.instructor, &word, sizeof word, 0);
}

void receiveRecords(const Feed& feed) {
    std::string_view topic;
    do {
        std::array<char, 25> name{};
        const int length = zmq_recv(feed.subscriber, name.data(), name.size(), 0);
        topic = {name.data(), static_cast<std::size_t>(length)};
        zmq_recv(feed.subscriber, message.data(), message.size(), 0);
        zmq_recv(feed.subscriber, message.data(), message.size(), 0);
        if (topic == lastTopic) {
            return;
        }
    } while (true);
}

// What the request writes as a number behind this member's name; 0 without it.
std::size_t numberIn(const char* request, const char* member) {
    const char* found = std::strstr(request, member);
    return found != nullptr ? std::strtoul(found + std::strlen(member), nullptr, 10) : 0;
}

// Subscribes to the topics of these bits.
void subscribe(const Feed& feed, std::size_t wanted) {
    for (std::size_t topic = 0; topic < topicNames.size(); ++topic) {
        if ((wanted >> topic & 1) != 0) {
            zmq_setsockopt(feed.subscriber, ZMQ_SUBSCRIBE, topicNames[topic], std::strlen(topicNames[topic]));
        }
    }
}

void serveStart(void* documents, Feed& feed, const char* request) {
    feed = openFeed();
    subscribe(feed, numberIn(request, "\"bareTopics\": "));
    instruct(feed);
    receiveRecords(feed);
    zmq_send(documents, message.data(), numberIn(request, "\"bareLength\": "), 0);
    for (int length = -1; length < 0;) {
        length = zmq_recv(documents, message.data(), message.size(), ZMQ_DONTWAIT);
        usleep(waitStepMicroseconds);
    }
}

void serveStop(Feed& feed) {
    if (feed.context != nullptr) {
        instruct(feed);
        closeFeed(feed);
    }
}

} // namespace

int main(int argc, char** argv) {
    void* context = zmq_ctx_new();
    void* documents = zmq_socket(context, ZMQ_REQ);
    zmq_connect(documents, wire::documentEndpoint);
    void* requests = zmq_socket(context, ZMQ_REP);
    zmq_connect(requests, wire::requestEndpoint);
    Feed feed{};
    if (argc > 1 && std::strcmp(argv[1], "--open-feed") == 0) {
        feed = openFeed();
    }
    zmq_pollitem_t waiting{requests, 0, ZMQ_POLLIN, 0};
    for (;;) {
        std::array<char, 400> request{};
        if (zmq_poll(&waiting, 1, 5000) <= 0 ||
            zmq_recv(requests, request.data(), request.size() - 1, ZMQ_DONTWAIT) < 0) {
            continue;
        }
        constexpr std::string_view acknowledgement = R"({"reply": "ack"})";
        zmq_send(requests, acknowledgement.data(), acknowledgement.size(), 0);
        if (std::strstr(request.data(), "bareLength") != nullptr) {
            serveStart(documents, feed, request.data());
        } else if (std::strstr(request.data(), "off") != nullptr) {
            serveStop(feed);
        }
    }
}
