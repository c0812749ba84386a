#include "publishedParts.h"

#include "feed/receivedTopics.h"

#include "recordSets.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string>
#include <zmq.h>

using scriptedZmq::MoreQuery;
using scriptedZmq::Part;

namespace {

constexpr std::array receiveErrors{EINTR, EAGAIN, ETERM, ENOTSOCK};
constexpr unsigned queriesAnswered = 0;

std::vector<unsigned char> bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

std::vector<unsigned char> recordOf(const RecordSet& set, const Topic& topic) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&set) + topic.offset;
    return {bytes, bytes + topic.size};
}

template <typename Kind>
Kind kindOf(std::uint8_t byte) {
    return static_cast<Kind>(byte % static_cast<std::uint8_t>(Kind::count));
}

} // namespace

PublishedParts::PublishedParts(FuzzInput& fuzzInput) : input(fuzzInput), set(std::make_unique<RecordSet>()) {}

std::optional<Part> PublishedParts::next() {
    while (pending.empty()) {
        if (input.empty()) {
            return std::nullopt;
        }
        addMessage();
    }
    Part part = std::move(pending.front());
    pending.pop_front();
    return part;
}

void PublishedParts::addMessage() {
    const auto kind = kindOf<MessageKind>(input.u8());
    if (kind == MessageKind::again) {
        pending.assign(lastMessage.begin(), lastMessage.end());
        return;
    }
    switch (kind) {
    case MessageKind::record:
        addRecordMessage(queriesAnswered);
        break;
    case MessageKind::spoiltQueries:
        addRecordMessage(input.u8());
        break;
    case MessageKind::topicText:
        addPart(bytesOf(input.text()), true, MoreQuery::answered);
        addPart(bytesOf("1"), true, MoreQuery::answered);
        break;
    case MessageKind::part:
        addPart(input.bytes(input.u16()), !input.empty(), MoreQuery::answered);
        break;
    case MessageKind::longPart: {
        const std::size_t sentLength = input.u32() & 0x7FFFFFFF;
        addPart(input.bytes(input.u8()), true, MoreQuery::answered);
        pending.back().sentLength = std::max(pending.back().sentLength, sentLength);
        break;
    }
    default:
        pending.emplace_back().errorNumber = receiveErrors[input.u8() % receiveErrors.size()];
        break;
    }
    lastMessage.assign(pending.begin(), pending.end());
}

void PublishedParts::addRecordMessage(unsigned queries) {
    const auto query = [&](unsigned part) { return static_cast<MoreQuery>(queries >> 2 * part & 3); };
    const Topic& topic = receivedTopics[input.u8() % receivedTopics.size()].topic;
    addPart(bytesOf(topic.name), true, query(0));
    addPart(bytesOf("1"), true, query(1));
    addPart(record(topic), false, query(2));
}

void PublishedParts::addPart(std::vector<unsigned char> bytes, bool more, MoreQuery query) {
    const std::size_t length = bytes.size();
    pending.push_back({std::move(bytes), length, more, query, 0});
}

std::vector<unsigned char> PublishedParts::record(const Topic& topic) {
    const auto source = kindOf<RecordSource>(input.u8());
    switch (source) {
    case RecordSource::patches:
        return patched(std::vector<unsigned char>(topic.size));
    case RecordSource::newest:
        return patched(recordOf(newestRecords, topic));
    case RecordSource::bytes:
        return input.bytes(input.u16());
    default:
        return generated(topic, source);
    }
}

std::vector<unsigned char> PublishedParts::patched(std::vector<unsigned char> bytes) {
    for (unsigned patches = input.u8(); patches > 0; --patches) {
        const std::size_t place = input.u16() % bytes.size();
        const std::vector<unsigned char> patch = input.bytes(input.u8());
        std::copy_n(patch.begin(), std::min(patch.size(), bytes.size() - place),
                    bytes.begin() + static_cast<std::ptrdiff_t>(place));
    }
    return bytes;
}

std::vector<unsigned char> PublishedParts::generated(const Topic& topic, RecordSource source) {
    const std::uint16_t seed = input.u16();
    if (source != setSource || seed != setSeed) {
        reference::Random random(seed);
        (source == RecordSource::consistent ? reference::fillConsistently
                                            : reference::fillInconsistently)(*set, random);
        setSource = source;
        setSeed = seed;
    }
    return recordOf(*set, topic);
}
