// The records that a replay has to publish: which messages of a recording a client can use, and the newest
// record of each topic.
#pragma once

#include "replay/recording.h"

#include "wire/topics.h"

#include <functional>
#include <memory>
#include <set>
#include <string>

namespace board {

class ReplayedRecords {
  public:
    using Print = std::function<void(const std::string&)>;

    explicit ReplayedRecords(Print print) : print_(std::move(print)) {}

    // Keeps the message's record and gives its topic. Gives null for a message that no client can use, of an
    // unknown topic or with a record of another size than its topic's, and prints that once a topic.
    const wire::Topic* take(const RecordedMessage& message);

    // The newest record of each topic in known().
    const wire::RecordSet& newest() const {
        return *newest_;
    }

    wire::TopicBits known() const {
        return known_;
    }

  private:
    void leaveOut(const RecordedMessage& message, const wire::Topic* topic);

    Print print_;
    std::unique_ptr<wire::RecordSet> newest_ = std::make_unique<wire::RecordSet>();
    wire::TopicBits known_ = 0;
    std::set<std::string> told_; // topics of messages that were left out; bounded as a recording's topics are
};

// Reads on to the first message that a client can use. Throws BoardError when the recording has none, or is
// damaged before it.
void requireUsableMessage(RecordingReader& reader, const std::string& path);

} // namespace board
