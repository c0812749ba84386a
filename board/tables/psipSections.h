// Reads the sections of an ATSC stream's tables (ATSC A/65) into rows.
#pragma once

#include "stream/streamModel.h"
#include "tables/section.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace board {

inline constexpr std::uint8_t mgtTable = 0xC7;
inline constexpr std::uint8_t tvctTable = 0xC8;
inline constexpr std::uint8_t cvctTable = 0xC9;
inline constexpr std::uint8_t psipEitTable = 0xCB;
inline constexpr std::uint8_t ettTable = 0xCC;
inline constexpr std::uint8_t sttTable = 0xCD;

// A virtual channel. Its service has the program_number as its id and no provider.
struct Channel {
    std::uint16_t sourceId = 0;
    Service service;
};

// Where a master guide table says that the events of these three hours are.
struct GuidePids {
    std::optional<std::uint16_t> events; // EIT-0
    std::optional<std::uint16_t> texts;  // the ETTs of its events
    bool operator==(const GuidePids&) const = default;
};

struct SystemTime {
    std::uint32_t gps = 0;      // seconds since 1980-01-06
    std::uint8_t gpsOffset = 0; // leap seconds: how far GPS is ahead of UTC
};

// Which event an ETM_id names.
struct EventKey {
    std::uint16_t sourceId = 0;
    std::uint16_t eventId = 0;
    auto operator<=>(const EventKey&) const = default;
};

// Each reads one sound section and returns nothing for one of another table, of a protocol_version that is
// not known, or whose inner lengths contradict it.

// The channels of a terrestrial or cable virtual channel table that are programs of the transport stream that
// it names as its own: no analogue, inactive or other stream's ones.
std::optional<std::vector<Channel>> readVct(SectionBytes section);
std::optional<GuidePids> readMgt(SectionBytes section);
std::optional<SystemTime> readStt(SectionBytes section);

// The events of an EIT, their descriptions empty. gpsOffset is that of the system time.
std::optional<std::vector<Event>> readPsipEit(SectionBytes section, std::uint8_t gpsOffset);

// The text of an ETT, as UTF-8.
std::optional<std::string> readEtt(SectionBytes section);

// The event that an ETT is of, read before anything of the section is checked; nothing for that of a channel.
std::optional<EventKey> eventOfEtt(SectionBytes section);

// UTC of a time of GPS; nothing where the Modified Julian Day has no place for it. The tableId is the STT's.
std::optional<UtcTime> utcOf(SystemTime time);

} // namespace board
