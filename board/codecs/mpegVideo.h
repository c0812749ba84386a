// Reads the sequence headers of MPEG-1 and MPEG-2 video (ISO/IEC 13818-2, 6.2.2) and of MPEG-4 visual
// (ISO/IEC 14496-2, 6.2.3).
#pragma once

#include "stream/streamModel.h"

#include <cstdint>
#include <optional>
#include <span>

namespace board {

// Searches for a sequence header, with its extension where one follows. Of profile_and_level_indication, the
// profile is the upper four bits, the escape bit included, and the level the lower four.
std::optional<VideoFormat> readMpegVideo(std::span<const std::uint8_t> data);

// Searches for a video object layer.
std::optional<VideoFormat> readMpeg4Visual(std::span<const std::uint8_t> data);

} // namespace board
