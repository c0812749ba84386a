#include "codecs/codecHeaders.h"

#include "codecs/audioFrames.h"
#include "codecs/mpegVideo.h"
#include "codecs/parameterSets.h"

#include <array>

namespace board {

namespace {

struct VideoReader {
    std::uint8_t streamType;
    std::optional<VideoFormat> (*read)(std::span<const std::uint8_t>);
};

constexpr std::array<VideoReader, 7> videoReaders{{
    {0x01, readMpegVideo},
    {0x02, readMpegVideo},
    {0x06, readH265}, // private PES packets, which their registration tells to be HEVC
    {0x10, readMpeg4Visual},
    {0x1B, readH264},
    {0x24, readH265},
    {0xDB, readH264}, // encrypted samples; the parameter sets are not
}};

constexpr std::uint16_t codingAac = 1;

struct AudioReader {
    std::uint16_t coding;
    const AudioFraming* framing;
    std::uint16_t found; // the coding, where it is not the announced one; else 0
};

// In the order in which they are tried. Streams that are announced as MPEG audio hold ADTS at times.
constexpr std::array<AudioReader, 11> audioReaders{{
    {0, &ac3Framing, 0},
    {0, &dtsFraming, 0},
    {1, &adtsFraming, 0},
    {1, &loasFraming, 0},
    {2, &ac3Framing, 0},
    {3, &mpegAudioFraming, 0},
    {3, &adtsFraming, codingAac},
    {4, &mpegAudioFraming, 0},
    {4, &adtsFraming, codingAac},
    {5, &adtsFraming, 0},
    {5, &loasFraming, 0},
}};

} // namespace

std::optional<VideoFormat> readVideoFormat(std::uint8_t streamType, std::span<const std::uint8_t> data) {
    for (const VideoReader& reader : videoReaders) {
        if (reader.streamType == streamType) {
            return reader.read(data);
        }
    }
    return std::nullopt;
}

std::optional<AudioFormat> readAudioFormat(std::uint16_t audioCoding, std::span<const std::uint8_t> data) {
    for (const AudioReader& reader : audioReaders) {
        auto format = reader.coding == audioCoding ? findAudioFormat(*reader.framing, data) : std::nullopt;
        if (format) {
            format->coding = reader.found;
            return format;
        }
    }
    return std::nullopt;
}

} // namespace board
