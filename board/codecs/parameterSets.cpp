#include "codecs/parameterSets.h"

#include "codecs/aspectCodes.h"
#include "codecs/bitReader.h"
#include "codecs/startCodes.h"

#include <bitstream/itu/h265.h>
#include <bitstream/mpeg/h264.h>

#include <algorithm>
#include <array>
#include <vector>

namespace board {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t largestSet = 4096; // bytes of a parameter set that are looked at
constexpr std::uint32_t largestSide = 16384;
constexpr std::uint32_t separatePlanes = 3; // chroma_format_idc 4:4:4

// What a NAL unit holds behind its header, without emulation_prevention_three_byte.
std::vector<std::uint8_t> contentOf(Bytes unit, std::size_t headerSize) {
    std::vector<std::uint8_t> content;
    unit = unit.subspan(headerSize, std::min(unit.size() - headerSize, largestSet));
    content.reserve(unit.size());
    std::size_t zeros = 0;
    for (const std::uint8_t byte : unit) {
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        content.push_back(byte);
    }
    return content;
}

// Picture size in samples, with the cropping rectangle in units of chroma samples.
class Picture {
  public:
    Picture(std::uint64_t width, std::uint64_t height) : width_(width), height_(height) {}

    // Reads the four offsets of a cropping window; a unit is so many samples wide and high.
    void crop(BitReader& bits, std::uint64_t unitWidth, std::uint64_t unitHeight) {
        const std::uint64_t left = bits.unsignedCode();
        const std::uint64_t right = bits.unsignedCode();
        const std::uint64_t top = bits.unsignedCode();
        const std::uint64_t bottom = bits.unsignedCode();
        width_ = shortened(width_, (left + right) * unitWidth);
        height_ = shortened(height_, (top + bottom) * unitHeight);
    }

    bool plausible() const {
        return width_ > 0 && width_ <= largestSide && height_ > 0 && height_ <= largestSide;
    }
    void write(VideoFormat& format) const {
        format.width = static_cast<std::uint16_t>(width_);
        format.height = static_cast<std::uint16_t>(height_);
    }

  private:
    static std::uint64_t shortened(std::uint64_t side, std::uint64_t by) {
        return by < side ? side - by : 0;
    }

