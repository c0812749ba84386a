// Writes small transport streams for tests and samples: sections and packets by biTStream, what is in them by
// hand.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace streamWriter {

using Bytes = std::vector<std::uint8_t>;

// Several byte strings, one after the other.
Bytes joined(const std::vector<Bytes>& parts);

// A number as count bytes, most significant first.
Bytes number(std::uint64_t value, std::size_t count);

// What the PIDs of a stream of one program are called here.
inline constexpr std::uint16_t pmtPid = 0x100;
inline constexpr std::uint16_t videoPid = 0x101;
inline constexpr std::uint16_t audioPid = 0x102;

// Descriptors.
Bytes descriptor(std::uint8_t tag, const Bytes& content);
Bytes caDescriptor(std::uint16_t systemId, std::uint16_t pid);
Bytes languageDescriptor(std::string_view language);
Bytes registrationDescriptor(std::string_view format);
Bytes serviceDescriptor(std::uint8_t type, std::string_view provider, std::string_view name);
Bytes networkNameDescriptor(std::string_view name);
Bytes shortEventDescriptor(std::string_view language, std::string_view name, std::string_view text);

// Sections, whole, with their CRC.
struct Version {
    std::uint8_t version = 0;
    std::uint8_t number = 0;
    std::uint8_t last = 0;
    std::uint8_t segmentLast = 255; // of an EIT; nothing beyond the table's last
    std::uint8_t lastTable = 0;     // last_table_id of an EIT; 0: its own
};
struct PatRow {
    std::uint16_t program;
    std::uint16_t pid;
};
struct PmtRow {
    std::uint8_t streamType;
    std::uint16_t pid;
    Bytes descriptors;
};
struct SdtRow {
    std::uint16_t serviceId;
    bool scrambled;
    Bytes descriptors;
};
struct NitRow {
    std::uint16_t transportStreamId;
    std::uint16_t originalNetworkId;
    Bytes descriptors;
};
inline constexpr int undefinedTime = -1; // all bits set
struct EitRow {
    std::uint16_t eventId;
    std::uint16_t date; // Modified Julian Day
    int startSeconds;   // of the day, or undefined
    int duration;       // seconds, or undefined
    Bytes descriptors;
};
Bytes pat(std::uint16_t transportStreamId, const std::vector<PatRow>& rows, Version version = {});
Bytes cat(const Bytes& descriptors, Version version = {});
Bytes pmt(std::uint16_t program, std::uint16_t pcrPid, const Bytes& descriptors,
          const std::vector<PmtRow>& rows, Version version = {});
Bytes sdt(std::uint16_t transportStreamId, std::uint16_t originalNetworkId, const std::vector<SdtRow>& rows,
          Version version = {});
Bytes nit(std::uint16_t networkId, const Bytes& descriptors, const std::vector<NitRow>& rows,
          Version version = {});
Bytes eit(std::uint8_t tableId, std::uint16_t serviceId, std::uint16_t transportStreamId,
          std::uint16_t originalNetworkId, const std::vector<EitRow>& rows, Version version = {});
Bytes tdt(std::uint16_t date, int seconds);
Bytes tot(std::uint16_t date, int seconds); // of no region

// Sections of an ATSC stream's tables.
struct Segment {
    std::uint8_t compression;
    std::uint8_t mode;
    Bytes bytes;
};
struct VctRow {
    std::string_view shortName; // of ASCII, seven characters at most
    std::uint16_t transportStreamId;
    std::uint16_t program;
    std::uint16_t sourceId;
    std::uint16_t flags; // from ETM_location to service_type
    Bytes descriptors;
};
struct MgtRow {
    std::uint16_t type;
    std::uint16_t pid;
};
struct PsipEitRow {
    std::uint16_t eventId;
    std::uint32_t start;  // seconds of GPS
    std::uint32_t length; // seconds
    Bytes title;
};
Bytes multipleStrings(std::string_view language, const std::vector<Segment>& segments);
Bytes latinString(std::string_view language, std::string_view characters); // in one plain segment
Bytes extendedNameDescriptor(const Bytes& name);
Bytes vct(std::uint8_t tableId, std::uint16_t transportStreamId, const std::vector<VctRow>& rows,
          Version version = {});
Bytes mgt(const std::vector<MgtRow>& rows, Version version = {});
Bytes stt(std::uint32_t gps, std::uint8_t gpsOffset);
Bytes psipEit(std::uint16_t sourceId, const std::vector<PsipEitRow>& rows, Version version = {});
Bytes ett(std::uint16_t sourceId, std::uint16_t eventId, const Bytes& message, Version version = {});

// Packets, in the order in which they are asked for, with continuity counters that go on.
class Packets {
  public:
    // A section in as many packets as it needs.
    void section(std::uint16_t pid, const Bytes& section);
    // A PES packet with a time stamp of 90 kHz, in as many packets as it needs.
    void pes(std::uint16_t pid, std::uint8_t streamId, std::uint64_t stamp, const Bytes& data,
             bool scrambled = false);
    // A packet of adaptation field alone with a PCR in 27 MHz ticks, and perhaps discontinuity_indicator.
    void pcr(std::uint16_t pid, std::uint64_t ticks, bool discontinuity = false);
    // Packets whose payload is 0xFF.
    void filler(std::uint16_t pid, std::size_t count = 1, bool scrambled = false);

    const Bytes& bytes() const {
        return bytes_;
    }

  private:
    std::uint8_t* append(std::uint16_t pid, bool hasPayload);
    void payload(std::uint16_t pid, const Bytes& data, bool scrambled);

    Bytes bytes_;
    std::map<std::uint16_t, std::uint8_t> counters_;
};

} // namespace streamWriter
