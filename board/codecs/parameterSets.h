// Reads the parameter sets of H.264 (ISO/IEC 14496-10, 7.3.2) and H.265 (ISO/IEC 23008-2, 7.3.2).
#pragma once

#include "stream/streamModel.h"

#include <cstdint>
#include <optional>
#include <span>

namespace board {

// Searches a stream of NAL units behind start codes for a sequence parameter set; of H.264, also for a
// picture parameter set of that sequence, which tells the entropy coding. Nothing where there is no set, or
// none that is whole and makes sense.
std::optional<VideoFormat> readH264(std::span<const std::uint8_t> data);
std::optional<VideoFormat> readH265(std::span<const std::uint8_t> data);

} // namespace board