    std::uint64_t width_;
    std::uint64_t height_;
};

// The VUI fields up to chroma_loc_info, which both codings share (annex E). Returns the aspect code.
std::uint16_t readVuiStart(BitReader& bits) {
    constexpr unsigned extended = 255;
    std::uint16_t aspect = 0;
    if (bits.flag()) { // aspect_ratio_info_present_flag
        const unsigned idc = bits.bits(8);
        if (idc == extended) {
            const unsigned width = bits.bits(16);
            aspect = aspectCodeOfSamples(width, bits.bits(16));
        } else if (idc <= lastAspectCode) {
            aspect = static_cast<std::uint16_t>(idc);
        }
    }
    if (bits.flag()) { // overscan_info_present_flag
        bits.skip(1);
    }
    if (bits.flag()) { // video_signal_type_present_flag
        bits.skip(3 + 1);
        if (bits.flag()) { // colour_description_present_flag
            bits.skip(3 * 8);
        }
    }
    if (bits.flag()) { // chroma_loc_info_present_flag
        bits.unsignedCode();
        bits.unsignedCode();
    }
    return aspect;
}

// Pictures per second; 0 where the VUI does not tell. ticksPerPicture is how many of its ticks a picture
// takes.
float readPictureRate(BitReader& bits, double ticksPerPicture) {
    if (!bits.flag()) { // timing_info_present_flag
        return 0;
    }
    const std::uint32_t unitsInTick = bits.bits(32);
    const std::uint32_t timeScale = bits.bits(32);
    return unitsInTick == 0 || bits.exhausted()
               ? 0
               : static_cast<float>(timeScale / (ticksPerPicture * unitsInTick));
}

// --- H.264 -----------------------------------------------------------------------------------------------

// A sequence parameter set, as far as it is of interest.
struct Sequence {
    std::uint32_t id;
    VideoFormat format;
};

bool hasChromaFormat(std::uint32_t profile) {
    static constexpr std::array<std::uint32_t, 13> profiles{100, 110, 122, 244, 44,  83, 86,
                                                            118, 128, 138, 139, 134, 135};
    return std::ranges::find(profiles, profile) != profiles.end();
}

void skipScalingList(BitReader& bits, unsigned size) {
    std::int32_t next = 8;
    for (unsigned k = 0; k < size && next != 0; ++k) {
        next = (next + bits.signedCode()) & 0xFF;
    }
}

// Reads the fields that only some profiles have; returns chroma_format_idc.
std::uint32_t readChromaFormat(BitReader& bits) {
    constexpr unsigned smallLists = 6;
    const std::uint32_t chroma = bits.unsignedCode();
    const bool planes = chroma == separatePlanes && bits.flag();
    bits.unsignedCode(); // bit_depth_luma_minus8
    bits.unsignedCode(); // bit_depth_chroma_minus8
    bits.skip(1);        // qpprime_y_zero_transform_bypass_flag
    if (bits.flag()) {   // seq_scaling_matrix_present_flag
        for (unsigned list = 0; list < (chroma == separatePlanes ? 12U : 8U); ++list) {
            if (bits.flag()) {
                skipScalingList(bits, list < smallLists ? 16 : 64);
            }
        }
    }
    return planes ? 0 : chroma; // planes of their own are cropped like a picture without colour
}

void skipPictureOrder(BitReader& bits) {
    constexpr std::uint32_t longestCycle = 255;
    const std::uint32_t type = bits.unsignedCode();
    if (type == 0) {
        bits.unsignedCode(); // log2_max_pic_order_cnt_lsb_minus4
    } else if (type == 1) {
        bits.skip(1);        // delta_pic_order_always_zero_flag
        bits.unsignedCode(); // offset_for_non_ref_pic, signed
        bits.unsignedCode(); // offset_for_top_to_bottom_field, signed
        const std::uint32_t cycle = std::min(bits.unsignedCode(), longestCycle);
        for (std::uint32_t k = 0; k < cycle; ++k) {
            bits.unsignedCode();
        }
    }
}

std::optional<Sequence> readH264Sequence(Bytes content) {
    constexpr std::uint32_t macroblock = 16;
    constexpr double fieldsPerPicture = 2;
    BitReader bits(content);
    Sequence sequence{};
    VideoFormat& format = sequence.format;
    format.profile = bits.bits(8);
    bits.skip(8); // constraint flags
    format.level = bits.bits(8);
    sequence.id = bits.unsignedCode();
    const std::uint32_t chroma = hasChromaFormat(format.profile) ? readChromaFormat(bits) : 1;
    bits.unsignedCode(); // log2_max_frame_num_minus4
    skipPictureOrder(bits);
    bits.unsignedCode(); // max_num_ref_frames
    bits.skip(1);        // gaps_in_frame_num_value_allowed_flag
    const std::uint64_t columns = std::uint64_t{bits.unsignedCode()} + 1;
    const std::uint64_t rows = std::uint64_t{bits.unsignedCode()} + 1;
    const bool frames = bits.flag(); // frame_mbs_only_flag
    bits.skip(frames ? 1 : 2);       // mb_adaptive_frame_field_flag, direct_8x8_inference_flag
    const std::uint64_t lines = frames ? 1 : 2;
    Picture picture(columns * macroblock, rows * macroblock * lines);
    if (bits.flag()) { // frame_cropping_flag
        picture.crop(bits, chroma == 1 || chroma == 2 ? 2 : 1, (chroma == 1 ? 2U : 1U) * lines);
    }
    if (!picture.plausible()) {
        return std::nullopt;
    }
    picture.write(format);
    if (bits.flag()) { // vui_parameters_present_flag
        format.aspectCode = readVuiStart(bits);
        format.pictureRate = readPictureRate(bits, fieldsPerPicture);
    }
    return bits.exhausted() ? std::nullopt : std::optional(sequence);
}

// entropy_coding_mode_flag of a picture parameter set of this sequence.
std::optional<bool> readEntropyFlag(Bytes content, std::uint32_t sequence) {
    BitReader bits(content);
    bits.unsignedCode(); // pic_parameter_set_id
    const bool same = bits.unsignedCode() == sequence;
    const bool flag = bits.flag();
    return same && !bits.exhausted() ? std::optional(flag) : std::nullopt;
}

// --- H.265 -----------------------------------------------------------------------------------------------

// profile_tier_level.
void readProfile(BitReader& bits, unsigned subLayers, VideoFormat& format) {
    constexpr unsigned profileBits = 88;
    constexpr unsigned levelBits = 8;
    bits.skip(2 + 1); // general_profile_space, general_tier_flag
    format.profile = bits.bits(5);
    bits.skip(profileBits - 8);
    format.level = bits.bits(levelBits);
    std::size_t more = 0;
    for (unsigned k = 0; k < subLayers; ++k) {
        more += bits.flag() ? profileBits : 0;
        more += bits.flag() ? levelBits : 0;
    }
    bits.skip((subLayers > 0 ? 2 * (8 - subLayers) : 0) + more);
}

void skipScalingLists(BitReader& bits) {
    constexpr unsigned largest = 3;
    for (unsigned size = 0; size <= largest; ++size) {
        for (unsigned matrix = 0; matrix < 6; matrix += size == largest ? 3 : 1) {
            if (!bits.flag()) { // scaling_list_pred_mode_flag
                bits.unsignedCode();
                continue;
            }
            if (size > 1) {
                bits.unsignedCode(); // scaling_list_dc_coef_minus8, signed
            }
            for (unsigned k = 0; k < std::min(64U, 1U << (4 + 2 * size)); ++k) {
                bits.unsignedCode(); // scaling_list_delta_coef, signed
            }
        }
    }
}

// One st_ref_pic_set; returns its NumDeltaPocs. before is that of the set before it, of the first set none.
std::uint32_t skipPictureSet(BitReader& bits, std::optional<std::uint32_t> before) {
    constexpr std::uint32_t mostPictures = 16;
    if (before && bits.flag()) { // inter_ref_pic_set_prediction_flag
        bits.skip(1);            // delta_rps_sign
        bits.unsignedCode();     // abs_delta_rps_minus1
        std::uint32_t pictures = 0;
        for (std::uint32_t k = 0; k <= *before; ++k) {
            const bool used = bits.flag(); // used_by_curr_pic_flag
            pictures += used || bits.flag() ? 1 : 0;
        }
        return std::min(pictures, mostPictures);
    }
    const std::uint32_t negative = std::min(bits.unsignedCode(), mostPictures);
    const std::uint32_t positive = std::min(bits.unsignedCode(), mostPictures);
    for (std::uint32_t k = 0; k < negative + positive; ++k) {
        bits.unsignedCode(); // delta_poc_minus1
        bits.skip(1);        // used_by_curr_pic_flag
    }
    return negative + positive;
}

void skipPictureSets(BitReader& bits) {
    constexpr std::uint32_t mostSets = 64;
    const std::uint32_t sets = std::min(bits.unsignedCode(), mostSets);
    std::optional<std::uint32_t> before;
    for (std::uint32_t k = 0; k < sets; ++k) {
        before = skipPictureSet(bits, before);
    }
}

// From log2_max_pic_order_cnt_lsb on to the VUI.
void skipCodingTools(BitReader& bits, unsigned subLayers) {
    constexpr std::uint32_t mostLongTerm = 32;
    const std::uint32_t orderBits = bits.unsignedCode() + 4;
    const bool everyLayer = bits.flag(); // sps_sub_layer_ordering_info_present_flag
    for (unsigned k = everyLayer ? 0 : subLayers; k <= subLayers; ++k) {
        bits.unsignedCode();
        bits.unsignedCode();
        bits.unsignedCode();
    }
    for (unsigned k = 0; k < 6; ++k) { // sizes and depths of blocks
        bits.unsignedCode();
    }
    if (bits.flag() && bits.flag()) { // scaling_list_enabled_flag, sps_scaling_list_data_present_flag
        skipScalingLists(bits);
    }
    bits.skip(2);      // amp_enabled_flag, sample_adaptive_offset_enabled_flag
    if (bits.flag()) { // pcm_enabled_flag
        bits.skip(4 + 4);
        bits.unsignedCode();
        bits.unsignedCode();
        bits.skip(1);
    }
    skipPictureSets(bits);
    if (bits.flag()) { // long_term_ref_pics_present_flag
        const std::uint32_t pictures = std::min(bits.unsignedCode(), mostLongTerm);
        bits.skip(std::size_t{pictures} * (orderBits + 1));
    }
    bits.skip(2); // sps_temporal_mvp_enabled_flag, strong_intra_smoothing_enabled_flag
}

void readH265Vui(BitReader& bits, VideoFormat& format) {
    format.aspectCode = readVuiStart(bits);
    bits.skip(3);      // neutral_chroma_indication_flag, field_seq_flag, frame_field_info_present_flag
    if (bits.flag()) { // default_display_window_flag
        for (unsigned k = 0; k < 4; ++k) {
            bits.unsignedCode();
        }
    }
    format.pictureRate = readPictureRate(bits, 1); // where fields are coded, each is a picture
}

std::optional<VideoFormat> readH265Sequence(Bytes content) {
    BitReader bits(content);
    VideoFormat format;
    bits.skip(4); // sps_video_parameter_set_id
    const unsigned subLayers = bits.bits(3);
    bits.skip(1); // sps_temporal_id_nesting_flag
    readProfile(bits, subLayers, format);
    bits.unsignedCode(); // sps_seq_parameter_set_id
    const std::uint32_t chroma = bits.unsignedCode();
    if (chroma == separatePlanes) {
        bits.skip(1); // separate_colour_plane_flag
    }
    const std::uint64_t width = bits.unsignedCode();
    Picture picture(width, bits.unsignedCode());
    if (bits.flag()) { // conformance_window_flag
        picture.crop(bits, chroma == 1 || chroma == 2 ? 2 : 1, chroma == 1 ? 2 : 1);
    }
    if (!picture.plausible()) {
        return std::nullopt;
    }
    picture.write(format);
    bits.unsignedCode(); // bit_depth_luma_minus8
    bits.unsignedCode(); // bit_depth_chroma_minus8
    skipCodingTools(bits, subLayers);
    if (bits.flag()) { // vui_parameters_present_flag
        readH265Vui(bits, format);
    }
    return bits.exhausted() ? std::nullopt : std::optional(format);
}

} // namespace

