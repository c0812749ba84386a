// The CRC of sections (ISO/IEC 13818-1, annex A), eight bytes at a time: every section that comes is checked,
// also one that has been read before.
#pragma once

#include "tables/section.h"

#include <cstdint>

namespace board {

// Of all the bytes; 0 where the last four are the CRC of those before.
std::uint32_t sectionCrc(SectionBytes bytes);

} // namespace board
