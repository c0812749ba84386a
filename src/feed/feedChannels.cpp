#include "feed/feedChannels.h"

#include "support/assertion.h"
#include "support/connection.h"
#include "support/sockets.h"

#include "wire/endpoints.h"
#include "wire/instructionWord.h"

#include <zmq.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace mpegfe {

namespace {

constexpr char publisherEndpoint[] = "tcp://" MPEGFE_PARSER_HOST ":" WIRE_PARSER_PORT;

// The word that the active feed's parser was sent last. A parser that comes in the place of one that knew it
// is sent it again.
wire::InstructionWord wordInForce;

constexpr char feedSource[] = "tolk_mpeg_toGui";

void closeSuperseded(SupersededFeed& feed) {
    if (feed.context != nullptr) {
        closeSocketNow(feed.subscriber);
        closeSocketNow(feed.instructor);
        destroyContext(feed.context);
    }
}

// Keeps what a session left open, but no more than one such feed, so that a client that never says "off"
// cannot use up the process's descriptors.
void supersedeOpenFeed(FeedContext* ptx) {
    if (feedIsOpen(ptx)) {
        closeSuperseded(ptx->superseded);
        ptx->superseded = {ptx->context, ptx->subscriber_1, ptx->instructor_1};
    }
}

// Makes the only channel that is built the first of the parser channels there is room for.
void setFirstChannel(void* (&channels)[maxParserChannels], void* socket) {
    channels[0] = socket;
    for (int channel = 1; channel < maxParserChannels; ++channel) {
        channels[channel] = nullptr;
    }
}

void setSubscription(FeedContext* ptx, int option, const wire::Topic& topic) {
    zmq_setsockopt(ptx->subscribers[ptx->activeChannel], option, topic.name, std::strlen(topic.name));
}

void receiveAnswer(void* instructor) {
    wire::InstructionWord answer{};
    receivePart(instructor, answer.data(), answer.size(), instructor);
    dropFurtherParts(instructor);
    noteReply(instructor);
}

} // namespace

int init_mpeg_zmq_sub_context(FeedContext* ptx) {
    const auto require = [](bool holds, const char* expression, unsigned line) {
        requireThat(holds, expression, feedSource, line, "init_mpeg_zmq_sub_context");
    };
    require(ptx != nullptr, "ptx != ((void *)0)", __LINE__);
    supersedeOpenFeed(ptx);
    ptx->context = zmq_ctx_new();
    require(ptx->context != nullptr, "ptx->context != ((void *)0)", __LINE__);

    ptx->subscriber_1 = zmq_socket(ptx->context, ZMQ_SUB);
    require(ptx->subscriber_1 != nullptr, "ptx->subscriber_1 != ((void *)0)", __LINE__);
    int rc = connectSocket(ptx->context, ptx->subscriber_1, publisherEndpoint);
    if (rc != 0) {
        std::printf("MPEG SUB1 failed %d %s\n", rc, zmq_strerror(errno));
    }
    require(rc == 0, "rc == 0", __LINE__);
    setFirstChannel(ptx->subscribers, ptx->subscriber_1);
    std::puts("Connect SUB1 to MPEG PUB OK");

    ptx->instructor_1 = zmq_socket(ptx->context, ZMQ_REQ);
    require(ptx->instructor_1 != nullptr, "ptx->instructor_1 != ((void *)0)", __LINE__);
    rc = connectSocket(ptx->context, ptx->instructor_1, wire::instructionEndpoint);
    if (rc != 0) {
        std::printf("MPEG MLC1 REQ To ZYNQ1 failed %d %s\n", rc, zmq_strerror(errno));
    }
    require(rc == 0, "rc == 0", __LINE__);
    setFirstChannel(ptx->instructors, ptx->instructor_1);
    std::puts("Connect MMR1 REQ Instructor to MPEGFE1 MPEG REP OK");
    return 0;
}

int mpeg_cleanup_zmq_sub_context(FeedContext* ptx) {
    const auto require = [](bool holds, const char* expression, unsigned line) {
        requireThat(holds, expression, feedSource, line, "mpeg_cleanup_zmq_sub_context");
    };
    require(ptx != nullptr, "ptx != ((void *)0)", __LINE__);
    require(ptx->context != nullptr, "ptx->context != ((void *)0)", __LINE__);

    for (int channel = 0; channel < maxParserChannels; ++channel) {
        closeSocketNow(ptx->subscribers[channel]);
        closeSocketNow(ptx->instructors[channel]);
    }
    ptx->subscriber_1 = nullptr;
    ptx->instructor_1 = nullptr;
    destroyContext(ptx->context);
    closeSuperseded(ptx->superseded);
    return std::printf("MLC: MPEG SUB and Instr Channels for Media MLC %d Closed\n", ptx->activeChannel + 1);
}

bool feedIsOpen(const FeedContext* ptx) {
    return ptx->context != nullptr;
}

void subscribeTopics(FeedContext* ptx, std::initializer_list<wire::Topic> topics) {
    for (const wire::Topic& topic : topics) {
        setSubscription(ptx, ZMQ_SUBSCRIBE, topic);
    }
}

void unsubscribeTopic(FeedContext* ptx, const wire::Topic& topic) {
    setSubscription(ptx, ZMQ_UNSUBSCRIBE, topic);
}

void sendInstruction(FeedContext* ptx) {
    void* instructor = ptx->instructors[ptx->activeChannel];
    // A word that was sent again while records were awaited.
    if (replyIsOwed(instructor)) {
        receiveAnswer(instructor);
    }
    wordInForce = wire::instructionWord(ptx->instructionWord);
    sendRequest(instructor, wordInForce.data(), wordInForce.size(), RequestLife::untilReplaced,
                ptx->subscribers[ptx->activeChannel]);
    receiveAnswer(instructor);
}

} // namespace mpegfe
