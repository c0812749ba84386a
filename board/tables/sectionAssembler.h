// Puts the sections of one PID together from packet payloads (ISO/IEC 13818-1, 2.4.4).
#pragma once

#include <cstdint>
#include <functional>
#include <span>

namespace board {

class SectionAssembler {
  public:
    SectionAssembler() = default;
    SectionAssembler(const SectionAssembler&) = delete;
    SectionAssembler& operator=(const SectionAssembler&) = delete;
    ~SectionAssembler();

    // A whole section, from table_id to its end, not checked in any way but its length. Behind one whose
    // lengths make no sense nobody knows where the next begins: it is looked for in the next unit.
    using OnSection = std::function<void(std::span<const std::uint8_t>)>;

    // Takes the payload of one packet; unitStart is its payload_unit_start_indicator. Calls onSection for
    // each section that ends in it. A PES packet that begins on the PID holds no sections.
    void payload(std::span<const std::uint8_t> bytes, bool unitStart, const OnSection& onSection);

    // A packet is missing: what has been collected of a section is lost.
    void lost();

  private:
    void take(std::span<const std::uint8_t> bytes, const OnSection& onSection);

    std::uint8_t* buffer_ = nullptr; // grown by biTStream with malloc
    std::uint16_t used_ = 0;
    bool synchronised_ = false; // a section start has been seen since the last loss
};

} // namespace board
