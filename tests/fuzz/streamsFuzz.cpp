// The board's way from bytes to records: packets, sections, tables, codec headers. The first byte of an input
// chooses how the rest is taken:
//   even  as bytes of a stream, pushed in pieces;
//   odd   as chunks (a PID's number in the table below, two bytes of length, content) that become sound
//   sections
//         or PES packets, so that a CRC is no wall.
#include "analysis/analyser.h"
#include "check.h"
#include "packets/packetSync.h"
#include "records/recordPrinter.h"
#include "records/recordWriter.h"
#include "streamWriter.h"
#include "target.h"

#include <bitstream/mpeg/psi.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>

namespace {

using streamWriter::Bytes;
using streamWriter::Packets;
using Input = std::span<const std::uint8_t>;

constexpr std::uint16_t pmtPid = 0x100;
constexpr std::uint16_t firstStream = 0x101;
constexpr std::array<std::uint8_t, 8> streamTypes{0x02, 0x1B, 0x24, 0x03, 0x04, 0x0F, 0x81, 0x01};
constexpr std::array<std::uint16_t, 7> sectionPids{0, 1, 16, 17, 18, 20, pmtPid};

// A program with a stream of every coding that headers are read of.
Packets program() {
    std::vector<streamWriter::PmtRow> rows;
    for (std::size_t k = 0; k < streamTypes.size(); ++k) {
        rows.push_back({streamTypes[k], static_cast<std::uint16_t>(firstStream + k), {}});
    }
    Packets packets;
    packets.section(0, streamWriter::pat(1, {{0, 16}, {1, pmtPid}}));
    packets.section(pmtPid, streamWriter::pmt(1, firstStream, {}, rows));
    return packets;
}

// The content as a section whose lengths and CRC are right.
Bytes soundSection(Input content) {
    constexpr std::size_t least = PSI_HEADER_SIZE_SYNTAX1 + PSI_CRC_SIZE;
    Bytes section(content.begin(), content.end());
    section.resize(std::clamp<std::size_t>(section.size() + PSI_CRC_SIZE, least, 1024));
    psi_set_length(section.data(), static_cast<std::uint16_t>(section.size() - PSI_HEADER_SIZE));
    if (psi_get_syntax(section.data())) {
        psi_set_current(section.data());
        psi_set_crc(section.data());
    }
    return section;
}

Bytes chunksAsStream(Input input) {
    Packets packets = program();
    while (input.size() >= 3) {
        const std::size_t place = input[0] % (sectionPids.size() + streamTypes.size());
        const std::size_t length =
            std::min<std::size_t>(static_cast<std::size_t>(input[1] << 8 | input[2]), input.size() - 3);
        const Input content = input.subspan(3, length);
        input = input.subspan(3 + length);
        if (place < sectionPids.size()) {
            packets.section(sectionPids[place], soundSection(content));
        } else {
            packets.pes(static_cast<std::uint16_t>(firstStream + place - sectionPids.size()), 0xE0, 90000,
                        {content.begin(), content.end()});
        }
    }
    return packets.bytes();
}

template <std::size_t size>
void checkEnds(const char (&field)[size]) {
    check(std::find(field, field + size, '\0') != field + size, "texts end inside their fields");
}

// What every consumer relies on.
void checkRecords(const wire::RecordSet& records) {
    check(records.pat.pidListCount <= wire::maxPids, "PIDs fit");
    check(records.pat.programCount >= 0 && records.pat.programCount <= wire::maxPmtSlots, "programs fit");
    check(records.pat.sectionProgramCount <= wire::maxPrograms, "section programs fit");
    for (const wire::PmtEntry& slot : records.pmt.slots) {
        check(slot.ecmCount <= wire::maxEcmPids, "ECM PIDs fit");
        check(slot.audioCount <= wire::maxAudioTracks, "audio streams fit");
        check(slot.privateCount <= wire::maxPrivatePids, "private streams fit");
        for (const auto& language : slot.audioLanguages) {
            checkEnds(language);
        }
    }
    for (const wire::AvPgmEntry& slot : records.avPgm.slots) {
        check(slot.audioCount <= wire::maxAudioTracks, "audio streams fit");
        check(slot.privateCount <= wire::maxPrivatePids, "private streams fit");
    }
    check(records.sdt.serviceCount <= wire::maxServices, "services fit");
    for (const wire::SdtService& service : records.sdt.services) {
        checkEnds(service.serviceName);
        checkEnds(service.providerName);
    }
    check(records.cat.caCount <= wire::maxCaEntries, "CA entries fit");
    check(records.nit.descriptorCount <= wire::maxNitDescriptors, "NIT descriptors fit");
    checkEnds(records.nit.descriptorText);
    for (const wire::NitDescriptor& entry : records.nit.descriptorEntries) {
        checkEnds(entry.descriptorText);
    }
    check(records.eit.eventCount <= wire::maxEvents, "events fit");
    for (const wire::EitEvent& event : records.eit.events) {
        checkEnds(event.startTime);
        checkEnds(event.duration);
        checkEnds(event.language);
        checkEnds(event.eventName);
        checkEnds(event.description);
    }
    checkEnds(records.tdt.timeOfDay);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const Input rest(data + 1, size - 1);
    const bool chunks = data[0] % 2 == 1;
    const Bytes stream = chunks ? chunksAsStream(rest) : Bytes(rest.begin(), rest.end());
    const std::size_t piece = chunks ? stream.size() : std::size_t{data[0]} * 4 + 1;

    board::PacketSync sync;
    board::Analyser analyser(std::chrono::seconds(1));
    const auto take = [&](const std::uint8_t* packet) { analyser.packet(packet); };
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        sync.push(std::span(stream).subspan(at, std::min(piece, stream.size() - at)), take);
    }
    sync.finish(take);
    analyser.finish();

    const auto records = std::make_unique<wire::RecordSet>();
    board::LimitReport limits([](const std::string&) {});
    board::writeRecords(analyser.model(), analyser.rates(), std::nullopt, *records, limits);
    checkRecords(*records);
    check(!board::recordsAsJson(*records, analyser.rates().window(), analyser.model().pids, analyser.errors())
               .empty(),
          "every record prints");
    return 0;
}
