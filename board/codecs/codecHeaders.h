// Reads the headers of video and audio streams: raw codes for the AVPGM record.
#pragma once

#include "stream/streamModel.h"

#include <cstdint>
#include <optional>
#include <span>

namespace board {

// Searches the start of an elementary stream (of one PES packet's data) for sequence headers. streamType is
// that of the program map. Returns nothing when the data holds none, or the coding is not known here.
std::optional<VideoFormat> readVideoFormat(std::uint8_t streamType, std::span<const std::uint8_t> data);

// The same for an audio stream, for a frame's header; coding as in the PMT record, 0 for one that it has no
// code for. The data may be of several PES packets one behind the other: frames need not begin with a PES
// packet.
std::optional<AudioFormat> readAudioFormat(std::uint16_t audioCoding, std::span<const std::uint8_t> data);

} // namespace board
