// Reads the headers of video and audio streams: raw codes for the AVPGM record. GStreamer's codec parsers
// read the video headers; of audio headers a few fields are enough.
#pragma once

#include "stream/streamModel.h"

#include <cstdint>
#include <optional>
#include <span>

namespace board {

// Searches the start of an elementary stream (of one PES packet's data) for sequence headers. streamType is
// that of the program map. Returns nothing when the data holds none, or the coding is not known here.
std::optional<VideoFormat> readVideoFormat(std::uint8_t streamType, std::span<const std::uint8_t> data);

// The same for an audio stream; coding as in the PMT record.
std::optional<AudioFormat> readAudioFormat(std::uint16_t audioCoding, std::span<const std::uint8_t> data);

} // namespace board
