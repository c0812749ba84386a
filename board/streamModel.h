// What has been seen of the stream: plain data, filled by the analyser and written into records.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace board {

struct PidState {
    std::uint16_t pid = 0;
    std::uint64_t packets = 0;
    std::optional<std::uint8_t> continuity; // continuity_counter of its last packet with a payload
    bool scrambled = false;                 // transport_scrambling_control of most of its recent packets
    std::uint32_t recentClear = 0;
    std::uint32_t recentScrambled = 0;
};

enum class StreamKind { video, audio, data };

// One row of a program map.
struct ElementaryStream {
    std::uint16_t pid = 0;
    std::uint8_t streamType = 0;
    StreamKind kind = StreamKind::data;
    std::uint16_t audioCoding = 0; // as in the PMT record: 0 unknown to 5 HE-AAC
    std::string language;          // ISO 639-2, empty where none is given
};

struct ProgramMap {
    std::uint16_t pcrPid = 0;
    std::vector<std::uint16_t> ecmPids;
    std::vector<ElementaryStream> streams;
};

struct Program {
    std::uint16_t number = 0; // 0 is the network entry
    std::uint16_t pmtPid = 0;
    std::optional<ProgramMap> map; // as soon as its PMT has been read
};

struct Service {
    std::uint16_t id = 0;
    std::uint8_t type = 0;
    bool scrambled = false; // free_CA_mode
    std::string name;       // UTF-8
    std::string provider;   // UTF-8
};

struct ServiceTable {
    std::uint16_t transportStreamId = 0;
    std::uint16_t originalNetworkId = 0;
    std::vector<Service> services;
};

// What the headers of a video stream say.
struct VideoFormat {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    float pictureRate = 0; // pictures per second
    std::uint32_t entropyFlag = 0;
    std::uint16_t aspectCode = 0; // 0 unknown, 1 to 16 as in the AVPGM record
    std::uint32_t profile = 0;
    std::uint32_t level = 0;
    bool operator==(const VideoFormat&) const = default;
};

// What the headers of an audio stream say, as indexes of the AVPGM record. Where its tables have no place for
// what is so, or nothing is known, the indexes lie outside them: 0 (free format) for the bit rate, 3
// (reserved) for the sampling frequency, 4 for the mode.
struct AudioFormat {
    std::uint8_t bitRateIndex = 0;
    std::uint8_t sampleRateIndex = 3;
    std::uint8_t modeIndex = 4;
    std::uint16_t coding = 0; // what the stream holds, where that is not what its program map says; else 0
    bool operator==(const AudioFormat&) const = default;
};

struct StreamModel {
    std::vector<PidState> pids; // in order of first appearance
    std::optional<std::uint16_t> transportStreamId;
    std::vector<Program> programs; // in the PAT's order, the network entry included
    std::optional<ServiceTable> services;
    std::map<std::uint16_t, VideoFormat> videoFormats; // by PID
    std::map<std::uint16_t, AudioFormat> audioFormats; // by PID
    std::map<std::uint16_t, float> pictureRates;       // by PID, measured from the time stamps of PES packets
};

} // namespace board
