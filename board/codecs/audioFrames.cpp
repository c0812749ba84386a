#include "codecs/audioFrames.h"

#include "codecs/bitReader.h"

#include <bitstream/atsc/a52.h>
#include <bitstream/mpeg/aac.h>
#include <bitstream/mpeg/mpga.h>

#include <algorithm>
#include <array>

namespace board {

namespace {

using Bytes = std::span<const std::uint8_t>;

// Channel modes as MPEG audio's mode field codes them.
constexpr std::uint8_t modeStereo = 0;
constexpr std::uint8_t modeDual = 2;
constexpr std::uint8_t modeSingle = 3;
constexpr std::uint8_t modeBeyond = 4; // more channels than the field can say

// bitrate_index in kbit/s by table (ISO/IEC 11172-3 and 13818-3, 2.4.2.3).
using BitRates = std::array<unsigned, 15>;
constexpr BitRates layer2Rates{0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384};
constexpr BitRates layer1Rates{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448};
constexpr BitRates layer3Rates{0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
constexpr BitRates lowRates{0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
constexpr BitRates lowLayer1Rates{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256};

// The AVPGM record speaks in Layer II indexes, and so other rates are given as the index of the same rate; 0
// (free format) where Layer II has none.
std::uint8_t bitRateIndexOf(unsigned kilobits) {
    const auto place = std::find(layer2Rates.begin(), layer2Rates.end(), kilobits);
    return place == layer2Rates.end() ? std::uint8_t{0}
                                      : static_cast<std::uint8_t>(place - layer2Rates.begin());
}

// sampling_frequency of the same rate; 3, which the standard reserves, where there is none.
std::uint8_t sampleRateIndexOf(unsigned hertz) {
    static constexpr std::array<unsigned, 3> rates{44100, 48000, 32000};
    return static_cast<std::uint8_t>(std::find(rates.begin(), rates.end(), hertz) - rates.begin());
}

// --- MPEG audio ------------------------------------------------------------------------------------------

constexpr std::array<unsigned, 3> mpegHertz{44100, 48000, 32000};

bool isMpegAudio(const std::uint8_t* header) {
    return header[0] == 0xFF && (header[1] & 0xE0) == 0xE0 && mpga_get_layer(header) != MPGA_LAYER_ADTS &&
           mpga_get_bitrate_index(header) != MPGA_BITRATE_INVALID &&
           mpga_get_sampling_freq(header) != MPGA_SAMPLERATE_INVALID;
}

unsigned mpegHertzOf(const std::uint8_t* header) {
    const unsigned hertz = mpegHertz[mpga_get_sampling_freq(header)];
    return mpga_get_id(header) ? hertz : mpga_get_mpeg25(header) ? hertz / 4 : hertz / 2;
}

unsigned mpegKilobitsOf(const std::uint8_t* header) {
    const unsigned layer = mpga_get_layer(header);
    const bool low = !mpga_get_id(header);
    const BitRates& rates = layer == MPGA_LAYER_1   ? (low ? lowLayer1Rates : layer1Rates)
                            : low                   ? lowRates
                            : layer == MPGA_LAYER_2 ? layer2Rates
                                                    : layer3Rates;
    return rates[mpga_get_bitrate_index(header)];
}

// 0 for the free format too, whose frames tell no length.
std::size_t mpegFrameBytes(const std::uint8_t* header) {
    if (!isMpegAudio(header)) {
        return 0;
    }
    const unsigned kilobits = mpegKilobitsOf(header);
    const unsigned hertz = mpegHertzOf(header);
    const unsigned padding = mpga_get_padding(header) ? 1 : 0;
    if (kilobits == 0) {
        return 0;
    }
    switch (mpga_get_layer(header)) {
    case MPGA_LAYER_1:
        return std::size_t{4} * (12000 * kilobits / hertz + padding);
    case MPGA_LAYER_3:
        return (mpga_get_id(header) ? 144000 : 72000) * kilobits / hertz + padding;
    default:
        return 144000 * kilobits / hertz + padding;
    }
}

std::optional<AudioFormat> mpegFormat(Bytes frame) {
    const std::uint8_t* header = frame.data();
    return AudioFormat{bitRateIndexOf(mpegKilobitsOf(header)), sampleRateIndexOf(mpegHertzOf(header)),
                       mpga_get_mode(header), 0};
}

// --- AAC -------------------------------------------------------------------------------------------------

constexpr std::array<unsigned, 13> aacHertz{96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                            22050, 16000, 12000, 11025, 8000,  7350};

// channelConfiguration.
std::uint8_t aacMode(unsigned channels) {
    return channels == 1 ? modeSingle : channels == 2 ? modeStereo : modeBeyond;
}

std::size_t adtsFrameBytes(const std::uint8_t* header) {
    const bool sync = header[0] == 0xFF && (header[1] & 0xF6) == 0xF0;
    return sync && adts_get_sampling_freq(header) < aacHertz.size() ? adts_get_length(header) : 0;
}

std::optional<AudioFormat> adtsFormat(Bytes frame) {
    return AudioFormat{0, sampleRateIndexOf(aacHertz[adts_get_sampling_freq(frame.data())]),
                       aacMode(adts_get_channels(frame.data())), 0};
}

std::size_t loasFrameBytes(const std::uint8_t* header) {
    const bool sync = header[0] == 0x56 && (header[1] & 0xE0) == 0xE0;
    return sync ? std::size_t{LOAS_HEADER_SIZE} + loas_get_length(header) : 0;
}

unsigned readAudioObjectType(BitReader& bits) {
    constexpr unsigned escape = 31;
    const unsigned type = bits.bits(5);
    return type == escape ? 32 + bits.bits(6) : type;
}

unsigned readAacHertz(BitReader& bits) {
    constexpr unsigned escape = 15;
    const unsigned index = bits.bits(4);
    return index == escape ? bits.bits(24) : index < aacHertz.size() ? aacHertz[index] : 0;
}

// AudioSpecificConfig. Where it announces spectral band replication or parametric stereo, that is what is
// heard.
AudioFormat readAudioConfig(BitReader& bits) {
    constexpr unsigned bandReplication = 5;
    constexpr unsigned parametricStereo = 29;
    const unsigned type = readAudioObjectType(bits);
    unsigned hertz = readAacHertz(bits);
    unsigned channels = bits.bits(4);
    if (type == bandReplication || type == parametricStereo) {
        hertz = readAacHertz(bits);
    }
    if (type == parametricStereo && channels == 1) {
        channels = 2;
    }
    return {0, sampleRateIndexOf(hertz), aacMode(channels), 0};
}

// LatmGetValue: so many bytes of a number.
void skipLatmValue(BitReader& bits) {
    bits.skip(std::size_t{8} * (bits.bits(2) + 1));
}

// AudioMuxElement of a frame with a StreamMuxConfig of one program and one layer, as broadcasts have it.
std::optional<AudioFormat> loasFormat(Bytes frame) {
    BitReader bits(frame.subspan(LOAS_HEADER_SIZE));
    if (bits.flag()) { // useSameStreamMux: the configuration is in another frame
        return std::nullopt;
    }
    const bool version = bits.flag();
    if (version && bits.flag()) { // audioMuxVersionA, which nobody has defined
        return std::nullopt;
    }
    if (version) {
        skipLatmValue(bits); // taraBufferFullness
    }
    bits.skip(1 + 6);                             // allStreamsSameTimeFraming, numSubFrames
    if (bits.bits(4) != 0 || bits.bits(3) != 0) { // numProgram, numLayer
        return std::nullopt;
    }
    if (version) {
        skipLatmValue(bits); // ascLen
    }
    const AudioFormat format = readAudioConfig(bits);
    return bits.exhausted() ? std::nullopt : std::optional(format);
}

// --- AC-3 ------------------------------------------------------------------------------------------------

constexpr std::size_t ac3HeaderBytes = 7; // up to acmod
constexpr unsigned lastAc3 = 10;          // bsid of AC-3; from there to 16 it is Enhanced AC-3
constexpr std::array<unsigned, 4> ac3Hertz{48000, 44100, 32000, 0};

bool isEnhanced(const std::uint8_t* header) {
    return a52_get_bsid(header) > lastAc3;
}

std::uint8_t ac3Mode(unsigned coding) {
    return coding == 0 ? modeDual : coding == 1 ? modeSingle : coding == 2 ? modeStereo : modeBeyond;
}

std::size_t ac3FrameBytes(const std::uint8_t* header) {
    if (header[0] != 0x0B || header[1] != 0x77 || a52_get_bsid(header) > A52_BSID_ANNEX_E) {
        return 0;
    }
    return isEnhanced(header) ? a52e_get_frame_size(a52e_get_frmsiz(header))
                              : a52_get_frame_size(a52_get_fscod(header), a52_get_frmsizecod(header));
}

// Enhanced AC-3 tells no bit rate, and a dependent substream only what it adds to another.
std::optional<AudioFormat> enhancedFormat(const std::uint8_t* header) {
    constexpr unsigned dependent = 1; // of strmtyp, which biTStream's accessor shifts by one bit too few
    if (header[2] >> 6 == dependent) {
        return std::nullopt;
    }
    return AudioFormat{0, sampleRateIndexOf(ac3Hertz[a52e_get_fscod(header)]),
                       ac3Mode(a52e_get_acmod(header)), 0};
}

std::optional<AudioFormat> ac3Format(Bytes frame) {
    const std::uint8_t* header = frame.data();
    if (isEnhanced(header)) {
        return enhancedFormat(header);
    }
    return AudioFormat{bitRateIndexOf(a52_bitrate_tab[a52_get_frmsizecod(header)]),
                       sampleRateIndexOf(ac3Hertz[a52_get_fscod(header)]), ac3Mode(a52_get_acmod(header)), 0};
}

// --- DTS -------------------------------------------------------------------------------------------------

constexpr std::size_t dtsHeaderBytes = 11; // up to the transmission bit rate

struct DtsHeader {
    std::size_t frameBytes;
    unsigned channels; // AMODE
    unsigned frequency;
    unsigned rate;
};

DtsHeader readDtsHeader(const std::uint8_t* header) {
    BitReader bits(Bytes(header, dtsHeaderBytes));
    bits.skip(32 + 1 + 5 + 1 + 7); // the sync word, and what follows up to the frame size
    DtsHeader read{};
    read.frameBytes = bits.bits(14) + 1;
    read.channels = bits.bits(6);
    read.frequency = bits.bits(4);
    read.rate = bits.bits(5);
    return read;
}

std::size_t dtsFrameBytes(const std::uint8_t* header) {
    static constexpr std::array<std::uint8_t, 4> sync{0x7F, 0xFE, 0x80, 0x01};
    constexpr std::size_t shortest = 96;
    if (!std::equal(sync.begin(), sync.end(), header)) {
        return 0;
    }
    const std::size_t bytes = readDtsHeader(header).frameBytes;
    return bytes >= shortest ? bytes : 0;
}

std::uint8_t dtsMode(unsigned channels) {
    constexpr unsigned lastOfTwo = 4; // sum and difference, left and right total
    return channels == 0           ? modeSingle
           : channels == 1         ? modeDual
           : channels <= lastOfTwo ? modeStereo
                                   : modeBeyond;
}

std::optional<AudioFormat> dtsFormat(Bytes frame) {
    static constexpr std::array<unsigned, 16> hertz{0,     8000, 16000, 32000, 0,     0,     11025, 22050,
                                                    44100, 0,    0,     12000, 24000, 48000, 0,     0};
    static constexpr std::array<unsigned, 11> kilobits{32, 56, 64, 96, 112, 128, 192, 224, 256, 320, 384};
    const DtsHeader header = readDtsHeader(frame.data());
    const unsigned rate = header.rate < kilobits.size() ? kilobits[header.rate] : 0;
    return AudioFormat{bitRateIndexOf(rate), sampleRateIndexOf(hertz[header.frequency]),
                       dtsMode(header.channels), 0};
}

} // namespace

const AudioFraming mpegAudioFraming{MPGA_HEADER_SIZE, mpegFrameBytes, mpga_sync_compare_formats, mpegFormat};
const AudioFraming adtsFraming{ADTS_HEADER_SIZE, adtsFrameBytes, adts_sync_compare_formats, adtsFormat};
const AudioFraming loasFraming{LOAS_HEADER_SIZE, loasFrameBytes, nullptr, loasFormat};
const AudioFraming ac3Framing{ac3HeaderBytes, ac3FrameBytes, nullptr, ac3Format};
const AudioFraming dtsFraming{dtsHeaderBytes, dtsFrameBytes, nullptr, dtsFormat};

std::optional<AudioFormat> findAudioFormat(const AudioFraming& framing, std::span<const std::uint8_t> data) {
    const auto proven = [&](std::size_t at, std::size_t next) {
        if (next + framing.headerBytes > data.size()) {
            return at == 0;
        }
        return framing.frameBytes(data.data() + next) != 0 &&
               (framing.sameStream == nullptr || framing.sameStream(data.data() + at, data.data() + next));
    };
    for (std::size_t at = 0; at + framing.headerBytes <= data.size(); ++at) {
        const std::size_t bytes = framing.frameBytes(data.data() + at);
        if (bytes == 0 || !proven(at, at + bytes)) {
            continue;
        }
        const std::size_t frameEnd = std::max(bytes, framing.headerBytes);
        if (const auto format = framing.format(data.subspan(at, std::min(frameEnd, data.size() - at)))) {
            return format;
        }
    }
    return std::nullopt;
}

} // namespace board
