// The two ZeroMQ channels to the parser board: a SUB socket on which its records arrive, and a REQ socket
// over which the service tells it which topics to publish.
#pragma once

#include "feed/receivedTopics.h"

#include <cstdint>
#include <initializer_list>

namespace mpegfe {

inline constexpr int maxParserChannels = 4;

// A feed that a newer one has replaced. It stays open, unread, so that its subscriptions stand.
struct SupersededFeed {
    void* context;
    void* subscriber;
    void* instructor;
};

// The parser feed: one a process, zeroed at start, null handles while closed. Only channel 1 is ever built;
// every access goes through activeChannel.
struct FeedContext {
    void* context;
    void* subscribers[maxParserChannels];
    void* subscriber_1;
    char currentTopic[wire::maxTopicLength + 1];
    CaptureBits receivedMask;
    wire::TopicBits requestedTopics; // last asked of the parser
    wire::TopicBits changedTopics;   // records that differed from their previous copy at their last arrival
    wire::TopicBits previousChanged; // changedTopics as the previous stabilise pass saw it
    void* instructors[maxParserChannels];
    void* instructor_1;
    wire::TopicBits instructionWord; // of the next instruction message
    std::int32_t activeChannel;      // 0 is channel 1
    SupersededFeed superseded;
};

// Opens both channels: SUB to TCP port 5101 of the parser's host, REQ to its IPC endpoint. Nothing is
// subscribed. A feed that is open already becomes the superseded one, and the one superseded before it is
// closed. Prints a line a channel. Returns 0; a null ptx, or a context, socket or connection that cannot be
// made, ends the process with an assertion report. A parser that is not running yet is no error.
int init_mpeg_zmq_sub_context(FeedContext* ptx);

// Closes every socket and the context, the superseded feed too, without waiting for anything unsent, and sets
// every handle to null. Prints a line. Returns what that print returned; a null ptx or a closed feed ends the
// process with an assertion report.
int mpeg_cleanup_zmq_sub_context(FeedContext* ptx);

// Whether the feed has been opened and not closed since.
bool feedIsOpen(const FeedContext* ptx);

// Subscribes to these topics, one at a time in this order.
void subscribeTopics(FeedContext* ptx, std::initializer_list<wire::Topic> topics);

// Takes back one subscription to the topic.
void unsubscribeTopic(FeedContext* ptx, const wire::Topic& topic);

// Sends instructionWord as one message of 2 bytes, little-endian, and blocks until the parser's reply of 2
// bytes, which carries nothing that is used. Before that it waits for the reply to a word that was sent again
// while records were awaited.
void sendInstruction(FeedContext* ptx);

} // namespace mpegfe
