// What all sections have in common (ISO/IEC 13818-1, 2.4.4.10 and 2.4.4.11).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace board {

// A whole section, from table_id to its end; or part of one.
using SectionBytes = std::span<const std::uint8_t>;

inline constexpr std::size_t languageSize = 3; // characters of an ISO 639-2 code, as descriptors give it

// Whether the section's lengths make sense. Tables with a CRC have the long header before it, but for the
// TOT.
bool sectionLengthsFit(SectionBytes section);

// Whether a section whose lengths fit has the CRC that belongs to it, or is of a table without any.
bool sectionCrcFits(SectionBytes section);

// Both. Nothing else reads a section that fails here.
inline bool sectionIsSound(SectionBytes section) {
    return sectionLengthsFit(section) && sectionCrcFits(section);
}

// Whether sections of this table are among those whose CRC errors ETSI TR 101 290 (5.2.2, 2.2) counts: PAT,
// CAT, PMT, NIT, SDT, BAT, EIT and TOT. Each has a CRC, whatever its section_syntax_indicator says.
bool isCrcTable(std::uint8_t tableId);

// The fields that every section with syntax indicator 1 has.
struct SectionHeader {
    std::uint8_t tableId = 0;
    std::uint16_t extension = 0; // table_id_extension
    std::uint8_t version = 0;
    std::uint8_t number = 0;
    std::uint8_t last = 0;
    bool current = false; // current_next_indicator
    std::uint32_t crc = 0;
};

// The header of a section, checked in no way but its size; nothing for a section without one (the TDT).
std::optional<SectionHeader> sectionHeader(SectionBytes section);

// A section as it has come.
struct IncomingSection {
    std::uint16_t pid = 0;
    SectionHeader header;
    SectionBytes bytes;
};

} // namespace board
