// The texts that documents have for values.
#pragma once

#include <optional>
#include <string_view>

namespace manager {

// The longest text of a value that is no text of the stream: a rate of 39 digits with its point and unit.
inline constexpr std::size_t longestValueText = 48;

// Each reads a whole text, and returns false for one that is no such value.

// In decimal.
bool readNumber(std::string_view text, int& number);

// "0x2f".
bool readHex(std::string_view text, int& number);

// "  15.040Kbps" or "   3.250Mbps", as bit/s; infinities and NaN too.
bool readRate(std::string_view text, double& bitPerSecond);

// " 25.00".
bool readDecimal(std::string_view text, double& number);

// "192kbps" as bit/s; "0", the free format; "Unknown", which is nothing.
bool readBitRate(std::string_view text, std::optional<int>& bitPerSecond);

// "44.1kHz" as Hz; "Unknown", which is nothing.
bool readSampleRate(std::string_view text, std::optional<int>& hertz);

} // namespace manager
