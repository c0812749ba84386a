// Reads PSI and SI sections (ISO/IEC 13818-1, 2.4.4; ETSI EN 300 468) into rows of the stream model.
// GStreamer's MPEG-TS library decodes sections, descriptors and DVB text.
#pragma once

#include "stream/streamModel.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace board {

// Initialises the library that reads sections. Once a process, before anything is read.
void initialiseLibraries();

// Whether the section's lengths make sense and, where it has one, its CRC is right. Nothing else reads a
// section that fails here.
bool sectionIsSound(std::span<const std::uint8_t> section);

// The fields that every section with syntax indicator 1 has.
struct SectionHeader {
    std::uint8_t tableId;
    std::uint16_t extension; // table_id_extension
    std::uint8_t version;
    std::uint8_t number;
    std::uint8_t last;
    bool current; // current_next_indicator
    std::uint32_t crc;
};

// The header of a sound section; nothing for a section without one (the TDT).
std::optional<SectionHeader> sectionHeader(std::span<const std::uint8_t> section);

// Each reads one sound section and returns nothing for one of another table or of no sense.
std::optional<std::vector<Program>> readPat(std::span<const std::uint8_t> section);
std::optional<std::vector<CaSystem>> readCat(std::span<const std::uint8_t> section);
struct PmtSection {
    std::uint16_t programNumber = 0;
    ProgramMap map;
};
std::optional<PmtSection> readPmt(std::uint16_t pid, std::span<const std::uint8_t> section);

} // namespace board
