#include "streamWriter.h"

#include <bitstream/mpeg/pes.h>
#include <bitstream/mpeg/psi.h>
#include <bitstream/mpeg/ts.h>

#include <algorithm>

namespace streamWriter {

namespace {

Bytes text(std::string_view characters) {
    return {characters.begin(), characters.end()};
}

// A byte of length and the text.
Bytes counted(std::string_view characters) {
    return joined({number(characters.size(), 1), text(characters)});
}

// Twelve bits of length under four bits that are set, and the bytes.
Bytes loop(const Bytes& bytes) {
    return joined({number(0xF000 | bytes.size(), 2), bytes});
}

std::uint8_t decimal(int value) {
    return static_cast<std::uint8_t>((value / 10) << 4 | value % 10);
}

Bytes clock(int seconds) {
    if (seconds == undefinedTime) {
        return Bytes(3, 0xFF);
    }
    return {decimal(seconds / 3600), decimal(seconds / 60 % 60), decimal(seconds % 60)};
}

Bytes longSection(std::uint8_t tableId, std::uint16_t extension, Version version, const Bytes& body) {
    Bytes section(PSI_MAX_SIZE + PSI_HEADER_SIZE + PSI_PRIVATE_MAX_SIZE);
    psi_init(section.data(), true);
    psi_set_tableid(section.data(), tableId);
    psi_set_length(section.data(), static_cast<std::uint16_t>(PSI_HEADER_SIZE_SYNTAX1 - PSI_HEADER_SIZE +
                                                              body.size() + PSI_CRC_SIZE));
    psi_set_tableidext(section.data(), extension);
    psi_set_version(section.data(), version.version);
    psi_set_current(section.data());
    psi_set_section(section.data(), version.number);
    psi_set_lastsection(section.data(), version.last);
    std::copy(body.begin(), body.end(), section.begin() + PSI_HEADER_SIZE_SYNTAX1);
    psi_set_crc(section.data());
    section.resize(PSI_HEADER_SIZE_SYNTAX1 + body.size() + PSI_CRC_SIZE);
    return section;
}

} // namespace

Bytes joined(const std::vector<Bytes>& parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Bytes number(std::uint64_t value, std::size_t count) {
    Bytes bytes;
    for (std::size_t k = count; k-- > 0;) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * k)));
    }
    return bytes;
}

Bytes descriptor(std::uint8_t tag, const Bytes& content) {
    return joined({{tag, static_cast<std::uint8_t>(content.size())}, content});
}

Bytes caDescriptor(std::uint16_t systemId, std::uint16_t pid) {
    return descriptor(0x09, joined({number(systemId, 2), number(0xE000 | pid, 2)}));
}

Bytes languageDescriptor(std::string_view language) {
    return descriptor(0x0A, joined({text(language), {0}}));
}

Bytes registrationDescriptor(std::string_view format) {
    return descriptor(0x05, text(format));
}

Bytes serviceDescriptor(std::uint8_t type, std::string_view provider, std::string_view name) {
    return descriptor(0x48, joined({{type}, counted(provider), counted(name)}));
}

Bytes networkNameDescriptor(std::string_view name) {
    return descriptor(0x40, text(name));
}

Bytes shortEventDescriptor(std::string_view language, std::string_view name, std::string_view description) {
    return descriptor(0x4D, joined({text(language), counted(name), counted(description)}));
}

Bytes pat(std::uint16_t transportStreamId, const std::vector<PatRow>& rows, Version version) {
    Bytes body;
    for (const PatRow& row : rows) {
        body = joined({body, number(row.program, 2), number(0xE000 | row.pid, 2)});
    }
    return longSection(0x00, transportStreamId, version, body);
}

Bytes cat(const Bytes& descriptors, Version version) {
    return longSection(0x01, 0xFFFF, version, descriptors);
}

Bytes pmt(std::uint16_t program, std::uint16_t pcrPid, const Bytes& descriptors,
          const std::vector<PmtRow>& rows, Version version) {
    Bytes body = joined({number(0xE000 | pcrPid, 2), loop(descriptors)});
    for (const PmtRow& row : rows) {
        body = joined({body, {row.streamType}, number(0xE000 | row.pid, 2), loop(row.descriptors)});
    }
    return longSection(0x02, program, version, body);
}

