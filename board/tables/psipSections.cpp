#include "tables/psipSections.h"

#include "tables/byteReader.h"
#include "tables/multipleStrings.h"
#include "tables/sectionLoops.h"

#include <algorithm>
#include <limits>

namespace board {

namespace {

constexpr std::uint8_t extendedNameTag = 0xA0;

// What follows the header of a section of this table and its protocol_version.
std::optional<ByteReader> bodyOf(SectionBytes section, std::uint8_t tableId) {
    ByteReader reader(sectionBody(section, PSI_HEADER_SIZE_SYNTAX1));
    const bool known = psi_get_tableid(section.data()) == tableId && reader.byte() == 0;
    return known && !reader.failed() ? std::optional(reader) : std::nullopt;
}

// The channel's service_type as DVB codes it (ATSC A/65, table 6.7; ETSI EN 300 468, table 87).
std::uint8_t serviceTypeOf(std::uint8_t atscType) {
    constexpr std::uint8_t digitalTelevision = 2;
    constexpr std::uint8_t audio = 3;
    return atscType == digitalTelevision ? 0x01 : atscType == audio ? 0x02 : 0;
}

// The long name where one can be read, else the short one.
std::string channelName(SectionBytes shortName, SectionBytes descriptors) {
    std::string name = utf16Text(shortName);
    forEachDescriptor(descriptors, [&](const std::uint8_t* descriptor) {
        if (desc_get_tag(descriptor) == extendedNameTag) {
            const MultipleStrings extended =
                multipleStrings({descriptor + DESC_HEADER_SIZE, desc_get_length(descriptor)});
            name = extended.readable && !extended.text.empty() ? extended.text : name;
        }
    });
    return name;
}

// A channel, wherever it is: of which transport stream, and what.
struct ListedChannel {
    std::uint16_t transportStreamId = 0;
    Channel channel;
};

ListedChannel readChannel(ByteReader& reader) {
    constexpr std::size_t shortNameSize = 14;
    constexpr std::size_t numberAndCarrierSize = 8; // channel numbers, modulation, carrier_frequency
    constexpr unsigned accessControlled = 0x2000;
    constexpr unsigned serviceType = 0x3F;
    constexpr unsigned descriptorsLength = 0x3FF;
    ListedChannel listed;
    const SectionBytes shortName = reader.bytes(shortNameSize);
    reader.bytes(numberAndCarrierSize);
    listed.transportStreamId = reader.twoBytes();
    listed.channel.service.id = reader.twoBytes();
    const unsigned flags = reader.twoBytes();
    listed.channel.service.scrambled = (flags & accessControlled) != 0;
    listed.channel.service.type = serviceTypeOf(flags & serviceType);
    listed.channel.sourceId = reader.twoBytes();
    const SectionBytes descriptors = reader.bytes(reader.twoBytes() & descriptorsLength);
    listed.channel.service.name = channelName(shortName, descriptors);
    return listed;
}

// Program 0 is that of a channel that is not on air, 0xFFFF that of an analogue one.
bool isProgram(std::uint16_t number) {
    return number != 0 && number != 0xFFFF;
}

Event readEvent(ByteReader& reader, std::uint8_t gpsOffset) {
    constexpr unsigned eventId = 0x3FFF;
    constexpr std::uint32_t length = 0xFFFFF;
    constexpr std::uint32_t longest = 100 * 3600 - 1; // that records show
    constexpr unsigned descriptorsLength = 0xFFF;
    Event event;
    event.id = static_cast<std::uint16_t>(reader.twoBytes() & eventId);
    if (const auto start = utcOf({reader.number(4), gpsOffset})) {
        event.startDate = start->date;
        event.startTime = start->time;
    }
    event.duration = std::min(reader.number(3) & length, longest);
    const MultipleStrings title = multipleStrings(reader.bytes(reader.byte()));
    event.language = title.language;
    event.name = title.text;
    reader.bytes(reader.twoBytes() & descriptorsLength);
    return event;
}

} // namespace

std::optional<std::vector<Channel>> readVct(SectionBytes section) {
    const std::uint8_t tableId = psi_get_tableid(section.data());
    auto reader = bodyOf(section, tableId == cvctTable ? cvctTable : tvctTable);
    if (!reader) {
        return std::nullopt;
    }
    std::vector<Channel> channels;
    for (unsigned left = reader->byte(); left > 0 && !reader->failed(); --left) {
        const ListedChannel listed = readChannel(*reader);
        if (listed.transportStreamId == psi_get_tableidext(section.data()) &&
            isProgram(listed.channel.service.id)) {
            channels.push_back(listed.channel);
        }
    }
    return reader->failed() ? std::nullopt : std::optional(channels);
}

std::optional<GuidePids> readMgt(SectionBytes section) {
    constexpr std::uint16_t firstEit = 0x0100;
    constexpr std::uint16_t firstEtt = 0x0200;
    constexpr std::uint16_t pidBits = 0x1FFF;
    constexpr std::size_t versionAndSize = 5;
    constexpr unsigned descriptorsLength = 0xFFF;
    auto reader = bodyOf(section, mgtTable);
    if (!reader) {
        return std::nullopt;
    }
    GuidePids pids;
    for (unsigned left = reader->twoBytes(); left > 0 && !reader->failed(); --left) {
        const std::uint16_t type = reader->twoBytes();
        const auto pid = static_cast<std::uint16_t>(reader->twoBytes() & pidBits);
        reader->bytes(versionAndSize);
        reader->bytes(reader->twoBytes() & descriptorsLength);
        if (type == firstEit) {
            pids.events = pid;
        } else if (type == firstEtt) {
            pids.texts = pid;
        }
    }
    return reader->failed() ? std::nullopt : std::optional(pids);
}

std::optional<SystemTime> readStt(SectionBytes section) {
    auto reader = bodyOf(section, sttTable);
    if (!reader) {
        return std::nullopt;
    }
    const std::uint32_t gps = reader->number(4);
    const std::uint8_t gpsOffset = reader->byte();
    return reader->failed() ? std::nullopt : std::optional(SystemTime{gps, gpsOffset});
}

std::optional<std::vector<Event>> readPsipEit(SectionBytes section, std::uint8_t gpsOffset) {
    auto reader = bodyOf(section, psipEitTable);
    if (!reader) {
        return std::nullopt;
    }
    std::vector<Event> events;
    for (unsigned left = reader->byte(); left > 0 && !reader->failed(); --left) {
        events.push_back(readEvent(*reader, gpsOffset));
    }
    return reader->failed() ? std::nullopt : std::optional(events);
}

std::optional<std::string> readEtt(SectionBytes section) {
    constexpr std::size_t etmIdSize = 4;
    constexpr std::size_t fixedSize = 1 + etmIdSize; // behind the header
    auto reader = bodyOf(section, ettTable);
    if (!reader || reader->bytes(etmIdSize).empty()) {
        return std::nullopt;
    }
    return multipleStrings(sectionBody(section, PSI_HEADER_SIZE_SYNTAX1 + fixedSize)).text;
}

std::optional<EventKey> eventOfEtt(SectionBytes section) {
    constexpr unsigned ofEvent = 2; // the last two bits
    constexpr unsigned kindBits = 3;
    ByteReader reader(sectionBody(section, PSI_HEADER_SIZE_SYNTAX1));
    reader.byte(); // protocol_version
    const std::uint16_t source = reader.twoBytes();
    const unsigned event = reader.twoBytes();
    if (reader.failed() || (event & kindBits) != ofEvent) {
        return std::nullopt;
    }
    return EventKey{source, static_cast<std::uint16_t>(event >> 2)};
}

std::optional<UtcTime> utcOf(SystemTime time) {
    constexpr std::uint32_t gpsEpoch = 44244; // Modified Julian Day of 1980-01-06
    constexpr std::uint32_t day = 86400;      // seconds
    if (time.gps < time.gpsOffset) {
        return std::nullopt;
    }
    const std::uint32_t utc = time.gps - time.gpsOffset;
    const std::uint32_t date = gpsEpoch + utc / day;
    if (date > std::numeric_limits<std::uint16_t>::max()) {
        return std::nullopt;
    }
    return UtcTime{sttTable, static_cast<std::uint16_t>(date), utc % day};
}

} // namespace board
