#include "tables/section.h"

#include <bitstream/mpeg/psi.h>

namespace board {

bool sectionIsSound(SectionBytes section) {
    if (section.size() < PSI_HEADER_SIZE ||
        section.size() != psi_get_length(section.data()) + std::size_t{PSI_HEADER_SIZE} ||
        !psi_validate(section.data())) {
        return false;
    }
    return !psi_get_syntax(section.data()) || psi_check_crc(section.data());
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
