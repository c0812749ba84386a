// What an elementary stream carries, from its stream_type (ISO/IEC 13818-1 table 2-34) and its descriptors.
#pragma once

#include "stream/streamModel.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace board {

// The descriptors of a stream, as far as they tell what the stream carries.
struct StreamHints {
    std::vector<std::uint8_t> tags;                   // descriptor tags in their order
    std::vector<std::uint8_t> extensionTags;          // of DVB's extension descriptors
    std::optional<std::uint32_t> registration;        // format_identifier of the registration descriptor
    std::optional<std::uint32_t> programRegistration; // the same of the whole program
    std::optional<std::uint8_t> aacProfile; // profile and level of the AAC or MPEG-4 audio descriptor
};

struct StreamClass {
    StreamKind kind;
    std::uint16_t audioCoding; // as in the PMT record: 0 unknown, 1 AAC, 2 AC-3, 3 MPEG-1, 4 MPEG-2, 5 HE-AAC
};

// Classifies one stream. Stream types above 0x7F belong to whoever registered the stream, and
// so the descriptors come first where there are any.
StreamClass classifyStream(std::uint8_t streamType, const StreamHints& stream);

} // namespace board
