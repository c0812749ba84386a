#include "codecs/mpegVideo.h"

#include "codecs/aspectCodes.h"
#include "codecs/bitReader.h"
#include "codecs/startCodes.h"

#include <bitstream/mpeg/mp2v.h>

#include <algorithm>
#include <array>
#include <bit>

namespace board {

namespace {

using Bytes = std::span<const std::uint8_t>;

// biTStream's accessors count from the start code, of which a unit holds only the last byte.
constexpr std::size_t codeBytes = 3;

constexpr std::uint32_t profileOf(std::uint8_t profileAndLevel) {
    return profileAndLevel >> 4;
}
constexpr std::uint32_t levelOf(std::uint8_t profileAndLevel) {
    return profileAndLevel & 0x0F;
}

// A header as biTStream's accessors take it, with its start code; nothing where the unit is too short.
template <std::size_t size>
std::optional<std::array<std::uint8_t, size>> headerOf(Bytes unit) {
    if (unit.size() + codeBytes < size) {
        return std::nullopt;
    }
    std::array<std::uint8_t, size> header{};
    std::copy_n(unit.begin(), size - codeBytes, header.begin() + codeBytes);
    return header;
}

// Pictures per second by frame_rate_code (table 6-4); 0 for a reserved one.
float pictureRate(unsigned code) {
    static constexpr std::array<double, 9> rates{0,  24000.0 / 1001, 24, 25, 30000.0 / 1001, 30,
                                                 50, 60000.0 / 1001, 60};
    return code < rates.size() ? static_cast<float>(rates[code]) : 0;
}

// The aspect code whose text is the display aspect ratio that aspect_ratio_information names (table 6-3):
// MPEG-2 codes display shapes where H.264 codes sample shapes.
std::uint16_t aspectCodeOf(unsigned aspect, unsigned width, unsigned height) {
    switch (aspect) {
    case MP2VSEQ_ASPECT_SQUARE:
        return width * 9 == height * 16 ? codeWide : width * 3 == height * 4 ? codeConventional : 0;
    case MP2VSEQ_ASPECT_4_3:
        return codeConventional;
    case MP2VSEQ_ASPECT_16_9:
        return codeWide;
    default:
        return 0;
    }
}

void takeExtension(const std::uint8_t* extension, VideoFormat& format) {
    format.width = static_cast<std::uint16_t>(format.width | mp2vseqx_get_horizontal(extension) << 12);
    format.height = static_cast<std::uint16_t>(format.height | mp2vseqx_get_vertical(extension) << 12);
    format.pictureRate *= static_cast<float>(mp2vseqx_get_frameraten(extension) + 1) /
                          static_cast<float>(mp2vseqx_get_framerated(extension) + 1);
    format.profile = profileOf(mp2vseqx_get_profilelevel(extension));
    format.level = levelOf(mp2vseqx_get_profilelevel(extension));
}

// --- MPEG-4 visual ---------------------------------------------------------------------------------------

constexpr std::uint8_t firstLayerCode = 0x20; // video_object_layer_start_code
constexpr std::uint8_t lastLayerCode = 0x2F;
constexpr std::uint8_t sequenceCode = 0xB0; // visual_object_sequence_start_code

std::uint16_t readAspect(BitReader& bits) {
    constexpr unsigned extended = 15;
    constexpr unsigned lastOfTable = 5; // the first five are those of aspect_ratio_idc
    const unsigned aspect = bits.bits(4);
    if (aspect == extended) {
        const unsigned width = bits.bits(8);
        return aspectCodeOfSamples(width, bits.bits(8));
    }
    return aspect <= lastOfTable ? static_cast<std::uint16_t>(aspect) : std::uint16_t{0};
}

void skipControlParameters(BitReader& bits) {
    constexpr std::size_t vbvBits = 79;
    bits.skip(2 + 1);  // chroma_format, low_delay
    if (bits.flag()) { // vbv_parameters
        bits.skip(vbvBits);
    }
}

// Pictures per second where all are equally long; else 0.
float readFixedRate(BitReader& bits) {
    bits.skip(1); // marker_bit
    const unsigned resolution = bits.bits(16);
    bits.skip(1);
    if (!bits.flag() || resolution == 0) { // fixed_vop_rate
        return 0;
    }
    const unsigned width = std::max(1U, static_cast<unsigned>(std::bit_width(resolution - 1)));
    const unsigned increment = bits.bits(width);
    return increment == 0 ? 0 : static_cast<float>(resolution) / static_cast<float>(increment);
}

std::optional<VideoFormat> readLayer(Bytes unit) {
    constexpr unsigned rectangular = 0;
    VideoFormat format;
    BitReader bits(unit.subspan(1));
    bits.skip(1 + 8);  // random_accessible_vol, video_object_type_indication
    if (bits.flag()) { // is_object_layer_identifier
        bits.skip(4 + 3);
    }
    format.aspectCode = readAspect(bits);
    if (bits.flag()) { // vol_control_parameters
        skipControlParameters(bits);
    }
    const unsigned shape = bits.bits(2);
    if (shape != rectangular) {
        return std::nullopt; // broadcasts have pictures, which are rectangular
    }
    format.pictureRate = readFixedRate(bits);
    bits.skip(1);
    format.width = static_cast<std::uint16_t>(bits.bits(13));
    bits.skip(1);
    format.height = static_cast<std::uint16_t>(bits.bits(13));
    const bool sound = !bits.exhausted() && format.width != 0 && format.height != 0;
    return sound ? std::optional(format) : std::nullopt;
}

} // namespace

std::optional<VideoFormat> readMpegVideo(std::span<const std::uint8_t> data) {
    std::optional<VideoFormat> format;
    unsigned aspect = 0;
    StartCodes codes(data);
    for (Bytes unit = codes.unit(); !unit.empty(); unit = codes.unit()) {
        if (unit[0] == MP2VSEQ_START_CODE) {
            if (const auto header = headerOf<MP2VSEQ_HEADER_SIZE>(unit)) {
                format.emplace();
                format->width = mp2vseq_get_horizontal(header->data());
                format->height = mp2vseq_get_vertical(header->data());
                format->pictureRate = pictureRate(mp2vseq_get_framerate(header->data()));
                aspect = mp2vseq_get_aspect(header->data());
            }
        } else if (format) {
            const auto extension = headerOf<MP2VSEQX_HEADER_SIZE>(unit);
            if (unit[0] == MP2VX_START_CODE && extension &&
                mp2vx_get_id(extension->data()) == MP2VX_ID_SEQX) {
                takeExtension(extension->data(), *format);
            }
            break; // where no extension follows, it is MPEG-1
        }
    }
    if (format) {
        format->aspectCode = aspectCodeOf(aspect, format->width, format->height);
    }
    return format;
}

std::optional<VideoFormat> readMpeg4Visual(std::span<const std::uint8_t> data) {
    std::uint8_t profileAndLevel = 0;
    StartCodes codes(data);
    for (Bytes unit = codes.unit(); !unit.empty(); unit = codes.unit()) {
        if (unit[0] == sequenceCode && unit.size() > 1) {
            profileAndLevel = unit[1];
        } else if (unit[0] >= firstLayerCode && unit[0] <= lastLayerCode) {
            if (auto format = readLayer(unit)) {
                format->profile = profileOf(profileAndLevel);
                format->level = levelOf(profileAndLevel);
                return format;
            }
        }
    }
    return std::nullopt;
}

} // namespace board
