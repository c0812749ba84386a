// Published messages out of fuzz bytes: a small language in which a few bytes make whole records, so that a
// fuzzer gets past the topics and sizes at once, and in which every other structure of parts can be said too.
//
// A message begins with a byte that says what it is (MessageKind), a record with one that says where its
// bytes come from (RecordSource). seeds.cpp writes the same language.
#pragma once

#include "feed/recordStore.h"
#include "fuzzInput.h"
#include "scriptedZmq.h"
#include "serviceNames.h"
#include "wire/topics.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

enum class MessageKind : std::uint8_t {
    record,        // u8 topic (an index of receivedTopics), a record: a message of three parts
    spoiltQueries, // u8 with two bits a part (a MoreQuery), then as record
    again,         // the message before it once more
    topicText,     // a text: a message with this topic
    part,          // u16 length, that many bytes: a part by itself
    longPart,      // u32 length as sent, u8 length, that many bytes: a part that its buffer cuts
    failure,       // u8 (an index of receiveErrors): a receive that fails
    count
};

enum class RecordSource : std::uint8_t {
    patches,      // zeros; u8 patches: u16 place, u8 length, that many bytes
    newest,       // the newest record of the topic; patches as above
    consistent,   // u16 seed: the topic's of a consistent set
    inconsistent, // u16 seed: the topic's of an inconsistent set
    bytes,        // u16 length, that many bytes: a record of any size
    count
};

class PublishedParts {
  public:
    explicit PublishedParts(FuzzInput& fuzzInput);

    // The next part; none once the input is used up.
    std::optional<scriptedZmq::Part> next();

  private:
    void addMessage();
    void addRecordMessage(unsigned queries);
    void addPart(std::vector<unsigned char> bytes, bool more, scriptedZmq::MoreQuery query);
    std::vector<unsigned char> record(const Topic& topic);
    std::vector<unsigned char> patched(std::vector<unsigned char> bytes);
    std::vector<unsigned char> generated(const Topic& topic, RecordSource source);

    FuzzInput& input;
    std::deque<scriptedZmq::Part> pending;
    std::vector<scriptedZmq::Part> lastMessage;
    std::unique_ptr<RecordSet> set; // made last, kept because the next record is often of the same
    RecordSource setSource = RecordSource::count;
    std::uint16_t setSeed = 0;
};
