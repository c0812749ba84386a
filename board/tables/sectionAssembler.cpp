#include "tables/sectionAssembler.h"

#include "tables/section.h"

#include <bitstream/mpeg/psi.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace board {

namespace {

// Whether a unit begins with the start code of a PES packet: as a section that would be a PAT whose
// section_syntax_indicator is 0, which there is not.
bool startsPesPacket(std::span<const std::uint8_t> unit) {
    constexpr std::array<std::uint8_t, 3> prefix{0, 0, 1};
    constexpr std::uint8_t firstStreamId = 0xBC;
    return unit.size() > prefix.size() && std::ranges::equal(unit.first(prefix.size()), prefix) &&
           unit[prefix.size()] >= firstStreamId;
}

} // namespace

SectionAssembler::~SectionAssembler() {
    psi_assemble_reset(&buffer_, &used_);
}

void SectionAssembler::payload(std::span<const std::uint8_t> bytes, bool unitStart,
                               const OnSection& onSection) {
    if (bytes.empty()) {
        return;
    }
    if (!unitStart) {
        if (synchronised_) {
            take(bytes, onSection);
        }
        return;
    }
    const std::size_t pointer = bytes[0]; // pointer_field
    const auto body = bytes.subspan(1);
    if (pointer >= body.size() || startsPesPacket(bytes)) {
        lost();
        return;
    }
    if (synchronised_ && !psi_assemble_empty(&buffer_, &used_)) {
        take(body.first(pointer), onSection);
    }
    lost(); // whatever is unfinished now cannot be finished any more
    synchronised_ = true;
    take(body.subspan(pointer), onSection);
}

void SectionAssembler::lost() {
    psi_assemble_reset(&buffer_, &used_);
    synchronised_ = false;
}

void SectionAssembler::take(std::span<const std::uint8_t> bytes, const OnSection& onSection) {
    const std::uint8_t* at = bytes.data();
    auto left = static_cast<std::uint8_t>(bytes.size());
    while (left > 0) {
        if (std::uint8_t* section = psi_assemble_payload(&buffer_, &used_, &at, &left)) {
            const std::size_t size = psi_get_length(section) + std::size_t{PSI_HEADER_SIZE};
            const bool fits = sectionLengthsFit({section, size});
            onSection({section, size});
            std::free(section);
            if (!fits) {
                lost();
                return;
            }
        }
    }
}

} // namespace board
