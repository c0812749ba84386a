// The table_ids of ISO/IEC 13818-1 (table 2-31) and ETSI EN 300 468 (table 2) that the board asks for by
// name.
#pragma once

#include <cstdint>

namespace board {

inline constexpr std::uint8_t patTable = 0x00;
inline constexpr std::uint8_t catTable = 0x01;
inline constexpr std::uint8_t pmtTable = 0x02;
inline constexpr std::uint8_t nitActualTable = 0x40;
inline constexpr std::uint8_t sdtActualTable = 0x42;
inline constexpr std::uint8_t firstScheduleTable = 0x50; // EIT schedule of the actual stream
inline constexpr std::uint8_t lastScheduleTable = 0x5F;
inline constexpr std::uint8_t tdtTable = 0x70;
inline constexpr std::uint8_t stuffingTable = 0x72; // may hold anything
inline constexpr std::uint8_t totTable = 0x73;

} // namespace board
