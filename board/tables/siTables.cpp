#include "tables/siTables.h"

#include "tables/networkText.h"
#include "tables/sectionLoops.h"
#include "tables/siText.h"

#include <bitstream/dvb/si.h>

namespace board {

namespace {

constexpr std::uint8_t serviceTag = 0x48;
constexpr std::uint8_t shortEventTag = 0x4D;

// Up to and with the first inner length of the descriptors that have some.
constexpr std::size_t serviceFixedBytes = DESC48_HEADER_SIZE - DESC_HEADER_SIZE + 1;
constexpr std::size_t shortEventFixedBytes = DESC4D_HEADER_SIZE - DESC_HEADER_SIZE + 1;

// Hours, minutes and seconds of six digits of BCD.
struct Clock {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int inSeconds = 0; // all of it
};

Clock clockOf(std::uint64_t bcd) {
    Clock clock;
    dvb_time_decode_bcd(static_cast<std::uint32_t>(bcd & 0xFFFFFF), &clock.inSeconds, &clock.hours,
                        &clock.minutes, &clock.seconds);
    return clock;
}

bool isDecimal(std::uint64_t bcd, int digits) {
    constexpr int bitsPerDigit = 4;
    for (; digits > 0; --digits, bcd >>= bitsPerDigit) {
        if ((bcd & 0xF) > 9) {
            return false;
        }
    }
    return true;
}

// So many seconds, of no more hours than these; nothing where it is no time, as in one that is undefined.
std::optional<std::uint32_t> secondsOf(std::uint64_t bcd, int mostHours) {
    const Clock clock = clockOf(bcd);
    if (!isDecimal(bcd, 6) || clock.hours > mostHours || clock.minutes > 59 || clock.seconds > 59) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(clock.inSeconds);
}

// The time of day that a date and time of 40 bits ends with (ETSI EN 300 468 annex C).
std::optional<std::uint32_t> timeOf(std::uint64_t dateAndTime) {
    return secondsOf(dateAndTime, 23);
}

// The Modified Julian Day that it begins with.
std::uint16_t dateOf(std::uint64_t dateAndTime) {
    return static_cast<std::uint16_t>(dateAndTime >> 24);
}

std::optional<std::uint32_t> durationOf(std::uint32_t bcd) {
    return secondsOf(bcd, 99);
}

std::vector<TextDescriptor> textsOf(SectionBytes descriptors, TextReader read) {
    std::vector<TextDescriptor> texts;
    forEachDescriptor(descriptors, [&](const std::uint8_t* descriptor) {
        texts.push_back({desc_get_tag(descriptor), networkText(descriptor, read)});
    });
    return texts;
}

Service serviceOf(const std::uint8_t* entry, SectionBytes descriptors, TextReader read) {
    Service service{sdtn_get_sid(entry), 0, sdtn_get_ca(entry), {}, {}};
    forEachDescriptor(descriptors, [&](const std::uint8_t* descriptor) {
        if (isSound(descriptor, serviceTag, serviceFixedBytes, desc48_validate)) {
            std::uint8_t length = 0;
            service.type = desc48_get_type(descriptor);
            const std::uint8_t* provider = desc48_get_provider(descriptor, &length);
            service.provider = read({provider, length});
            const std::uint8_t* name = desc48_get_service(descriptor, &length);
            service.name = read({name, length});
        }
    });
    return service;
}

Event eventOf(const std::uint8_t* entry, SectionBytes descriptors, TextReader read) {
    Event event;
    const std::uint64_t start = eitn_get_start_time(entry);
    event.id = eitn_get_event_id(entry);
    event.startDate = dateOf(start);
    event.startTime = timeOf(start);
    event.duration = durationOf(eitn_get_duration_bcd(entry));
    forEachDescriptor(descriptors, [&](const std::uint8_t* descriptor) {
        if (event.language.empty() &&
            isSound(descriptor, shortEventTag, shortEventFixedBytes, desc4d_validate)) {
            const std::uint8_t* language = desc4d_get_lang(descriptor);
            std::uint8_t length = 0;
            event.language.assign(language, language + languageSize);
            const std::uint8_t* name = desc4d_get_event_name(descriptor, &length);
            event.name = read({name, length});
            const std::uint8_t* text = desc4d_get_text(descriptor, &length);
            event.description = read({text, length});
        }
    });
    return event;
}

// A NIT's texts are those of its first transport stream; without one, its network tells.
TextReader networkTextReader(std::uint16_t networkId, SectionBytes streams) {
    return streams.size() < NIT_TS_SIZE
               ? textReaderOf(0, networkId)
               : textReaderOf(nitn_get_tsid(streams.data()), nitn_get_onid(streams.data()));
}

// Whether an EIT with this table_id is of the stream that carries it.
bool isOfThisStream(std::uint8_t tableId) {
    return tableId == EIT_TABLE_ID_PF_ACTUAL ||
           (tableId >= EIT_TABLE_ID_SCHED_ACTUAL_FIRST && tableId <= EIT_TABLE_ID_SCHED_ACTUAL_LAST);
}

} // namespace

std::optional<ServiceTable> readSdt(SectionBytes section) {
    const std::uint8_t* bytes = section.data();
    if (!isOfTable(section, SDT_TABLE_ID_ACTUAL, SDT_HEADER_SIZE)) {
        return std::nullopt;
    }
    ServiceTable table{sdt_get_tsid(bytes), sdt_get_onid(bytes), {}};
    const TextReader read = textReaderOf(table.transportStreamId, table.originalNetworkId);
    forEachEntry(sectionBody(section, SDT_HEADER_SIZE), SDT_SERVICE_SIZE,
                 [&](const std::uint8_t* entry, SectionBytes descriptors) {
                     table.services.push_back(serviceOf(entry, descriptors, read));
                 });
    return table;
}

std::optional<NitSection> readNit(SectionBytes section) {
    const std::uint8_t* bytes = section.data();
    if (!isOfTable(section, NIT_TABLE_ID_ACTUAL, NIT_HEADER_SIZE)) {
        return std::nullopt;
    }
    const SectionBytes network =
        descriptorsAt(sectionBody(section, NIT_HEADER_SIZE - std::size_t{DESCS_HEADER_SIZE}));
    const SectionBytes streams = sectionBody(section, NIT_HEADER_SIZE + network.size() + NIT_HEADER2_SIZE);
    const TextReader read = networkTextReader(nit_get_nid(bytes), streams);
    NitSection result{nit_get_nid(bytes), {textsOf(network, read), {}}};
    forEachEntry(streams, NIT_TS_SIZE, [&](const std::uint8_t* entry, SectionBytes descriptors) {
        result.part.streams.push_back(
            {nitn_get_tsid(entry), nitn_get_onid(entry), textsOf(descriptors, read)});
    });
    return result;
}

std::optional<EitSection> readEit(SectionBytes section) {
    const std::uint8_t* bytes = section.data();
    const std::uint8_t table = psi_get_tableid(bytes);
    if (!isOfThisStream(table) || !isOfTable(section, table, EIT_HEADER_SIZE)) {
        return std::nullopt;
    }
    EitSection result{eit_get_tsid(bytes),
                      eit_get_onid(bytes),
                      eit_get_segment_last_sec_number(bytes),
                      eit_get_last_table_id(bytes),
                      {}};
    const TextReader read = textReaderOf(result.transportStreamId, result.originalNetworkId);
    forEachEntry(sectionBody(section, EIT_HEADER_SIZE), EIT_EVENT_SIZE,
                 [&](const std::uint8_t* entry, SectionBytes descriptors) {
                     result.events.push_back(eventOf(entry, descriptors, read));
                 });
    return result;
}

std::optional<UtcTime> readTime(SectionBytes section) {
    const std::uint8_t* bytes = section.data();
    if (!tdt_validate(bytes) && !tot_validate(bytes)) {
        return std::nullopt;
    }
    const std::uint64_t utc = tdt_get_utc(bytes); // at the same place in both
    const auto time = timeOf(utc);
    return time ? std::optional(UtcTime{psi_get_tableid(bytes), dateOf(utc), *time}) : std::nullopt;
}

} // namespace board
