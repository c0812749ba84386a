// Numbers as documents show them, written at a place that has room for the longest text of their kind.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mpegfe {

// Longest texts, sign and unit included. A rate may be any single-precision number: 39 digits before its
// point.
inline constexpr std::size_t longestInteger = 11;
inline constexpr std::size_t longestHex = 10;
inline constexpr std::size_t longestRate = 48;

// All return the end of what they wrote.

// "%d".
char* formatNumber(char* at, std::int32_t number);

// "0x%x".
char* formatHex(char* at, std::uint32_t number);

// A rate in bit/s: "%8.3fMbps" of rate / 1000000 above 1000000, else as formatRateKbps.
char* formatRate(char* at, float rate);

// A rate in bit/s: "%8.3fKbps" of rate / 1000.
char* formatRateKbps(char* at, float rate);

// "%6.2f".
char* formatPictureRate(char* at, float picturesPerSecond);

} // namespace mpegfe