Bytes sdt(std::uint16_t transportStreamId, std::uint16_t originalNetworkId, const std::vector<SdtRow>& rows,
          Version version) {
    Bytes body = joined({number(originalNetworkId, 2), {0xFF}});
    for (const SdtRow& row : rows) {
        constexpr unsigned running = 0x8000;
        constexpr unsigned freeCa = 0x1000;
        body = joined({body,
                       number(row.serviceId, 2),
                       {0xFC},
                       number(running | (row.scrambled ? freeCa : 0U) | row.descriptors.size(), 2),
                       row.descriptors});
    }
    return longSection(0x42, transportStreamId, version, body);
}

Bytes nit(std::uint16_t networkId, const Bytes& descriptors, const std::vector<NitRow>& rows,
          Version version) {
    Bytes streams;
    for (const NitRow& row : rows) {
        streams = joined({streams, number(row.transportStreamId, 2), number(row.originalNetworkId, 2),
                          loop(row.descriptors)});
    }
    return longSection(0x40, networkId, version, joined({loop(descriptors), loop(streams)}));
}

Bytes eit(std::uint8_t tableId, std::uint16_t serviceId, std::uint16_t transportStreamId,
          std::uint16_t originalNetworkId, const std::vector<EitRow>& rows, Version version) {
    Bytes body = joined({number(transportStreamId, 2),
                         number(originalNetworkId, 2),
                         {std::min(version.last, version.segmentLast),
                          version.lastTable == 0 ? tableId : version.lastTable}});
    for (const EitRow& row : rows) {
        body = joined({body, number(row.eventId, 2), number(row.date, 2), clock(row.startSeconds),
                       clock(row.duration), number(row.descriptors.size(), 2), row.descriptors});
    }
    return longSection(tableId, serviceId, version, body);
}

Bytes tdt(std::uint16_t date, int seconds) {
    return joined({{0x70}, number(0x7005, 2), number(date, 2), clock(seconds)});
}

Bytes tot(std::uint16_t date, int seconds) {
    Bytes section =
        joined({{0x73}, number(0x700B, 2), number(date, 2), clock(seconds), number(0xF000, 2), number(0, 4)});
    psi_set_crc(section.data());
    return section;
}

Bytes multipleStrings(std::string_view language, const std::vector<Segment>& segments) {
    Bytes all = joined({{1}, text(language), number(segments.size(), 1)});
    for (const Segment& segment : segments) {
        all = joined(
            {all, {segment.compression, segment.mode}, number(segment.bytes.size(), 1), segment.bytes});
    }
    return all;
}

Bytes latinString(std::string_view language, std::string_view characters) {
    return multipleStrings(language, {{0, 0, text(characters)}});
}

Bytes extendedNameDescriptor(const Bytes& name) {
    return descriptor(0xA0, name);
}

Bytes vct(std::uint8_t tableId, std::uint16_t transportStreamId, const std::vector<VctRow>& rows,
          Version version) {
    constexpr std::size_t shortNameSize = 14;
    Bytes body = joined({{0}, number(rows.size(), 1)});
    for (const VctRow& row : rows) {
        Bytes name;
        for (const char c : row.shortName) {
            name = joined({name, {0, static_cast<std::uint8_t>(c)}});
        }
        name.resize(shortNameSize);
        body = joined({body, name, number(0xF0100404, 4), number(0, 4), number(row.transportStreamId, 2),
                       number(row.program, 2), number(row.flags, 2), number(row.sourceId, 2),
                       number(0xFC00 | row.descriptors.size(), 2), row.descriptors});
    }
    return longSection(tableId, transportStreamId, version, joined({body, number(0xFC00, 2)}));
}

Bytes mgt(const std::vector<MgtRow>& rows, Version version) {
    Bytes body = joined({{0}, number(rows.size(), 2)});
    for (const MgtRow& row : rows) {
        body = joined(
            {body, number(row.type, 2), number(0xE000 | row.pid, 2), {0xE0}, number(100, 4), loop({})});
    }
    return longSection(0xC7, 0, version, joined({body, loop({})}));
}

Bytes stt(std::uint32_t gps, std::uint8_t gpsOffset) {
    return longSection(0xCD, 0, {}, joined({{0}, number(gps, 4), {gpsOffset}, number(0x6000, 2)}));
}

