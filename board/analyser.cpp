#include "analyser.h"

#include "codecHeaders.h"
#include "packetSync.h"
#include "siTables.h"

#include "feed/records.h"

#include <bitstream/mpeg/pes.h>
#include <bitstream/mpeg/ts.h>

#include <algorithm>
#include <utility>

namespace board {

namespace {

constexpr std::size_t pidValues = 8192;
constexpr std::uint8_t patTable = 0x00;
constexpr std::uint8_t pmtTable = 0x02;
constexpr std::uint8_t catTable = 0x01;
constexpr std::uint8_t nitActualTable = 0x40;
constexpr std::uint8_t sdtActualTable = 0x42;
constexpr std::uint8_t eitPresentTable = 0x4E; // present/following of the actual transport stream
constexpr std::uint8_t firstScheduleTable = 0x50;
constexpr std::uint8_t lastScheduleTable = 0x5F;
constexpr Ticks ticksPerPcrBase = 300; // and per tick of a PES time stamp: 90 kHz
constexpr std::size_t pesFixedBytes = 9;

std::optional<Ticks> pcrOf(const std::uint8_t* packet) {
    constexpr std::uint8_t bytesWithPcr = 7;
    if (!ts_has_adaptation(packet) || ts_get_adaptation(packet) < bytesWithPcr || !tsaf_has_pcr(packet)) {
        return std::nullopt;
    }
    return static_cast<Ticks>(tsaf_get_pcr(packet)) * ticksPerPcrBase +
           static_cast<Ticks>(tsaf_get_pcrext(packet));
}

// The payload of a packet; empty where there is none or the adaptation field claims more than the packet.
std::span<const std::uint8_t> payloadOf(const std::uint8_t* packet) {
    if (!ts_has_payload(packet)) {
        return {};
    }
    const std::size_t start = ts_has_adaptation(packet)
                                  ? std::size_t{TS_HEADER_SIZE} + 1 + ts_get_adaptation(packet)
                                  : std::size_t{TS_HEADER_SIZE};
    if (start >= tsPacketSize) {
        return {};
    }
    return {packet + start, tsPacketSize - start};
}

bool startsPes(std::span<const std::uint8_t> bytes) {
    return bytes.size() >= pesFixedBytes && pes_validate(bytes.data()) && pes_validate_header(bytes.data());
}

// The decoding time of a PES packet, which never runs backwards inside a stream.
std::optional<Ticks> timeStampOf(std::span<const std::uint8_t> bytes) {
    if (!startsPes(bytes) || !pes_has_pts(bytes.data())) {
        return std::nullopt;
    }
    const std::size_t needed = pes_has_dts(bytes.data()) ? 19 : 14;
    if (bytes.size() < needed) {
        return std::nullopt;
    }
    const std::uint64_t stamp =
        pes_has_dts(bytes.data()) ? pes_get_dts(bytes.data()) : pes_get_pts(bytes.data());
    return static_cast<Ticks>(stamp) * ticksPerPcrBase;
}

// Whether this PAT is that of another stream: another transport_stream_id, or none of the old programs.
bool beginsNewStream(const StreamModel& model, std::uint16_t transportStreamId,
                     const std::vector<Program>& programs) {
    const auto stays = [&](const Program& old) {
        return old.number != 0 && std::ranges::any_of(programs, [&](const Program& program) {
                   return program.number == old.number;
               });
    };
    const bool hadPrograms =
        std::ranges::any_of(model.programs, [](const Program& old) { return old.number != 0; });
    return model.transportStreamId != transportStreamId ||
           (hadPrograms && std::ranges::none_of(model.programs, stays));
}

std::uint64_t sectionKey(std::uint16_t pid, const SectionHeader& header) {
    return std::uint64_t{pid} << 32 | std::uint64_t{header.tableId} << 24 |
           std::uint64_t{header.extension} << 8 | header.number;
}

} // namespace

Analyser::Analyser(Ticks ratePeriod) : ratePeriod_(ratePeriod), rates_(ratePeriod), slots_(pidValues) {
    assignPids();
}

bool Analyser::packet(const std::uint8_t* bytes) {
    const std::uint64_t number = packets_++;
    ++streamPackets_;
    if (ts_get_transporterror(bytes)) {
        // The PID itself may be wrong: the packet only takes its time.
        ++errors_.transportErrors;
        if (clock_.packet(nullPid, std::nullopt, std::nullopt)) {
            rates_.reading(clock_.now(), number);
            return true;
        }
        return false;
    }
    const std::uint16_t pid = ts_get_pid(bytes);
    PidSlot& slot = slots_[pid];
    PidState& state = stateOf(pid, slot);
    const auto content = payloadOf(bytes);
    const bool unitStart = ts_get_unitstart(bytes);
    const bool scrambled = ts_get_scrambling(bytes) != 0;

    const bool needsStamp = clock_.base() != TimeBase::pcr && unitStart && !scrambled;
    const bool reading = clock_.packet(pid, pcrOf(bytes), needsStamp ? timeStampOf(content) : std::nullopt);
    if (reading && rates_.reading(clock_.now(), number)) {
        judgeScrambling();
    }
    rates_.count(static_cast<std::size_t>(slot.position));
    ++state.packets;
    if (!content.empty()) {
        ++(scrambled ? state.recentScrambled : state.recentClear);
    }
    if (follows(state, bytes, !content.empty()) && !scrambled) {
        payload(pid, slot, content, unitStart);
    }
    return reading;
}

// The state of a PID; a PID that is seen for the first time joins the list.
PidState& Analyser::stateOf(std::uint16_t pid, PidSlot& slot) {
    if (slot.position < 0) {
        slot.position = static_cast<std::int32_t>(model_.pids.size());
        PidState state;
        state.pid = pid;
        model_.pids.push_back(state);
    }
    return model_.pids[static_cast<std::size_t>(slot.position)];
}

// Whether the packet brings a payload that has not been there before. After a gap what was collected of the
// PID is dropped (ISO/IEC 13818-1, 2.4.3.3).
bool Analyser::follows(PidState& state, const std::uint8_t* bytes, bool hasPayload) {
    if (!hasPayload || state.pid == nullPid) {
        return false;
    }
    const std::uint8_t counter = ts_get_cc(bytes);
    const bool announced =
        ts_has_adaptation(bytes) && ts_get_adaptation(bytes) > 0 && tsaf_has_discontinuity(bytes);
    if (state.continuity && !announced) {
        if (ts_check_duplicate(counter, *state.continuity)) {
            return false;
        }
        if (ts_check_discontinuity(counter, *state.continuity)) {
            ++errors_.discontinuities;
            PidSlot& slot = slots_[state.pid];
            if (slot.sections) {
                slot.sections->lost();
            }
            if (slot.probe) {
                slot.probe->collecting = false;
                slot.probe->lastStamp.reset();
            }
        }
    }
    state.continuity = counter;
    return true;
}

void Analyser::payload(std::uint16_t pid, PidSlot& slot, std::span<const std::uint8_t> bytes,
                       bool unitStart) {
    if (slot.sections) {
        slot.sections->payload(bytes, unitStart,
                               [this, pid](std::span<const std::uint8_t> whole) { section(pid, whole); });
    } else if (slot.probe) {
        collect(pid, *slot.probe, bytes, unitStart);
    }
}

// A section that has been read before is recognised by its CRC and costs nothing more.
void Analyser::section(std::uint16_t pid, std::span<const std::uint8_t> bytes) {
    const auto header = sectionHeader(bytes);
    if (header) {
        const auto known = knownSections_.find(sectionKey(pid, *header));
        if (known != knownSections_.end() && known->second == header->crc) {
            return;
        }
    }
    if (!sectionIsSound(bytes)) {
        ++errors_.badSections;
        return;
    }
    if (!header) { // the tables of the time alone have no header and no version
        if (pid == tdtPid) {
            if (const auto time = readTime(bytes)) {
                model_.time = time;
            }
        }
        return;
    }
    if (!header->current) {
        return;
    }
    if (pid == patPid && header->tableId == patTable) {
        takePat(*header, bytes);
    } else if (header->tableId == pmtTable) {
        takePmt(pid, bytes);
    } else if (pid == catPid && header->tableId == catTable) {
        takeCat(*header, bytes);
    } else if (pid == sdtPid && header->tableId == sdtActualTable) {
        takeSdt(*header, bytes);
    } else if (pid == networkPid() && header->tableId == nitActualTable) {
        takeNit(pid, *header, bytes);
    } else if (pid == eitPid &&
               (header->tableId == eitPresentTable ||
                (header->tableId >= firstScheduleTable && header->tableId <= lastScheduleTable))) {
        takeEit(*header, bytes);
    }
    knownSections_[sectionKey(pid, *header)] = header->crc;
}

void Analyser::takePat(const SectionHeader& header, std::span<const std::uint8_t> bytes) {
    auto rows = readPat(bytes);
    if (!rows) {
        return;
    }
    pat_.put(header, std::move(*rows));
    if (!pat_.complete()) {
        return;
    }
    std::vector<Program> programs = pat_.rows();
    if (model_.transportStreamId && beginsNewStream(model_, header.extension, programs)) {
        // What is known of the PAT is known of the new stream.
        SectionedTable<Program> pat = std::move(pat_);
        restart();
        pat_ = std::move(pat);
        stateOf(patPid, slots_[patPid]);
    }
    for (Program& program : programs) { // the maps of programs that stay are still true
        for (const Program& old : model_.programs) {
            if (old.number == program.number && old.pmtPid == program.pmtPid) {
                program.map = old.map;
            }
        }
    }
    model_.transportStreamId = header.extension;
    model_.programs = std::move(programs);
    knownSections_.clear(); // a map that nobody asked for before may be wanted now
    assignPids();
}

void Analyser::takePmt(std::uint16_t pid, std::span<const std::uint8_t> bytes) {
    const auto pmt = readPmt(pid, bytes);
    if (!pmt) {
        return;
    }
    for (Program& program : model_.programs) {
        if (program.number == pmt->programNumber && program.pmtPid == pid && program.number != 0) {
            program.map = pmt->map;
            assignPids();
        }
    }
}

void Analyser::takeSdt(const SectionHeader& header, std::span<const std::uint8_t> bytes) {
    auto table = readSdt(bytes);
    if (!table) {
        return;
    }
    sdt_.put(header, std::move(table->services));
    table->services = sdt_.rows();
    model_.services = std::move(table);
}

void Analyser::takeCat(const SectionHeader& header, std::span<const std::uint8_t> bytes) {
    if (auto systems = readCat(bytes)) {
        cat_.put(header, std::move(*systems));
        model_.caSystems = cat_.rows();
    }
}

void Analyser::takeNit(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes) {
    if (auto nit = readNit(pid, bytes)) {
        nit_.put(header, {std::move(nit->part)});
        model_.network = NetworkTable{nit->networkId, nit_.rows()};
    }
}

void Analyser::takeEit(const SectionHeader& header, std::span<const std::uint8_t> bytes) {
    const std::uint16_t service = header.extension;
    const bool listed = std::ranges::any_of(
        model_.programs, [&](const Program& program) { return program.number == service; });
    if (!listed) { // so that what is kept is bounded
        return;
    }
    if (auto eit = readEit(bytes)) {
        auto& table = eit_[std::uint32_t{service} << 8 | header.tableId];
        table.put(header, std::move(eit->events));
        EventTable& events = model_.events[service];
        events.transportStreamId = eit->transportStreamId;
        events.originalNetworkId = eit->originalNetworkId;
        events.events[header.tableId] = table.rows();
    }
}

// The PID of the NIT: the PAT's network entry names it, and DVB keeps to 16.
std::uint16_t Analyser::networkPid() const {
    for (const Program& program : model_.programs) {
        if (program.number == 0 && program.pmtPid < nullPid) {
            return program.pmtPid;
        }
    }
    return nitPid;
}

// Decides for every PID whether its sections or its headers are read.
void Analyser::assignPids() {
    std::vector<bool> wanted(pidValues, false);
    const auto wantSections = [&](std::uint16_t pid) {
        wanted[pid] = true;
        if (!slots_[pid].sections) {
            slots_[pid].sections = std::make_unique<SectionAssembler>();
        }
    };
    for (const std::uint16_t pid : {patPid, catPid, networkPid(), sdtPid, eitPid, tdtPid}) {
        wantSections(pid);
    }
    for (const Program& program : model_.programs) {
        if (program.number != 0 && program.pmtPid < nullPid) {
            wantSections(program.pmtPid);
        }
    }
    for (std::size_t pid = 0; pid < pidValues; ++pid) {
        if (!wanted[pid]) {
            slots_[pid].sections.reset();
        }
    }
    for (const Program& program : model_.programs) {
        if (!program.map) {
            continue;
        }
        for (const ElementaryStream& stream : program.map->streams) {
            PidSlot& slot = slots_[stream.pid];
            if (stream.kind == StreamKind::data ||
                (slot.probe && slot.probe->streamType == stream.streamType)) {
                continue;
            }
            slot.probe = std::make_unique<HeaderProbe>();
            slot.probe->kind = stream.kind;
            slot.probe->streamType = stream.streamType;
            slot.probe->audioCoding = stream.audioCoding;
        }
    }
}

// Collects the start of a PES packet, as much of it as is searched for headers.
void Analyser::collect(std::uint16_t pid, HeaderProbe& probe, std::span<const std::uint8_t> bytes,
                       bool unitStart) {
    if (unitStart) {
        if (probe.kind == StreamKind::video) {
            timePictures(pid, probe, bytes);
        }
        if (probe.collecting) {
            readHeaders(pid, probe);
        }
        probe.data.clear();
        probe.collecting = clock_.now() >= probe.quietUntil && startsPes(bytes);
        if (!probe.collecting) {
            return;
        }
        const std::size_t start = pesFixedBytes + pes_get_headerlength(bytes.data());
        bytes = bytes.subspan(std::min(start, bytes.size()));
    }
    if (!probe.collecting) {
        return;
    }
    probe.data.insert(probe.data.end(), bytes.begin(), bytes.end());
    if (probe.data.size() >= tunables::headerBytes) {
        readHeaders(pid, probe);
    }
}

// Measures the picture rate by the decoding times of successive PES packets, one picture each. Where they are
// uneven, they are not one picture each, and there is no rate.
void Analyser::timePictures(std::uint16_t pid, HeaderProbe& probe, std::span<const std::uint8_t> bytes) {
    if (probe.steps >= tunables::timedPictures) {
        return;
    }
    const auto stamp = timeStampOf(bytes);
    const auto last = std::exchange(probe.lastStamp, stamp);
    if (!stamp || !last || *stamp <= *last || *stamp - *last > ticksPerSecond) {
        return;
    }
    const Ticks step = *stamp - *last;
    probe.timed += step;
    probe.shortestStep = probe.steps == 0 ? step : std::min(probe.shortestStep, step);
    probe.longestStep = std::max(probe.longestStep, step);
    ++probe.steps;
    const bool even = probe.longestStep - probe.shortestStep <= tunables::stampJitter;
    model_.pictureRates[pid] =
        even && probe.steps >= tunables::fewestPictures
            ? static_cast<float>(static_cast<double>(probe.steps) * static_cast<double>(ticksPerSecond) /
                                 static_cast<double>(probe.timed))
            : 0.0F;
}

void Analyser::readHeaders(std::uint16_t pid, HeaderProbe& probe) {
    probe.collecting = false;
    bool found = false;
    if (probe.kind == StreamKind::video) {
        if (const auto format = readVideoFormat(probe.streamType, probe.data)) {
            model_.videoFormats[pid] = *format;
            found = true;
        }
    } else if (const auto format = readAudioFormat(probe.audioCoding, probe.data)) {
        model_.audioFormats[pid] = *format;
        found = true;
    }
    if (found) {
        probe.quietUntil = clock_.now() + tunables::headerRecheck;
    }
}

// A stream is scrambled when most of its recent packets are; a few wrong headers do not make it flicker.
void Analyser::judgeScrambling() {
    for (PidState& state : model_.pids) {
        if (state.recentClear + state.recentScrambled > 0) {
            state.scrambled = state.recentScrambled > state.recentClear;
        }
        state.recentClear = 0;
        state.recentScrambled = 0;
    }
}

void Analyser::seam() {
    clock_.seam();
    for (PidState& state : model_.pids) {
        state.continuity.reset();
    }
    for (PidSlot& slot : slots_) {
        if (slot.sections) {
            slot.sections->lost();
        }
        if (slot.probe) {
            slot.probe->collecting = false;
            slot.probe->lastStamp.reset();
        }
    }
}

void Analyser::rest(Ticks elapsed) {
    clock_.rest(elapsed);
    if (rates_.reading(clock_.now(), packets_)) {
        judgeScrambling();
    }
}

void Analyser::restart() {
    ++streamNumber_;
    streamStart_ = clock_.now();
    streamPackets_ = 0;
    model_ = StreamModel{};
    rates_ = RateMeter(ratePeriod_);
    for (PidSlot& slot : slots_) {
        slot.position = -1;
        slot.probe.reset();
        if (slot.sections) {
            slot.sections->lost();
        }
    }
    pat_ = {};
    cat_ = {};
    sdt_ = {};
    nit_ = {};
    eit_.clear();
    knownSections_.clear();
    clock_.seam();
    assignPids();
}

void Analyser::finish() {
    for (const PidState& state : model_.pids) {
        PidSlot& slot = slots_[state.pid];
        if (slot.probe && slot.probe->collecting) {
            readHeaders(state.pid, *slot.probe);
        }
    }
    clock_.sourceEnded();
    rates_.finish();
    judgeScrambling();
}

bool Analyser::settled() const {
    return everythingKnown() || clock_.now() - streamStart_ >= tunables::settlePatience ||
           streamPackets_ >= tunables::settlePackets;
}

bool Analyser::isScrambled(std::uint16_t pid) const {
    const std::int32_t position = slots_[pid].position;
    return position >= 0 && model_.pids[static_cast<std::size_t>(position)].scrambled;
}

bool Analyser::everythingKnown() const {
    if (!pat_.complete() || !model_.services || !sdt_.complete() || !rates_.measured()) {
        return false;
    }
    for (const Program& program : model_.programs) {
        if (program.number == 0) {
            continue;
        }
        if (!program.map) {
            return false;
        }
        for (const ElementaryStream& stream : program.map->streams) {
            if (stream.kind == StreamKind::video && !model_.videoFormats.contains(stream.pid) &&
                !isScrambled(stream.pid)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace board
