#include "analysis/analyser.h"

#include "packets/packetFields.h"
#include "tables/siTables.h"

#include "wire/records.h"

#include <bitstream/mpeg/ts.h>

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace board {

namespace {

constexpr std::size_t pidValues = 8192;
constexpr std::uint16_t anyPid = 0xFFFF;
constexpr std::uint8_t patTable = 0x00;
constexpr std::uint8_t pmtTable = 0x02;
constexpr std::uint8_t catTable = 0x01;
constexpr std::uint8_t nitActualTable = 0x40;
constexpr std::uint8_t sdtActualTable = 0x42;
constexpr std::uint8_t eitPresentTable = 0x4E; // present/following of the actual transport stream
constexpr std::uint8_t firstScheduleTable = 0x50;
constexpr std::uint8_t lastScheduleTable = 0x5F;
constexpr std::uint8_t tdtTable = 0x70;

// A PAT that names a program twice means the first.
void dropRepeatedPrograms(std::vector<Program>& programs) {
    std::unordered_set<std::uint16_t> seen;
    std::erase_if(programs, [&](const Program& program) { return !seen.insert(program.number).second; });
}

// Whether this PAT is that of another stream: another transport_stream_id, or none of the old programs.
bool beginsNewStream(const StreamModel& model, std::uint16_t transportStreamId,
                     const std::vector<Program>& programs) {
    if (model.transportStreamId != transportStreamId) {
        return true;
    }
    std::unordered_set<std::uint16_t> old;
    for (const Program& program : model.programs) {
        if (program.number != 0) {
            old.insert(program.number);
        }
    }
    return !old.empty() && std::ranges::none_of(programs, [&](const Program& program) {
        return old.contains(program.number);
    });
}

// The maps of programs that stay where they were are still true.
void keepMaps(const std::vector<Program>& old, std::vector<Program>& programs) {
    std::unordered_map<std::uint16_t, const Program*> byNumber;
    for (const Program& program : old) {
        byNumber.emplace(program.number, &program);
    }
    for (Program& program : programs) {
        const auto before = byNumber.find(program.number);
        if (before != byNumber.end() && before->second->pmtPid == program.pmtPid) {
            program.map = before->second->map;
        }
    }
}

std::uint64_t sectionKey(std::uint16_t pid, std::uint8_t tableId, std::uint16_t extension,
                         std::uint8_t number) {
    return std::uint64_t{pid} << 32 | std::uint64_t{tableId} << 24 | std::uint64_t{extension} << 8 | number;
}

std::uint64_t sectionKey(std::uint16_t pid, const SectionHeader& header) {
    return sectionKey(pid, header.tableId, header.extension, header.number);
}

} // namespace

const std::array<Analyser::TableReader, 7> Analyser::tableReaders{{
    {wire::patPid, patTable, patTable, &Analyser::takePat},
    {anyPid, pmtTable, pmtTable, &Analyser::takePmt},
    {wire::catPid, catTable, catTable, &Analyser::takeCat},
    {wire::sdtPid, sdtActualTable, sdtActualTable, &Analyser::takeSdt},
    {anyPid, nitActualTable, nitActualTable, &Analyser::takeNit},
    {wire::eitPid, eitPresentTable, eitPresentTable, &Analyser::takeEit},
    {wire::eitPid, firstScheduleTable, lastScheduleTable, &Analyser::takeEit},
}};

Analyser::Analyser(Ticks ratePeriod, SourceKind source)
    : ratePeriod_(ratePeriod), clock_(source, ratePeriod), rates_(ratePeriod), slots_(pidValues) {
    assignPids();
}

bool Analyser::packet(const std::uint8_t* bytes) {
    const std::uint64_t number = packets_++;
    ++streamPackets_;
    if (ts_get_transporterror(bytes)) {
        return unreadablePacket(number);
    }
    const std::uint16_t pid = ts_get_pid(bytes);
    PidSlot& slot = slots_[pid];
    PidState& state = stateOf(pid, slot);
    const auto content = payloadOf(bytes);
    const bool unitStart = ts_get_unitstart(bytes);
    const bool scrambled = ts_get_scrambling(bytes) != 0;

    const bool needsStamp = unitStart && !scrambled;
    const bool reading = clock_.packet(pid, pcrOf(bytes), needsStamp ? timeStampOf(content) : std::nullopt);
    if (reading) {
        readClock(number);
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

// The PID itself may be wrong: the packet only takes its time.
bool Analyser::unreadablePacket(std::uint64_t number) {
    ++errors_.transportErrors;
    const bool reading = clock_.packet(wire::nullPid, std::nullopt, std::nullopt);
    if (reading) {
        readClock(number);
    }
    return reading;
}

// Before the packet of this number.
void Analyser::readClock(std::uint64_t packetNumber) {
    rates_.reading(clock_.now(), packetNumber);
    if (judgementDue()) {
        lastJudgement_ = clock_.now();
        judgeScrambling();
    }
}

// Once a period; for the first time as soon as there are rates, where they come before the end.
bool Analyser::judgementDue() const {
    if (lastJudgement_) {
        return clock_.now() - *lastJudgement_ >= (ratePeriod_ > 0 ? ratePeriod_ : tunables::ratePeriod);
    }
    return rates_.measured() || ratePeriod_ == 0;
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
    if (!hasPayload || state.pid == wire::nullPid) {
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
                slot.probe->lost();
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
        slot.probe->payload(bytes, unitStart, clock_.now(), model_);
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
    if (!header) {
        takeTime(pid, bytes);
        return;
    }
    if (!header->current) {
        return;
    }
    remember(pid, *header);
    for (const TableReader& reader : tableReaders) {
        if ((reader.pid == pid || reader.pid == anyPid) && header->tableId >= reader.firstTable &&
            header->tableId <= reader.lastTable) {
            (this->*reader.take)(pid, *header, bytes);
        }
    }
}

void Analyser::remember(std::uint16_t pid, const SectionHeader& header) {
    if (knownSections_.size() >= tunables::rememberedSections) {
        knownSections_.clear();
    }
    knownSections_[sectionKey(pid, header)] = header.crc;
}

// Takes a section into its table. Returns whether the table is now what to show. What a table has dropped
// may come again as it was.
template <class Row>
bool Analyser::collect(SectionedTable<Row>& table, std::uint16_t pid, const SectionHeader& header,
                       std::vector<Row> rows) {
    if (table.startsAnew(header)) {
        for (const SectionHeader& dropped : table.headers()) {
            knownSections_.erase(sectionKey(pid, dropped));
        }
    }
    return table.put(header, std::move(rows));
}

// The tables of the time have neither header nor version. Where both come, they are told as one: the TDT.
void Analyser::takeTime(std::uint16_t pid, std::span<const std::uint8_t> bytes) {
    if (pid != wire::tdtPid) {
        return;
    }
    if (auto time = readTime(bytes)) {
        if (model_.time && model_.time->tableId == tdtTable) {
            time->tableId = tdtTable;
        }
        model_.time = time;
    }
}

void Analyser::takePat(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes) {
    auto rows = readPat(bytes);
    if (!rows) {
        return;
    }
    collect(pat_, pid, header, std::move(*rows));
    if (!pat_.complete()) {
        return;
    }
    std::vector<Program> programs = pat_.rows();
    dropRepeatedPrograms(programs);
    if (model_.transportStreamId && beginsNewStream(model_, header.extension, programs)) {
        // What is known of the PAT is known of the new stream.
        SectionedTable<Program> pat = std::move(pat_);
        restart();
        pat_ = std::move(pat);
        stateOf(wire::patPid, slots_[wire::patPid]);
    }
    keepMaps(model_.programs, programs);
    model_.transportStreamId = header.extension;
    model_.programs = std::move(programs);
    dropEventsOfNoProgram();
    knownSections_.clear(); // a map that nobody asked for before may be wanted now
    remember(pid, header);
    assignPids();
}

void Analyser::takePmt(std::uint16_t pid, const SectionHeader& /*header*/,
                       std::span<const std::uint8_t> bytes) {
    const auto pmt = readPmt(pid, bytes);
    if (!pmt) {
        return;
    }
    const auto program = std::ranges::find_if(model_.programs, [&](const Program& one) {
        return one.number == pmt->programNumber && one.pmtPid == pid && one.number != 0;
    });
    if (program != model_.programs.end()) {
        program->map = pmt->map;
        assignPids();
    }
}

void Analyser::takeSdt(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes) {
    auto table = readSdt(bytes);
    if (!table) {
        return;
    }
    if (collect(sdt_, pid, header, std::move(table->services))) {
        table->services = sdt_.rows();
        model_.services = std::move(table);
    }
}

void Analyser::takeCat(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes) {
    auto systems = readCat(bytes);
    if (systems && collect(cat_, pid, header, std::move(*systems))) {
        model_.caSystems = cat_.rows();
    }
}

void Analyser::takeNit(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes) {
    if (pid != networkPid()) {
        return;
    }
    auto nit = readNit(pid, bytes);
    if (nit && collect(nit_, pid, header, {std::move(nit->part)})) {
        model_.network = NetworkTable{nit->networkId, nit_.rows()};
    }
}

void Analyser::takeEit(std::uint16_t /*pid*/, const SectionHeader& header,
                       std::span<const std::uint8_t> bytes) {
    const std::uint16_t service = header.extension;
    const bool listed = std::ranges::any_of(
        model_.programs, [&](const Program& program) { return program.number == service; });
    if (!listed) { // so that what is kept is bounded
        return;
    }
    auto eit = readEit(bytes);
    if (!eit) {
        return;
    }
    endSchedule(service, header.tableId, eit->lastTable);
    const EventTableKey key{service, header.tableId};
    SegmentedTable<Event>& table = eit_[key];
    const std::size_t before = table.size();
    const std::size_t others = before - table.size(header.number);
    if (header.tableId == eitPresentTable) { // one or two in truth, and no record shows more than this
        eit->events.resize(std::min(eit->events.size(), wire::maxEvents - others));
    }
    EventRoom& room = eventRoom(header.tableId);
    if (room.kept - before + others + eit->events.size() > room.most) {
        forgetEventSections(key, {header.number}); // there may be room when it comes again
        return;
    }
    forgetEventSections(key, table.put(header, eit->segmentLast, std::move(eit->events)));
    room.kept = room.kept - before + table.size();
    EventTable& events = model_.events[service];
    events.transportStreamId = eit->transportStreamId;
    events.originalNetworkId = eit->originalNetworkId;
    events.events[header.tableId] = table.rows();
}

Analyser::EventRoom& Analyser::eventRoom(std::uint8_t tableId) {
    return tableId == eitPresentTable ? presentRoom_ : scheduleRoom_;
}

// What a schedule table says is its last ends the schedule (ETSI EN 300 468, 5.2.4). One that lies about
// itself is not believed.
void Analyser::endSchedule(std::uint16_t service, std::uint8_t tableId, std::uint8_t lastTable) {
    if (tableId < firstScheduleTable || lastTable < tableId) {
        return;
    }
    auto table = eit_.upper_bound({service, lastTable});
    while (table != eit_.end() && table->first.first == service) {
        table = dropEvents(table);
    }
}

// Takes a table of events away. Returns the next one.
Analyser::EventTables::iterator Analyser::dropEvents(EventTables::iterator table) {
    const auto [service, tableId] = table->first;
    forgetEventSections(table->first, table->second.numbers());
    eventRoom(tableId).kept -= table->second.size();
    const auto events = model_.events.find(service);
    if (events != model_.events.end()) {
        events->second.events.erase(tableId);
        if (events->second.events.empty()) {
            model_.events.erase(events);
        }
    }
    return eit_.erase(table);
}

// Those of programs that the PAT no longer names.
void Analyser::dropEventsOfNoProgram() {
    std::unordered_set<std::uint16_t> listed;
    for (const Program& program : model_.programs) {
        listed.insert(program.number);
    }
    for (auto table = eit_.begin(); table != eit_.end();) {
        table = listed.contains(table->first.first) ? std::next(table) : dropEvents(table);
    }
}

// Sections that are no longer there may come again as they were.
void Analyser::forgetEventSections(EventTableKey table, const std::vector<std::uint8_t>& numbers) {
    for (const std::uint8_t number : numbers) {
        knownSections_.erase(sectionKey(wire::eitPid, table.second, table.first, number));
    }
}

// The PID of the NIT: the PAT's network entry names it, and DVB keeps to 16.
std::uint16_t Analyser::networkPid() const {
    for (const Program& program : model_.programs) {
        if (program.number == 0 && program.pmtPid < wire::nullPid) {
            return program.pmtPid;
        }
    }
    return wire::nitPid;
}

// Decides for every PID whether its sections or its headers are read.
void Analyser::assignPids() {
    assignSections();
    assignProbes();
}

void Analyser::assignSections() {
    std::vector<bool> wanted(pidValues, false);
    for (const std::uint16_t pid :
         {wire::patPid, wire::catPid, networkPid(), wire::sdtPid, wire::eitPid, wire::tdtPid}) {
        wanted[pid] = true;
    }
    for (const Program& program : model_.programs) {
        if (program.number != 0 && program.pmtPid < wire::nullPid) {
            wanted[program.pmtPid] = true;
        }
    }
    for (std::size_t pid = 0; pid < pidValues; ++pid) {
        auto& sections = slots_[pid].sections;
        if (!wanted[pid]) {
            sections.reset();
        } else if (!sections) {
            sections = std::make_unique<SectionAssembler>();
        }
    }
}

// A PID in several maps is what the first of them says.
void Analyser::assignProbes() {
    std::vector<const ElementaryStream*> wanted(pidValues, nullptr);
    std::size_t count = 0;
    for (const Program& program : model_.programs) {
        if (!program.map) {
            continue;
        }
        for (const ElementaryStream& stream : program.map->streams) {
            if (stream.kind != StreamKind::data && wanted[stream.pid] == nullptr &&
                count < tunables::probedStreams) {
                wanted[stream.pid] = &stream;
                ++count;
            }
        }
    }
    for (std::uint16_t pid = 0; pid < pidValues; ++pid) {
        setProbe(pid, wanted[pid]);
    }
}

// What has been found of a stream goes with the stream.
void Analyser::setProbe(std::uint16_t pid, const ElementaryStream* stream) {
    auto& probe = slots_[pid].probe;
    if (probe && (stream == nullptr || !probe->suits(*stream))) {
        probe.reset();
        model_.videoFormats.erase(pid);
        model_.audioFormats.erase(pid);
        model_.pictureRates.erase(pid);
    }
    if (stream != nullptr && !probe) {
        probe = std::make_unique<HeaderProbe>(*stream);
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
    if (clock_.passEnded()) {
        readClock(packets_);
    }
    for (PidState& state : model_.pids) {
        state.continuity.reset();
    }
    for (PidSlot& slot : slots_) {
        if (slot.sections) {
            slot.sections->lost();
        }
        if (slot.probe) {
            slot.probe->lost();
        }
    }
}

bool Analyser::realTime(Ticks elapsed) {
    const bool moved = clock_.realTime(elapsed);
    if (moved) {
        readClock(packets_);
    }
    return moved;
}

void Analyser::restart() {
    ++streamNumber_;
    streamStart_ = clock_.now();
    streamPackets_ = 0;
    model_ = StreamModel{};
    rates_ = RateMeter(ratePeriod_, clock_.now(), packets_);
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
    presentRoom_.kept = 0;
    scheduleRoom_.kept = 0;
    lastJudgement_.reset();
    knownSections_.clear();
    clock_.startOver();
    assignPids();
}

void Analyser::finish() {
    for (const PidState& state : model_.pids) {
        if (const auto& probe = slots_[state.pid].probe) {
            probe->finish(clock_.now(), model_);
        }
    }
    clock_.passEnded();
    rates_.finish(clock_.now(), packets_);
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
