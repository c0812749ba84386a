#include "codecs/codecHeaders.h"

#include <gst/codecparsers/gsth264parser.h>
#include <gst/codecparsers/gsth265parser.h>
#include <gst/codecparsers/gstmpegvideoparser.h>

#include <bitstream/atsc/a52.h>
#include <bitstream/mpeg/aac.h>
#include <bitstream/mpeg/mpga.h>

#include <algorithm>
#include <array>
#include <memory>

namespace board {

namespace {

constexpr std::uint16_t codeWide = 1;          // the AVPGM record's aspect code that reads 16:9
constexpr std::uint16_t codeConventional = 14; // and the one that reads 4:3

float ratio(int numerator, int denominator) {
    return denominator > 0 ? static_cast<float>(numerator) / static_cast<float>(denominator) : 0.0F;
}

// aspect_ratio_idc 1 to 16, for a sample aspect ratio given as numbers; 0 where the table has none
// (ISO/IEC 14496-10 table E-1).
std::uint16_t aspectCodeOfSamples(unsigned width, unsigned height) {
    struct Shape {
        unsigned width;
        unsigned height;
    };
    static constexpr std::array<Shape, 16> shapes{{{1, 1},
                                                   {12, 11},
                                                   {10, 11},
                                                   {16, 11},
                                                   {40, 33},
                                                   {24, 11},
                                                   {20, 11},
                                                   {32, 11},
                                                   {80, 33},
                                                   {18, 11},
                                                   {15, 11},
                                                   {64, 33},
                                                   {160, 99},
                                                   {4, 3},
                                                   {3, 2},
                                                   {2, 1}}};
    for (std::size_t k = 0; k < shapes.size(); ++k) {
        if (std::uint64_t{width} * shapes[k].height == std::uint64_t{height} * shapes[k].width) {
            return static_cast<std::uint16_t>(k + 1);
        }
    }
    return 0;
}

std::uint16_t aspectCode(bool present, unsigned idc, unsigned sarWidth, unsigned sarHeight) {
    constexpr unsigned extended = 255;
    constexpr unsigned lastOfTable = 16;
    if (!present || (idc > lastOfTable && idc != extended)) {
        return 0;
    }
    if (idc != extended) {
        return static_cast<std::uint16_t>(idc);
    }
    return sarWidth == 0 || sarHeight == 0 ? std::uint16_t{0} : aspectCodeOfSamples(sarWidth, sarHeight);
}

struct H264ParserFree {
    void operator()(GstH264NalParser* parser) const {
        gst_h264_nal_parser_free(parser);
    }
};
struct H265ParserFree {
    void operator()(GstH265Parser* parser) const {
        gst_h265_parser_free(parser);
    }
};

VideoFormat formatOf(const GstH264SPS& sps) {
    VideoFormat format;
    format.width = static_cast<std::uint16_t>(sps.frame_cropping_flag ? sps.crop_rect_width : sps.width);
    format.height = static_cast<std::uint16_t>(sps.frame_cropping_flag ? sps.crop_rect_height : sps.height);
    format.profile = sps.profile_idc;
    format.level = sps.level_idc;
    if (sps.vui_parameters_present_flag) {
        const GstH264VUIParams& vui = sps.vui_parameters;
        format.aspectCode = aspectCode(vui.aspect_ratio_info_present_flag, vui.aspect_ratio_idc,
                                       vui.sar_width, vui.sar_height);
        int numerator = 0;
        int denominator = 0;
        gst_h264_video_calculate_framerate(&sps, 0, 0, &numerator, &denominator);
        format.pictureRate = ratio(numerator, denominator);
    }
    return format;
}

std::optional<VideoFormat> readH264(std::span<const std::uint8_t> data) {
    const std::unique_ptr<GstH264NalParser, H264ParserFree> parser(gst_h264_nal_parser_new());
    std::optional<VideoFormat> format;
    GstH264NalUnit nal{};
    guint offset = 0;
    GstH264ParserResult result = GST_H264_PARSER_OK;
    // A unit that runs past the end is still identified, and a parameter set in it may be whole.
    while (result == GST_H264_PARSER_OK) {
        result = gst_h264_parser_identify_nalu(parser.get(), data.data(), offset, data.size(), &nal);
        if (result != GST_H264_PARSER_OK && result != GST_H264_PARSER_NO_NAL_END) {
            break;
        }
        if (nal.type == GST_H264_NAL_SPS) {
            GstH264SPS sps{};
            if (gst_h264_parser_parse_sps(parser.get(), &nal, &sps) == GST_H264_PARSER_OK) {
                format = formatOf(sps);
            }
            gst_h264_sps_clear(&sps);
        } else if (nal.type == GST_H264_NAL_PPS && format) {
            GstH264PPS pps{};
            const bool read = gst_h264_parser_parse_pps(parser.get(), &nal, &pps) == GST_H264_PARSER_OK;
            format->entropyFlag = read ? pps.entropy_coding_mode_flag : 0;
            gst_h264_pps_clear(&pps);
            if (read) {
                return format;
            }
        }
        offset = nal.offset + nal.size;
    }
    return format;
}

std::optional<VideoFormat> readH265(std::span<const std::uint8_t> data) {
    const std::unique_ptr<GstH265Parser, H265ParserFree> parser(gst_h265_parser_new());
    GstH265NalUnit nal{};
    guint offset = 0;
    GstH265ParserResult result = GST_H265_PARSER_OK;
    while (result == GST_H265_PARSER_OK) {
        result = gst_h265_parser_identify_nalu(parser.get(), data.data(), offset, data.size(), &nal);
        if (result != GST_H265_PARSER_OK && result != GST_H265_PARSER_NO_NAL_END) {
            break;
        }
        if (nal.type == GST_H265_NAL_VPS) {
            GstH265VPS vps{};
            gst_h265_parser_parse_vps(parser.get(), &nal, &vps);
        } else if (nal.type == GST_H265_NAL_SPS) {
            auto sps = std::make_unique<GstH265SPS>();
            if (gst_h265_parser_parse_sps(parser.get(), &nal, sps.get(), TRUE) == GST_H265_PARSER_OK) {
                const bool cropped = sps->conformance_window_flag != 0;
                VideoFormat format;
                format.width = static_cast<std::uint16_t>(cropped ? sps->crop_rect_width : sps->width);
                format.height = static_cast<std::uint16_t>(cropped ? sps->crop_rect_height : sps->height);
                format.pictureRate = ratio(sps->fps_num, sps->fps_den);
                const GstH265VUIParams& vui = sps->vui_params;
                format.aspectCode =
                    aspectCode(sps->vui_parameters_present_flag && vui.aspect_ratio_info_present_flag,
                               vui.aspect_ratio_idc, vui.sar_width, vui.sar_height);
                format.profile = sps->profile_tier_level.profile_idc;
                format.level = sps->profile_tier_level.level_idc;
                return format;
            }
        }
        offset = nal.offset + nal.size;
    }
    return std::nullopt;
}

// The aspect code whose text is the display aspect ratio that aspect_ratio_information names (ISO/IEC 13818-2
// table 6-3): MPEG-2 codes display shapes where H.264 codes sample shapes.
std::uint16_t aspectCodeOfMpeg2(const GstMpegVideoSequenceHdr& header, unsigned width, unsigned height) {
    switch (header.aspect_ratio_info) {
    case 1: // square samples
        return width * 9 == height * 16 ? codeWide : width * 3 == height * 4 ? codeConventional : 0;
    case 2:
        return codeConventional;
    case 3:
        return codeWide;
    default:
        return 0;
    }
}

std::optional<VideoFormat> readMpegVideo(std::span<const std::uint8_t> data) {
    std::optional<VideoFormat> format;
    GstMpegVideoSequenceHdr header{};
    GstMpegVideoPacket packet{};
    guint offset = 0;
    while (gst_mpeg_video_parse(&packet, data.data(), data.size(), offset)) {
        if (packet.type == GST_MPEG_VIDEO_PACKET_SEQUENCE && packet.size != 0 &&
            gst_mpeg_video_packet_parse_sequence_header(&packet, &header)) {
            format.emplace();
            format->width = header.width;
            format->height = header.height;
            format->pictureRate = ratio(static_cast<int>(header.fps_n), static_cast<int>(header.fps_d));
        } else if (packet.type == GST_MPEG_VIDEO_PACKET_EXTENSION && format) {
            GstMpegVideoSequenceExt extension{};
            if (gst_mpeg_video_packet_parse_sequence_extension(&packet, &extension)) {
                format->width = static_cast<std::uint16_t>(format->width | extension.horiz_size_ext << 12);
                format->height = static_cast<std::uint16_t>(format->height | extension.vert_size_ext << 12);
                format->pictureRate *=
                    static_cast<float>(extension.fps_n_ext + 1) / static_cast<float>(extension.fps_d_ext + 1);
                format->profile = extension.profile;
                format->level = extension.level;
                break;
            }
        } else if (format) {
            break; // no extension follows: MPEG-1
        }
        if (packet.size < 0) {
            break;
        }
        offset = packet.offset + static_cast<guint>(packet.size);
    }
    if (format) {
        format->aspectCode = aspectCodeOfMpeg2(header, format->width, format->height);
    }
    return format;
}

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

constexpr std::uint8_t modeStereo = 0;
constexpr std::uint8_t modeDual = 2;
constexpr std::uint8_t modeSingle = 3;
constexpr std::uint8_t modeBeyond = 4; // more channels than the mode field can say
constexpr std::uint16_t codingAac = 1;

struct MpegAudioHeader {
    AudioFormat format;
    std::size_t frameBytes; // 0 for the free format
};

std::optional<MpegAudioHeader> readMpegAudioHeader(const std::uint8_t* header) {
    const unsigned layer = mpga_get_layer(header);
    const unsigned rateIndex = mpga_get_bitrate_index(header);
    const unsigned frequency = mpga_get_sampling_freq(header);
    if (header[0] != 0xFF || (header[1] & 0xE0) != 0xE0 || layer == MPGA_LAYER_ADTS ||
        rateIndex == MPGA_BITRATE_INVALID || frequency == MPGA_SAMPLERATE_INVALID) {
        return std::nullopt;
    }
    static constexpr std::array<unsigned, 3> hertz{44100, 48000, 32000};
    const bool low = !mpga_get_id(header);
    const unsigned rateHertz =
        low ? (mpga_get_mpeg25(header) ? hertz[frequency] / 4 : hertz[frequency] / 2) : hertz[frequency];
    const BitRates& rates = layer == MPGA_LAYER_1   ? (low ? lowLayer1Rates : layer1Rates)
                            : low                   ? lowRates
                            : layer == MPGA_LAYER_2 ? layer2Rates
                                                    : layer3Rates;
    const unsigned kilobits = rates[rateIndex];
    const std::size_t padding = mpga_get_padding(header) ? 1 : 0;
    std::size_t bytes = 0;
    if (kilobits != 0) {
        bytes = layer == MPGA_LAYER_1          ? (12000 * kilobits / rateHertz + padding) * 4
                : layer == MPGA_LAYER_3 && low ? 72000 * kilobits / rateHertz + padding
                                               : 144000 * kilobits / rateHertz + padding;
    }
    return MpegAudioHeader{{bitRateIndexOf(kilobits), sampleRateIndexOf(rateHertz), mpga_get_mode(header), 0},
                           bytes};
}

// A sync word inside coded audio is no header: the next frame's sync word proves it, or, where the PES packet
// holds one frame only, that the frame is its first.
bool provenFrame(std::span<const std::uint8_t> data, std::size_t at, std::size_t next, std::size_t headerSize,
                 bool (*sameFormat)(const std::uint8_t*, const std::uint8_t*)) {
    if (next + headerSize > data.size()) {
        return at == 0;
    }
    return sameFormat(data.data() + at, data.data() + next);
}

std::optional<AudioFormat> readLayers(std::span<const std::uint8_t> data) {
    for (std::size_t at = 0; at + MPGA_HEADER_SIZE <= data.size(); ++at) {
        const auto found = readMpegAudioHeader(data.data() + at);
        if (!found) {
            continue;
        }
        const std::size_t next = at + found->frameBytes;
        if (found->frameBytes != 0 &&
            provenFrame(data, at, next, MPGA_HEADER_SIZE, mpga_sync_compare_formats)) {
            return found->format;
        }
    }
    return std::nullopt;
}

std::optional<AudioFormat> readAdts(std::span<const std::uint8_t> data) {
    static constexpr std::array<unsigned, 13> hertz{96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                    22050, 16000, 12000, 11025, 8000,  7350};
    for (std::size_t at = 0; at + ADTS_HEADER_SIZE <= data.size(); ++at) {
        const std::uint8_t* header = data.data() + at;
        const unsigned frequency = adts_get_sampling_freq(header);
        if (header[0] != 0xFF || (header[1] & 0xF6) != 0xF0 || frequency >= hertz.size()) {
            continue;
        }
        const std::size_t next = at + adts_get_length(header);
        if (next == at || !provenFrame(data, at, next, ADTS_HEADER_SIZE, adts_sync_compare_formats)) {
            continue;
        }
        const unsigned channels = adts_get_channels(header);
        const std::uint8_t mode = channels == 1 ? modeSingle : channels == 2 ? modeStereo : modeBeyond;
        return AudioFormat{0, sampleRateIndexOf(hertz[frequency]), mode, 0};
    }
    return std::nullopt;
}

// Streams that are announced as MPEG audio hold ADTS at times.
std::optional<AudioFormat> readMpegAudio(std::span<const std::uint8_t> data) {
    auto format = readLayers(data);
    if (!format && (format = readAdts(data))) {
        format->coding = codingAac;
    }
    return format;
}

std::optional<AudioFormat> readAc3(std::span<const std::uint8_t> data) {
    constexpr std::size_t headerSize = 7;
    static constexpr std::array<unsigned, 3> hertz{48000, 44100, 32000};
    for (std::size_t at = 0; at + headerSize <= data.size(); ++at) {
        const std::uint8_t* header = data.data() + at;
        const unsigned frequency = a52_get_fscod(header);
        const unsigned sizeCode = a52_get_frmsizecod(header);
        const std::size_t bytes = a52_get_frame_size(a52_get_fscod(header), a52_get_frmsizecod(header));
        if (header[0] != 0x0B || header[1] != 0x77 || bytes == 0 || a52_get_bsid(header) > A52_BSID) {
            continue;
        }
        const unsigned coding = a52_get_acmod(header);
        const std::uint8_t mode = coding == 0   ? modeDual
                                  : coding == 1 ? modeSingle
                                  : coding == 2 ? modeStereo
                                                : modeBeyond;
        return AudioFormat{bitRateIndexOf(a52_bitrate_tab[sizeCode]), sampleRateIndexOf(hertz[frequency]),
                           mode, 0};
    }
    return std::nullopt;
}

template <class Code, class Format>
struct Reader {
    Code code;
    std::optional<Format> (*read)(std::span<const std::uint8_t>);
};

constexpr std::array<Reader<std::uint8_t, VideoFormat>, 4> videoReaders{
    {{0x01, readMpegVideo}, {0x02, readMpegVideo}, {0x1B, readH264}, {0x24, readH265}}};
constexpr std::array<Reader<std::uint16_t, AudioFormat>, 5> audioReaders{
    {{1, readAdts}, {2, readAc3}, {3, readMpegAudio}, {4, readMpegAudio}, {5, readAdts}}};

template <class Format, class Readers, class Code>
std::optional<Format> readBy(const Readers& readers, Code code, std::span<const std::uint8_t> data) {
    for (const auto& reader : readers) {
        if (reader.code == code) {
            return reader.read(data);
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<VideoFormat> readVideoFormat(std::uint8_t streamType, std::span<const std::uint8_t> data) {
    return readBy<VideoFormat>(videoReaders, streamType, data);
}

std::optional<AudioFormat> readAudioFormat(std::uint16_t audioCoding, std::span<const std::uint8_t> data) {
    return readBy<AudioFormat>(audioReaders, audioCoding, data);
}

} // namespace board
