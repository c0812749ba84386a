// Text of service information (ETSI EN 300 468 annex A).
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace board {

// A text as UTF-8, up to its first zero character. Its first byte may name its character table; without one
// it is ISO/IEC 6937 with the euro sign, with one that nobody knows its ASCII characters are read, and a
// compressed text is "?". Control codes for emphasis are left out, and one for a new line is '\n'. What
// cannot be decoded is "?".
std::string dvbText(std::span<const std::uint8_t> text);

} // namespace board
