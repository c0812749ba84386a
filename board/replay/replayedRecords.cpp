#include "replay/replayedRecords.h"

#include "boardError.h"

#include <algorithm>

namespace board {

namespace {

const wire::Topic* topicNamed(const std::string& name) {
    const auto found =
        std::ranges::find_if(wire::topics, [&](const wire::Topic& topic) { return name == topic.name; });
    return found == wire::topics.end() ? nullptr : &*found;
}

bool fits(const RecordedMessage& message, const wire::Topic* topic) {
    return topic != nullptr && message.record.size() == topic->size;
}

// A text of any bytes as the console can show it.
std::string printable(std::string text) {
    std::ranges::replace_if(
        text, [](char byte) { return byte < ' ' || byte > '~'; }, '?');
    return text;
}

} // namespace

const wire::Topic* ReplayedRecords::take(const RecordedMessage& message) {
    const wire::Topic* topic = topicNamed(message.topic);
    if (!fits(message, topic)) {
        leaveOut(message, topic);
        return nullptr;
    }
    std::ranges::copy(message.record, reinterpret_cast<std::uint8_t*>(newest_.get()) + topic->offset);
    known_ = static_cast<wire::TopicBits>(known_ | topic->bit);
    return topic;
}

void ReplayedRecords::leaveOut(const RecordedMessage& message, const wire::Topic* topic) {
    if (!told_.insert(message.topic).second) {
        return;
    }
    const bool known = topic != nullptr;
    print_(describe({"left out messages of topic " + printable(message.topic),
                     known ? "records of " + std::to_string(topic->size) + " bytes" : "a topic of this board",
                     known ? std::to_string(message.record.size()) + " bytes" : "another",
                     "they are of another kind of board"}));
}

void requireUsableMessage(RecordingReader& reader, const std::string& path) {
    while (const auto message = reader.next()) {
        if (fits(*message, topicNamed(message->topic))) {
            return;
        }
    }
    const std::size_t others = reader.count();
    throw BoardError({"cannot replay " + path, "a message of a known topic with a record of its size",
                      others == 0
                          ? "no message"
                          : std::to_string(others) + (others == 1 ? " other message" : " other messages"),
                      "record a board of this kind while it publishes"});
}

} // namespace board
