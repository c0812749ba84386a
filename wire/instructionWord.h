// The message by which a client tells the parser board what to publish.
#pragma once

#include "wire/topics.h"

#include <array>
#include <cstdint>

namespace wire {

// On the wire: two bytes, little-endian. The reply has as many, and they carry nothing.
using InstructionWord = std::array<std::uint8_t, 2>;

constexpr InstructionWord instructionWord(TopicBits bits) {
    return {static_cast<std::uint8_t>(bits & 0xFF), static_cast<std::uint8_t>(bits >> 8)};
}

// Bits that are no topic's are left out.
constexpr TopicBits topicBits(InstructionWord word) {
    return static_cast<TopicBits>((word[0] | word[1] << 8) & allTopicBits);
}

} // namespace wire
