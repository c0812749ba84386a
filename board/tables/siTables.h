// Reads SI sections (ETSI EN 300 468) into rows of the stream model.
#pragma once

#include "stream/streamModel.h"
#include "tables/section.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace board {

// Each reads one sound section and returns nothing for one of another table. Where a length inside it
// leads beyond what holds it, the rest of that loop is left out. Those of another
// transport stream or network are not read.
std::optional<ServiceTable> readSdt(SectionBytes section);
struct NitSection {
    std::uint16_t networkId = 0;
    NetworkPart part;
};
std::optional<NitSection> readNit(SectionBytes section);
struct EitSection {
    std::uint16_t transportStreamId = 0;
    std::uint16_t originalNetworkId = 0;
    std::uint8_t segmentLast = 0; // segment_last_section_number
    std::uint8_t lastTable = 0;   // last_table_id
    std::vector<Event> events;
};
std::optional<EitSection> readEit(SectionBytes section);

// The time of a TDT or a TOT.
std::optional<UtcTime> readTime(SectionBytes section);

} // namespace board
