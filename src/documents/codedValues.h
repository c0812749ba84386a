// Names of the coded values that records carry, as clients show them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mpegfe {

// By index.
inline constexpr std::array<std::string_view, 6> audioTypeNames{
    "UNK", "AAC", "AC3", "MPEG1", "MPEG2", "HEAAC"};

// bitrate_index of MPEG-1 Layer II; 0 is the free format.
inline constexpr std::array<std::string_view, 15> audioBitRateNames{"0",
                                                                    "32kbps",
                                                                    "48kbps",
                                                                    "56kbps",
                                                                    "64kbps",
                                                                    "80kbps",
                                                                    "96kbps",
                                                                    "112kbps",
                                                                    "128kbps",
                                                                    "160kbps",
                                                                    "192kbps",
                                                                    "224kbps",
                                                                    "256kbps",
                                                                    "320kbps",
                                                                    "384kbps"};

inline constexpr std::array<std::string_view, 3> audioSampleRateNames{"44.1kHz", "48kHz", "32kHz"};
inline constexpr std::array<std::string_view, 4> audioModeNames{"Stereo", "Joint", "Dual Ch", "Single Ch"};
inline constexpr std::array<std::string_view, 2> scramblingNames{"Clear", "Scrambled"};
inline constexpr std::array<std::string_view, 2> entropyNames{"CAVLC", "CABAC"};

// aspect_ratio_idc of H.264, but for code 1, which clients know as 16:9.
inline constexpr std::array<std::string_view, 17> aspectRatioNames{"Unknown",
                                                                   "16:9",
                                                                   "12:11",
                                                                   "10:11",
                                                                   "16:11",
                                                                   "40:33",
                                                                   "24:11",
                                                                   "20:11",
                                                                   "32:11",
                                                                   "80:33",
                                                                   "18:11",
                                                                   "15:11",
                                                                   "64:33",
                                                                   "160:99",
                                                                   "4:3",
                                                                   "3:2",
                                                                   "2:1"};

// The name at this code, "Unknown" outside the table.
template <std::size_t size>
constexpr std::string_view nameOf(const std::array<std::string_view, size>& names, std::uint32_t code) {
    return code < size ? names[code] : "Unknown";
}

// Codes that are too far apart for a table by index.
struct CodedName {
    std::int32_t code;
    std::string_view name;
};

// The name of this code, or otherwise when the table has none.
template <std::size_t size>
constexpr std::string_view nameOf(const std::array<CodedName, size>& names, std::int32_t code,
                                  std::string_view otherwise) {
    for (const CodedName& row : names) {
        if (row.code == code) {
            return row.name;
        }
    }
    return otherwise;
}

// stream_type of ISO/IEC 13818-1.
inline constexpr std::int32_t streamTypeMpeg2Video = 2;
inline constexpr std::int32_t streamTypeH264 = 27;
inline constexpr std::array<CodedName, 2> videoTypeNames{
    {{streamTypeH264, "H.264"}, {streamTypeMpeg2Video, "MPEG-2"}}};

// profile_idc. 66 reads "Simple" and 88 "High" because clients have always shown them so; a profile without a
// name is shown as its number.
inline constexpr std::array<CodedName, 4> profileNames{
    {{66, "Simple"}, {77, "Main"}, {88, "High"}, {0, "zero"}}};

} // namespace mpegfe
