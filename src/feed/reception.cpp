#include "feed/reception.h"

#include "support/boundedText.h"
#include "support/sockets.h"

#include <zmq.h>

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::size_t maxSecondPart = 10; // bytes of the part between topic and record

// The part structure of the message being received, as the socket tells it.
struct PartFlags {
    void* socket;
    int more; // keeps its last value when a query fails
};

bool queryFails(PartFlags& flags) {
    std::size_t size = sizeof flags.more;
    return zmq_getsockopt(flags.socket, ZMQ_RCVMORE, &flags.more, &size) != 0;
}

// Receives one part as a text, cut to its buffer. False when there was none.
template <std::size_t width>
bool receiveText(void* socket, char (&text)[width]) {
    const int length = receivePart(socket, text, width - 1);
    text[clampCount(length, static_cast<int>(width) - 1)] = '\0';
    return length >= 0;
}

const Topic* findTopic(const char* name) {
    for (const Topic& topic : topics) {
        if (std::strcmp(topic.name, name) == 0) {
            return &topic;
        }
    }
    return nullptr;
}

char* recordOf(RecordSet& records, const Topic& topic) {
    return reinterpret_cast<char*>(&records) + topic.offset;
}

// The PAT's own flag, and an empty PID list, tell that the parser has lost or changed its stream.
bool announcesNewStream(const PatRecord& pat) {
    std::printf("PAT Newstream Flag %d PIDs %d\n", pat.newStreamFlag, pat.pidListCount);
    if (pat.pidListCount != 0 && pat.newStreamFlag != newStreamMark) {
        return false;
    }
    std::puts("\n\n\nNewstream in MPEGdata\n\n");
    return true;
}

// Compares only what has arrived: a short record says nothing about the rest of its layout.
void trackChange(FeedContext* ptx, const Topic& topic, std::size_t length) {
    const char* newest = recordOf(newestRecords, topic);
    char* previous = recordOf(previousRecords, topic);
    if (std::memcmp(newest, previous, length) != 0) {
        std::memcpy(previous, newest, length);
        ptx->changedTopics = static_cast<TopicBits>(ptx->changedTopics | topic.bit);
    } else {
        ptx->changedTopics = static_cast<TopicBits>(ptx->changedTopics & ~topic.bit);
    }
}

std::int32_t receiveRecord(FeedContext* ptx, const Topic& topic, PartFlags& flags,
                           std::int32_t* programCountOut) {
    if (topic.announce != nullptr) {
        topic.announce(ptx->currentTopic);
    }
    const int length = receivePart(flags.socket, recordOf(newestRecords, topic), topic.size);
    if (length < 0) {
        return brokenMessage;
    }
    if (topic.report != nullptr) {
        topic.report(ptx->currentTopic, static_cast<int>(topic.size), length);
    }
    if (queryFails(flags) && flags.more != 0) {
        std::puts(topic.brokenText);
        return brokenMessage;
    }
    if (topic.bit == patBit && announcesNewStream(newestRecords.pat)) {
        ptx->receivedMask = 0;
        return newStream;
    }
    trackChange(ptx, topic, static_cast<std::size_t>(clampCount(length, static_cast<int>(topic.size))));
    if (topic.bit == patBit) {
        *programCountOut = newestRecords.pat.programCount;
    }
    ptx->receivedMask |= topic.captureBits;
    return captured;
}

} // namespace

std::int32_t receiveMpegTopic(FeedContext* ptx, std::int32_t* programCountOut) {
    PartFlags flags{ptx->subscribers[ptx->activeChannel], 0};
    if (!receiveText(flags.socket, ptx->currentTopic)) {
        return brokenMessage;
    }
    std::printf("MPEGtopic received: %s\n", ptx->currentTopic);
    if (queryFails(flags) && flags.more == 0) {
        return brokenMessage;
    }
    char secondPart[maxSecondPart + 1];
    if (!receiveText(flags.socket, secondPart)) {
        return brokenMessage;
    }
    if (queryFails(flags) && flags.more == 0) {
        return brokenMessage;
    }
    const Topic* topic = findTopic(ptx->currentTopic);
    if (topic == nullptr) {
        std::printf("No TOPIC match for %s\n", ptx->currentTopic);
        return captured;
    }
    return receiveRecord(ptx, *topic, flags, programCountOut);
}
