// Both peers of the service for counting instructions, played by the tests' stand-in for libzmq: no thread,
// no kernel, the same every time.
#pragma once

#include "scriptedZmq.h"
#include "workloads.h"

#include <zmq.h>

#include <array>
#include <string_view>
#include <utility>

// Delivers the messages of a script that are subscribed to, again and again.
class ReplayedRecords {
  public:
    explicit ReplayedRecords(std::vector<PublishedRecord> script)
        : messages(std::move(script)), current(messages.size() - 1) {}

    // Nothing when the script has no message for the subscriptions.
    std::optional<scriptedZmq::Part> nextPart() {
        if (part == 0 && !findNextMessage()) {
            return std::nullopt;
        }
        const auto& [topic, bytes] = messages[current];
        const std::array<std::string_view, 3> parts{topic->name, "1", {bytes.data(), bytes.size()}};
        const std::string_view delivered = parts[part];
        part = (part + 1) % parts.size();
        return scriptedZmq::Part{
            .bytes = {delivered.begin(), delivered.end()}, .sentLength = delivered.size(), .more = part != 0};
    }

  private:
    bool findNextMessage() {
        for (std::size_t tried = 0; tried < messages.size(); ++tried) {
            current = (current + 1) % messages.size();
            if (scriptedZmq::isSubscribed(messages[current].topic->name)) {
                return true;
            }
        }
        return false;
    }

    std::vector<PublishedRecord> messages;
    std::size_t current;
    std::size_t part = 0; // of the three of the current message
};

// Has the parser publish the script from now on, and Trufios acknowledge every document.
inline void replay(std::vector<PublishedRecord> script) {
    const auto publish = [records = ReplayedRecords(std::move(script))]() mutable {
        return records.nextPart();
    };
    const auto acknowledge = [] {
        constexpr std::string_view ack = R"({"reply": "ack"})";
        return scriptedZmq::Reply{0, {ack.begin(), ack.end()}, ack.size()};
    };
    scriptedZmq::begin({.publishPart = publish, .takeDocument = acknowledge});
}

// An open subscriber to everything.
inline void* subscriberToAll() {
    void* subscriber = zmq_socket(zmq_ctx_new(), ZMQ_SUB);
    zmq_setsockopt(subscriber, ZMQ_SUBSCRIBE, "", 0);
    return subscriber;
}
