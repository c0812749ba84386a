// Reads PSI and SI sections (ISO/IEC 13818-1, 2.4.4; ETSI EN 300 468) into rows of the stream model.
// GStreamer's MPEG-TS library decodes sections, descriptors and DVB text.
#pragma once

#include "streamModel.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace board {

// Initialises the libraries that read sections and codec headers. Once a process, before anything is read.
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

// Each reads one sound section that came on pid and returns nothing for one of another table or of no sense.
std::optional<std::vector<Program>> readPat(std::span<const std::uint8_t> section);
struct PmtSection {
    std::uint16_t programNumber;
    ProgramMap map;
};
std::optional<PmtSection> readPmt(std::uint16_t pid, std::span<const std::uint8_t> section);
// The SDT of the actual transport stream only.
std::optional<ServiceTable> readSdt(std::span<const std::uint8_t> section);

// Collects the rows of a table that comes in several sections.
template <class Row>
class SectionedTable {
  public:
    // Takes one section's rows. A new version, or another extension, starts the table anew.
    void put(const SectionHeader& header, std::vector<Row> rows) {
        const bool anew = !header_ || header_->version != header.version ||
                          header_->extension != header.extension || header_->last != header.last;
        if (anew) {
            sections_.clear();
        }
        header_ = header;
        sections_[header.number] = std::move(rows);
    }

    // Whether every section from 0 to the last has come.
    bool complete() const {
        return header_ && sections_.size() == std::size_t{header_->last} + 1;
    }

    // The rows so far, in the order of the sections.
    std::vector<Row> rows() const {
        std::vector<Row> all;
        for (const auto& [number, rows] : sections_) {
            all.insert(all.end(), rows.begin(), rows.end());
        }
        return all;
    }

  private:
    std::optional<SectionHeader> header_;
    std::map<std::uint8_t, std::vector<Row>> sections_;
};

} // namespace board
