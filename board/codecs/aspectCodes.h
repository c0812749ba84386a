// The AVPGM record's aspect code: aspect_ratio_idc of the sample aspect ratio (ISO/IEC 14496-10 table E-1).
#pragma once

#include <cstdint>

namespace board {

inline constexpr std::uint16_t codeWide = 1;          // the code whose text is 16:9
inline constexpr std::uint16_t codeConventional = 14; // and the one whose text is 4:3

inline constexpr unsigned lastAspectCode = 16; // of the table

// The code of samples of this shape; 0 where the table has none.
std::uint16_t aspectCodeOfSamples(unsigned width, unsigned height);

} // namespace board
