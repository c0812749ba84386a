// Reads SI sections (ETSI EN 300 468) into rows of the stream model. GStreamer's MPEG-TS library decodes
// sections, descriptors, dates and DVB text.
#pragma once

#include "stream/streamModel.h"

#include <cstdint>
#include <optional>
#include <span>

namespace board {

// Each reads one sound section and returns nothing for one of another table or of no sense. Those of another
// transport stream or network are not read.
std::optional<ServiceTable> readSdt(std::span<const std::uint8_t> section);
struct NitSection {
    std::uint16_t networkId;
    NetworkPart part;
};
std::optional<NitSection> readNit(std::uint16_t pid, std::span<const std::uint8_t> section);
struct EitSection {
    std::uint16_t transportStreamId;
    std::uint16_t originalNetworkId;
    std::uint8_t segmentLast; // segment_last_section_number
    std::uint8_t lastTable;   // last_table_id
    std::vector<Event> events;
};
std::optional<EitSection> readEit(std::span<const std::uint8_t> section);
std::optional<UtcTime> readTime(std::span<const std::uint8_t> section);

} // namespace board
