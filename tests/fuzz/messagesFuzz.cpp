// Message parts of any number and size through the reception.
//
// Input: published parts (publishedParts.h) to the end.
#include "check.h"
#include "feed/reception.h"
#include "fuzzInput.h"
#include "publishedParts.h"
#include "serviceNames.h"
#include "target.h"

#include <cstring>
#include <memory>
#include <string_view>

namespace {

const unsigned char* bytesOf(const RecordSet& set, const Topic& topic) {
    return reinterpret_cast<const unsigned char*>(&set) + topic.offset;
}

// A message changes the record of its own topic, and no other byte of the store.
void checkStore(const RecordSet& newestBefore, const RecordSet& previousBefore, std::string_view topicName) {
    for (const Topic& topic : topics) {
        if (topicName == topic.name) {
            continue;
        }
        check(std::memcmp(bytesOf(newestBefore, topic), bytesOf(newestRecords, topic), topic.size) == 0,
              "the other newest records stay");
        check(std::memcmp(bytesOf(previousBefore, topic), bytesOf(previousRecords, topic), topic.size) == 0,
              "the other previous records stay");
    }
}

void receiveOne(FeedContext& feed) {
    static RecordSet newestBefore;
    static RecordSet previousBefore;
    newestBefore = newestRecords;
    previousBefore = previousRecords;
    const std::int32_t countBefore = programCount;
    const std::int32_t status = receiveMpegTopic(&feed, &programCount);
    check(status == captured || status == brokenMessage || status == newStream, "the status is one of three");
    check(std::memchr(feed.currentTopic, '\0', sizeof feed.currentTopic) != nullptr,
          "the topic is terminated");
    check((feed.changedTopics & ~allTopicBits) == 0, "only topics change");
    check((feed.receivedMask & ~0xF3U) == 0, "reception sets no bits of the session");
    check(status == newStream ? feed.receivedMask == 0 : true, "a new stream has nothing captured");
    check(programCount == countBefore || programCount == newestRecords.pat.programCount,
          "the program count is the PAT's");
    checkStore(newestBefore, previousBefore, feed.currentTopic);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    PublishedParts parts(input);
    beginRun({.publishPart = [&] { return parts.next(); }, .takeDocument = {}});
    FeedContext feed{};
    init_mpeg_zmq_sub_context(&feed);
    try {
        for (;;) {
            receiveOne(feed);
        }
    } catch (const scriptedZmq::PeersAreSilent&) {
    }
    mpeg_cleanup_zmq_sub_context(&feed);
    return 0;
}
