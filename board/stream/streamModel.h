// What has been seen of the stream: plain data, filled by the analyser and written into records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace board {

struct PidState {
    std::uint16_t pid = 0;
    std::uint64_t packets = 0;
    bool scrambled = false;              // transport_scrambling_control of most of its recent packets
    std::uint64_t payloads = 0;          // packets with a payload
    std::uint64_t scrambledPayloads = 0; // those of them that are scrambled
};

enum class StreamKind { video, audio, data };

// One row of a program map.
struct ElementaryStream {
    std::uint16_t pid = 0;
    std::uint8_t streamType = 0;
    StreamKind kind = StreamKind::data;
    std::uint16_t audioCoding = 0; // as in the PMT record: 0 unknown to 5 HE-AAC
    std::string language;          // ISO 639-2, empty where none is given
    std::uint8_t audioType = 0;    // of the ISO 639 language descriptor; 0 where none is given
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

// One CA descriptor of the CAT.
struct CaSystem {
    std::uint16_t systemId = 0;
    std::uint16_t emmPid = 0; // 8191 where it has none
};

// A descriptor made readable.
struct TextDescriptor {
    std::uint8_t tag = 0;
    std::string text; // UTF-8
};

// What a NIT says of one transport stream.
struct NetworkStream {
    std::uint16_t transportStreamId = 0;
    std::uint16_t originalNetworkId = 0;
    std::vector<TextDescriptor> descriptors;
};

// One section's part of a NIT.
struct NetworkPart {
    std::vector<TextDescriptor> descriptors; // of the network
    std::vector<NetworkStream> streams;
};

struct NetworkTable {
    std::uint16_t networkId = 0;
    std::vector<NetworkPart> parts;
    bool complete = true; // else sections are missing
};

struct Event {
    std::uint16_t id = 0;
    std::uint16_t startDate = 0;            // Modified Julian Day
    std::optional<std::uint32_t> startTime; // seconds of the day, UTC; nothing where it is undefined
    std::optional<std::uint32_t> duration;  // seconds; nothing where it is undefined
    std::string language;                   // ISO 639-2
    std::string name;                       // UTF-8
    std::string description;                // UTF-8
};

// When an event starts; one without a time comes first on its day.
using EventStart = std::pair<std::uint16_t, std::optional<std::uint32_t>>; // date and time
inline EventStart startOf(const Event& event) {
    return {event.startDate, event.startTime};
}

inline constexpr std::uint8_t presentEventTable = 0x4E; // table_id of present/following of the actual stream

// The events of one service.
struct EventTable {
    std::uint16_t transportStreamId = 0;
    std::uint16_t originalNetworkId = 0;
    std::map<std::uint8_t, std::vector<Event>> events; // by table_id: present/following before the rest
    std::size_t leftOut = 0;                           // how many more its sections have brought
};

// The clock of the stream's TDT, its TOT, or its STT.
struct UtcTime {
    std::uint8_t tableId = 0;
    std::uint16_t date = 0; // Modified Julian Day
    std::uint32_t time = 0; // seconds of the day
};

// What an SDT says of this transport stream, or an ATSC stream's virtual channel table.
struct ServiceTable {
    std::uint16_t transportStreamId = 0;
    std::uint16_t originalNetworkId = 0; // 0 in a virtual channel table, which has none
    std::vector<Service> services;
    std::uint8_t tableId = 0x42;
    std::uint16_t pid = 17; // where it comes from
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
    std::vector<Program> programs;   // in the PAT's order, the network entry included
    std::size_t programsLeftOut = 0; // how many more the PAT names
    std::optional<ServiceTable> services;
    std::optional<std::vector<CaSystem>> caSystems;
    std::optional<NetworkTable> network;
    std::map<std::uint16_t, EventTable> events; // by service_id, of the PAT's programs only
    std::optional<UtcTime> time;
    std::map<std::uint16_t, VideoFormat> videoFormats; // by PID
    std::map<std::uint16_t, AudioFormat> audioFormats; // by PID
    std::map<std::uint16_t, float> pictureRates;       // by PID, measured from the time stamps of PES packets
};

} // namespace board
