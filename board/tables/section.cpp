#include "tables/section.h"

#include "tables/sectionCrc.h"

#include <bitstream/dvb/si.h>
#include <bitstream/mpeg/psi.h>

#include <algorithm>
#include <array>
#include <utility>

namespace board {

namespace {

// First and last table_id.
constexpr std::array<std::pair<std::uint8_t, std::uint8_t>, 6> crcTables{{
    {PAT_TABLE_ID, PMT_TABLE_ID},
    {NIT_TABLE_ID_ACTUAL, SDT_TABLE_ID_ACTUAL},
    {SDT_TABLE_ID_OTHER, SDT_TABLE_ID_OTHER},
    {BAT_TABLE_ID, BAT_TABLE_ID},
    {EIT_TABLE_ID_PF_ACTUAL, EIT_TABLE_ID_SCHED_OTHER_LAST},
    {TOT_TABLE_ID, TOT_TABLE_ID},
}};

constexpr std::uint8_t stuffingTable = 0x72; // may hold anything

// Whether sections of this table never are without the header of section_syntax_indicator 1.
bool hasLongHeader(std::uint8_t tableId) {
    return isCrcTable(tableId) && tableId != TOT_TABLE_ID;
}

} // namespace

bool isCrcTable(std::uint8_t tableId) {
    return std::ranges::any_of(
        crcTables, [&](const auto& range) { return tableId >= range.first && tableId <= range.second; });
}

bool sectionLengthsFit(SectionBytes section) {
    return section.size() >= PSI_HEADER_SIZE &&
           section.size() == psi_get_length(section.data()) + std::size_t{PSI_HEADER_SIZE} &&
           (psi_get_tableid(section.data()) == stuffingTable || psi_validate(section.data())) &&
           (psi_get_syntax(section.data()) || !hasLongHeader(psi_get_tableid(section.data())));
}

bool sectionCrcFits(SectionBytes section) {
    const std::uint8_t table = psi_get_tableid(section.data());
    if (table == stuffingTable || !(psi_get_syntax(section.data()) || isCrcTable(table))) {
        return true;
    }
    return section.size() >= PSI_HEADER_SIZE + PSI_CRC_SIZE && sectionCrc(section) == 0;
}

std::optional<SectionHeader> sectionHeader(SectionBytes section) {
    const std::uint8_t* bytes = section.data();
    if (section.size() < PSI_HEADER_SIZE_SYNTAX1 + PSI_CRC_SIZE || !psi_get_syntax(bytes)) {
        return std::nullopt;
    }
    const std::uint8_t* crc = bytes + section.size() - PSI_CRC_SIZE;
    return SectionHeader{psi_get_tableid(bytes),
                         psi_get_tableidext(bytes),
                         psi_get_version(bytes),
                         psi_get_section(bytes),
                         psi_get_lastsection(bytes),
                         psi_get_current(bytes),
                         static_cast<std::uint32_t>(crc[0]) << 24 | static_cast<std::uint32_t>(crc[1]) << 16 |
                             static_cast<std::uint32_t>(crc[2]) << 8 | crc[3]};
}

} // namespace board