Bytes psipEit(std::uint16_t sourceId, const std::vector<PsipEitRow>& rows, Version version) {
    Bytes body = joined({{0}, number(rows.size(), 1)});
    for (const PsipEitRow& row : rows) {
        body = joined({body, number(0xC000U | row.eventId, 2), number(row.start, 4),
                       number(0xD00000U | row.length, 3), number(row.title.size(), 1), row.title, loop({})});
    }
    return longSection(0xCB, sourceId, version, body);
}

Bytes ett(std::uint16_t sourceId, std::uint16_t eventId, const Bytes& message, Version version) {
    return longSection(
        0xCC, eventId, version,
        joined({{0}, number(sourceId, 2), number(std::uint32_t{eventId} << 2U | 2U, 2), message}));
}

void Packets::section(std::uint16_t pid, const Bytes& section) {
    const std::size_t size =
        std::min(section.size(), psi_get_length(section.data()) + std::size_t{PSI_HEADER_SIZE});
    std::uint16_t done = 0;
    while (done < size) { // no further than the section itself says
        std::array<std::uint8_t, TS_SIZE> packet{};
        std::uint8_t used = 0;
        psi_split_section(packet.data(), &used, section.data(), &done);
        psi_split_end(packet.data(), &used);
        ts_set_pid(packet.data(), pid);
        ts_set_cc(packet.data(), counters_[pid]++ & 0xF);
        bytes_.insert(bytes_.end(), packet.begin(), packet.end());
    }
}

void Packets::pes(std::uint16_t pid, std::uint8_t streamId, std::uint64_t stamp, const Bytes& data,
                  bool scrambled) {
    Bytes header(PES_HEADER_SIZE_PTS);
    pes_init(header.data());
    pes_set_streamid(header.data(), streamId);
    pes_set_headerlength(header.data(), PES_HEADER_SIZE_PTS - PES_HEADER_SIZE_NOPTS);
    pes_set_pts(header.data(), stamp);
    payload(pid, joined({header, data}), scrambled);
}

void Packets::payload(std::uint16_t pid, const Bytes& data, bool scrambled) {
    for (std::size_t done = 0; done < data.size();) {
        std::uint8_t* packet = append(pid, true);
        if (done == 0) {
            ts_set_unitstart(packet);
        }
        ts_set_scrambling(packet, scrambled ? 2 : 0);
        constexpr std::size_t room = TS_SIZE - TS_HEADER_SIZE;
        const std::size_t count = std::min(room, data.size() - done);
        if (count < room) { // the adaptation field fills the packet
            ts_set_adaptation(packet, static_cast<std::uint8_t>(room - count - 1));
        }
        std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(done), count, packet + TS_SIZE - count);
        done += count;
    }
}

void Packets::pcr(std::uint16_t pid, std::uint64_t ticks, bool discontinuity) {
    std::uint8_t* packet = append(pid, false);
    ts_set_adaptation(packet, TS_SIZE - TS_HEADER_SIZE - 1);
    tsaf_set_pcr(packet, ticks / 300);
    tsaf_set_pcrext(packet, static_cast<std::uint16_t>(ticks % 300));
    if (discontinuity) {
        tsaf_set_discontinuity(packet);
    }
}

void Packets::filler(std::uint16_t pid, std::size_t count, bool scrambled) {
    for (std::size_t k = 0; k < count; ++k) {
        std::uint8_t* packet = append(pid, true);
        ts_set_scrambling(packet, scrambled ? 2 : 0);
        std::fill(packet + TS_HEADER_SIZE, packet + TS_SIZE, std::uint8_t{0xFF});
    }
}

// An empty packet; its counter moves on only with a payload.
std::uint8_t* Packets::append(std::uint16_t pid, bool hasPayload) {
    bytes_.resize(bytes_.size() + TS_SIZE);
    std::uint8_t* packet = bytes_.data() + bytes_.size() - TS_SIZE;
    ts_init(packet);
    ts_set_pid(packet, pid);
    std::uint8_t& counter = counters_[pid];
    if (hasPayload) {
        ts_set_payload(packet);
        ts_set_cc(packet, counter++ & 0xF);
    } else {
        ts_set_cc(packet, (counter - 1) & 0xF);
    }
    return packet;
}

} // namespace streamWriter