std::optional<VideoFormat> readH264(std::span<const std::uint8_t> data) {
    constexpr std::size_t headerSize = 1;
    std::optional<Sequence> sequence;
    StartCodes codes(data);
    for (Bytes unit = codes.unit(); !unit.empty(); unit = codes.unit()) {
        const std::uint8_t type = h264nalst_get_type(unit[0]);
        if (type == H264NAL_TYPE_SPS) {
            if (const auto found = readH264Sequence(contentOf(unit, headerSize))) {
                sequence = found;
            }
        } else if (type == H264NAL_TYPE_PPS && sequence) {
            if (const auto flag = readEntropyFlag(contentOf(unit, headerSize), sequence->id)) {
                sequence->format.entropyFlag = *flag ? 1 : 0;
                break;
            }
        }
    }
    return sequence ? std::optional(sequence->format) : std::nullopt;
}

std::optional<VideoFormat> readH265(std::span<const std::uint8_t> data) {
    constexpr std::size_t headerSize = 2;
    StartCodes codes(data);
    for (Bytes unit = codes.unit(); !unit.empty(); unit = codes.unit()) {
        if (h265nalst_get_type(unit[0]) == H265NAL_TYPE_SPS && unit.size() > headerSize) {
            if (const auto format = readH265Sequence(contentOf(unit, headerSize))) {
                return format;
            }
        }
    }
    return std::nullopt;
}

} // namespace board
