// Which way the texts of a transport stream's service information are coded.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace board {

// From the bytes of a text to UTF-8.
using TextReader = std::string (*)(std::span<const std::uint8_t> text);

// The way of the region that a transport stream is from, which is told by its numbers: ISDB of Japan has the
// original networks 0x7880 to 0x7FEF for its transmitters, and 4, 6 and 7 for its satellites, where the
// transport_stream_id begins with the same number. Everything else is DVB.
TextReader textReaderOf(std::uint16_t transportStreamId, std::uint16_t originalNetworkId);

} // namespace board
