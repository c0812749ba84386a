// Finds frames of coded audio and reads their headers: MPEG audio (ISO/IEC 11172-3, 13818-3), AAC in ADTS and
// LOAS (ISO/IEC 14496-3), AC-3 and Enhanced AC-3 (ETSI TS 102 366), DTS (ETSI TS 102 114).
#pragma once

#include "stream/streamModel.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace board {

// How the frames of a coding stand one behind the other.
struct AudioFraming {
    std::size_t headerBytes;
    // The length of the frame with this header of headerBytes; 0 for what is no header of this coding.
    std::size_t (*frameBytes)(const std::uint8_t* header);
    // Whether the next header belongs to the same stream; nullptr where any header does.
    bool (*sameStream)(const std::uint8_t* header, const std::uint8_t* next);
    // What a frame, or as much of it as there is, tells; nothing for a frame that holds no format.
    std::optional<AudioFormat> (*format)(std::span<const std::uint8_t> frame);
};

extern const AudioFraming mpegAudioFraming; // of every layer and sampling rate
extern const AudioFraming adtsFraming;
extern const AudioFraming loasFraming;
extern const AudioFraming ac3Framing; // Enhanced AC-3 too
extern const AudioFraming dtsFraming;

// The format of the first frame that is proven. A sync word inside coded audio is no header: the next frame's
// sync word proves it, or, where the data end before that, that the frame is the first thing in them.
std::optional<AudioFormat> findAudioFormat(const AudioFraming& framing, std::span<const std::uint8_t> data);

} // namespace board
