#include "feed/reception.h"

#include "feed/recordStore.h"
#include "support/boundedText.h"
#include "support/sockets.h"

#include <zmq.h>

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace mpegfe {

namespace {

constexpr std::size_t maxSecondPart = 10; // bytes of the part between topic and record

// What the socket last told of the message being received: whether more parts follow. A message of too few or
// too many parts is received all the same, as parsers of every age have been: the parts that are missing are
// taken from the next message, those too many are the next topic. Only a socket that cannot tell is broken,
// and then its last word counts.
struct PartFlags {
    void* socket;
    void* instructor; // over which the message was asked for
    int more;
};

bool queryFails(PartFlags& flags) {
    std::size_t size = sizeof flags.more;
    return zmq_getsockopt(flags.socket, ZMQ_RCVMORE, &flags.more, &size) != 0;
}

// Receives one part as a text, cut to its buffer. False when there was none.
template <std::size_t width>
bool receiveText(const PartFlags& flags, char (&text)[width]) {
    const int length = receivePart(flags.socket, text, width - 1, flags.instructor);
    text[clampCount(length, static_cast<int>(width) - 1)] = '\0';
    return length >= 0;
}

const ReceivedTopic* findTopic(const char* name) {
    for (const ReceivedTopic& row : receivedTopics) {
        if (std::strcmp(row.topic.name, name) == 0) {
            return &row;
        }
    }
    return nullptr;
}

char* recordOf(wire::RecordSet& records, const wire::Topic& topic) {
    return reinterpret_cast<char*>(&records) + topic.offset;
}

// The PAT's own flag, and an empty PID list, tell that the parser has lost or changed its stream.
bool announcesNewStream(const wire::PatRecord& pat) {
    return pat.pidListCount == 0 || pat.newStreamFlag == wire::newStreamMark;
}

// Takes the PAT's word for whether the stream goes on. newStream when it does not.
CaptureStatus judgeStream(FeedContext* ptx, const wire::PatRecord& pat) {
    std::printf("PAT Newstream Flag %d PIDs %d\n", pat.newStreamFlag, pat.pidListCount);
    if (!announcesNewStream(pat)) {
        return captured;
    }
    std::puts("\n\n\nNewstream in MPEGdata\n\n");
    ptx->receivedMask = 0;
    return newStream;
}

// Compares only what has arrived: a short record says nothing about the rest of its layout.
void trackChange(FeedContext* ptx, const wire::Topic& topic, std::size_t length) {
    const char* newest = recordOf(newestRecords, topic);
    char* previous = recordOf(previousRecords, topic);
    if (std::memcmp(newest, previous, length) != 0) {
        std::memcpy(previous, newest, length);
        ptx->changedTopics = static_cast<wire::TopicBits>(ptx->changedTopics | topic.bit);
    } else {
        ptx->changedTopics = static_cast<wire::TopicBits>(ptx->changedTopics & ~topic.bit);
    }
}

CaptureStatus receiveRecord(FeedContext* ptx, const ReceivedTopic& row, PartFlags& flags,
                            std::int32_t* programCountOut) {
    const wire::Topic& topic = row.topic;
    if (row.announce != nullptr) {
        row.announce(ptx->currentTopic);
    }
    const int length =
        receivePart(flags.socket, recordOf(newestRecords, topic), topic.size, flags.instructor);
    if (length < 0) {
        return brokenMessage;
    }
    if (row.report != nullptr) {
        row.report(ptx->currentTopic, static_cast<int>(topic.size), length);
    }
    if (queryFails(flags) && flags.more != 0) {
        std::puts(row.brokenText);
        return brokenMessage;
    }
    if (topic.bit == wire::patBit && judgeStream(ptx, newestRecords.pat) == newStream) {
        return newStream;
    }
    trackChange(ptx, topic, static_cast<std::size_t>(clampCount(length, static_cast<int>(topic.size))));
    if (topic.bit == wire::patBit) {
        *programCountOut = newestRecords.pat.programCount;
    }
    ptx->receivedMask |= row.captureBits;
    return captured;
}

} // namespace

CaptureStatus receiveMpegTopic(FeedContext* ptx, std::int32_t* programCountOut) {
    PartFlags flags{ptx->subscribers[ptx->activeChannel], ptx->instructors[ptx->activeChannel], 0};
    if (!receiveText(flags, ptx->currentTopic)) {
        return brokenMessage;
    }
    std::printf("MPEGtopic received: %s\n", ptx->currentTopic);
    if (queryFails(flags) && flags.more == 0) {
        return brokenMessage;
    }
    char secondPart[maxSecondPart + 1];
    if (!receiveText(flags, secondPart)) {
        return brokenMessage;
    }
    if (queryFails(flags) && flags.more == 0) {
        return brokenMessage;
    }
    const ReceivedTopic* row = findTopic(ptx->currentTopic);
    if (row == nullptr) {
        std::printf("No TOPIC match for %s\n", ptx->currentTopic);
        return captured;
    }
    return receiveRecord(ptx, *row, flags, programCountOut);
}

} // namespace mpegfe
