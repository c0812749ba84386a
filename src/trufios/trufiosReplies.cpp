#include "trufios/trufiosReplies.h"

#include "support/boundedText.h"
#include "support/connection.h"
#include "support/jsonText.h"

#include <unistd.h>
#include <zmq.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace mpegfe {

namespace {

constexpr unsigned waitStepMicroseconds = 10000;
// Of the connections. libzmq connects again 100 ms after an end at the
// earliest: until then the end has been seen, and what went with a peer that was none is for the next.
constexpr int retriesPerUpkeep = 2;
constexpr int maxRetries = 500; // after the first try: about 5 s in all

// Sends the object as one message without a terminator, and releases it. It never waits for a peer.
void sendObject(void* socket, json_t* object) {
    char* text = json_dumps(object, 0);
    if (text != nullptr) {
        zmq_send(socket, text, std::strlen(text), ZMQ_DONTWAIT);
        std::free(text);
    }
    json_decref(object);
}

json_t* replyObject(const char* reply) {
    json_t* object = json_object();
    json_object_set_new(object, "reply", json_string(reply));
    return object;
}

// Receives a reply as a text, cut to its buffer. False when none came in time.
bool receiveReply(void* socket, ReplyText& text) {
    for (int retry = 0; retry <= maxRetries; ++retry) {
        const int length = zmq_recv(socket, text, maxReplyLength, ZMQ_DONTWAIT);
        usleep(waitStepMicroseconds);
        if (length >= 0) {
            text[clampCount(length, static_cast<int>(maxReplyLength))] = '\0';
            return true;
        }
        if (retry % retriesPerUpkeep == 0) {
            keepConnectionsUp(nullptr);
        }
    }
    std::puts("5s Abort");
    return false;
}

json_t* parseReply(const char* text) {
    json_error_t error;
    json_t* reply = parseJson(text, error);
    if (reply == nullptr) {
        std::printf("Display Mgr parse error string %s \n", error.text);
        std::printf("Display Mgr parse error source %s \n", error.source);
        std::printf("Display Mgr parse position %d \n", error.position);
    }
    return reply;
}

ReplyResult judgeReply(json_t* reply, const char* text, ReplyText* ackText) {
    const char* verdict = textOf(reply, "reply");
    if (verdict == nullptr) {
        return replyNak;
    }
    if (std::strcmp(verdict, "ack") == 0) {
        const char* ack = ackText != nullptr ? textOf(reply, "ack") : nullptr;
        if (ack != nullptr) {
            std::snprintf(*ackText, sizeof *ackText, "%s", ack);
        }
        return replyAck;
    }
    const char* reason = textOf(reply, "reason");
    if (reason == nullptr) {
        std::puts("NAK but no reason given");
    } else {
        std::printf("NAK Received: Reason: %s: Msg: %s\n", reason, text);
    }
    return replyNak;
}

ReplyResult awaitReply(void* socket, ReplyText* ackText) {
    ReplyText text;
    if (!receiveReply(socket, text)) {
        return replyTimeout;
    }
    json_t* reply = parseReply(text);
    if (reply == nullptr) {
        return replyNak;
    }
    const ReplyResult result = judgeReply(reply, text, ackText);
    json_decref(reply);
    return result;
}

} // namespace

void sendReplyAck(void* socket) {
    sendObject(socket, replyObject("ack"));
}

void sendReplyAckText(void* socket, const char* text) {
    json_t* object = replyObject("ack");
    json_object_set_new(object, "ack", json_string(text));
    sendObject(socket, object);
}

void sendReplyNak(void* socket, const char* reason) {
    json_t* object = replyObject("nak");
    json_object_set_new(object, "reason", json_string(reason));
    sendObject(socket, object);
}

ReplyResult waitReply(void* socket) {
    return awaitReply(socket, nullptr);
}

ReplyResult waitReplyText(void* socket, ReplyText& out) {
    return awaitReply(socket, &out);
}

void sendEvent(void* socket, const char* module, const char* event, const char* topic) {
    json_t* object = json_object();
    json_object_set_new(object, "request", json_string("event"));
    json_object_set_new(object, "module", json_string(module));
    json_object_set_new(object, "event", json_string(event));
    json_object_set_new(object, "topic", json_string(topic));
    sendObject(socket, object);
    waitReply(socket);
}

} // namespace mpegfe
