#include "tables/streamTables.h"

#include "tables/psiTables.h"
#include "tables/siTables.h"

#include "wire/records.h"

#include <bitstream/dvb/si.h>
#include <bitstream/mpeg/psi.h>

#include <algorithm>
#include <set>
#include <utility>

namespace board {

namespace {

constexpr std::uint16_t anyPid = 0xFFFF;

// Whether these programs are those of a PAT already.
bool lists(const std::vector<PatEntry>& entries, const std::vector<Program>& programs) {
    return std::ranges::equal(entries, programs, [](const PatEntry& entry, const Program& program) {
        return entry.program == program.number && entry.pid == program.pmtPid;
    });
}

// The tables of the time have neither header nor version. Where both come, they are told as one: the TDT.
void takeTime(SectionBytes bytes, StreamModel& model) {
    if (auto time = readTime(bytes)) {
        if (model.time && model.time->tableId == TDT_TABLE_ID) {
            time->tableId = TDT_TABLE_ID;
        }
        model.time = time;
    }
}

} // namespace

const std::array<StreamTables::Reader, 8> StreamTables::readers{{
    {wire::patPid, PAT_TABLE_ID, PAT_TABLE_ID, &StreamTables::wantsPat, &StreamTables::takePat},
    {anyPid, PMT_TABLE_ID, PMT_TABLE_ID, &StreamTables::wantsPmt, &StreamTables::takePmt},
    {wire::catPid, CAT_TABLE_ID, CAT_TABLE_ID, &StreamTables::wantsCat, &StreamTables::takeCat},
    {wire::sdtPid, SDT_TABLE_ID_ACTUAL, SDT_TABLE_ID_ACTUAL, &StreamTables::wantsSdt, &StreamTables::takeSdt},
    {anyPid, NIT_TABLE_ID_ACTUAL, NIT_TABLE_ID_ACTUAL, &StreamTables::wantsNit, &StreamTables::takeNit},
    {wire::eitPid, presentEventTable, presentEventTable, &StreamTables::wantsEit, &StreamTables::takeEit},
    {wire::eitPid, EIT_TABLE_ID_SCHED_ACTUAL_FIRST, EIT_TABLE_ID_SCHED_ACTUAL_LAST, &StreamTables::wantsEit,
     &StreamTables::takeEit},
    {anyPid, mgtTable, sttTable, &StreamTables::wantsPsip, &StreamTables::takePsip},
}};

StreamTables::Effect StreamTables::section(std::uint16_t pid, SectionBytes bytes, StreamModel& model) {
    const auto header = sectionHeader(bytes);
    if (!header) {
        if (!sectionIsSound(bytes)) {
            return Effect::bad;
        }
        if (pid == wire::tdtPid) {
            takeTime(bytes, model);
        }
        return Effect::none;
    }
    const Incoming incoming{pid, *header, bytes};
    const auto reader = std::ranges::find_if(readers, [&](const Reader& one) {
        return (one.pid == pid || one.pid == anyPid) && header->tableId >= one.firstTable &&
               header->tableId <= one.lastTable;
    });
    if (reader == readers.end() || !(this->*reader->wants)(incoming)) {
        return Effect::none;
    }
    if (!sectionIsSound(bytes)) {
        return Effect::bad;
    }
    return header->current ? (this->*reader->take)(incoming, model) : Effect::none;
}

std::vector<std::uint16_t> StreamTables::pids() const {
    std::vector<std::uint16_t> all{wire::patPid, wire::catPid, networkPid_.value_or(wire::nitPid),
                                   wire::sdtPid, wire::eitPid, wire::tdtPid};
    for (const auto& [number, map] : maps_) {
        if (map.pid < wire::nullPid) {
            all.push_back(map.pid);
        }
    }
    const std::vector<std::uint16_t> psip = psip_.pids();
    all.insert(all.end(), psip.begin(), psip.end());
    return all;
}

bool StreamTables::wantsPat(const Incoming& section) const {
    return !pat_.knows(section.header);
}

bool StreamTables::wantsPmt(const Incoming& section) const {
    const auto map = maps_.find(section.header.extension);
    return map != maps_.end() && map->second.pid == section.pid && map->second.crc != section.header.crc;
}

bool StreamTables::wantsCat(const Incoming& section) const {
    return !cat_.knows(section.header);
}

bool StreamTables::wantsSdt(const Incoming& section) const {
    return !sdt_.knows(section.header);
}

// The PAT's network entry names the PID of the NIT, and DVB keeps to 16.
bool StreamTables::wantsNit(const Incoming& section) const {
    return section.pid == networkPid_.value_or(wire::nitPid) && !nit_.knows(section.header);
}

bool StreamTables::wantsEit(const Incoming& section) const {
    if (!maps_.contains(section.header.extension)) { // so that what is kept is bounded
        return false;
    }
    const auto events = events_.find(section.header.extension);
    return events == events_.end() || !events->second.knows(section.header);
}

bool StreamTables::wantsPsip(const Incoming& section) const {
    return psip_.wants(section);
}

StreamTables::Effect StreamTables::takePat(const Incoming& section, StreamModel& model) {
    const auto rows = readPat(section.bytes);
    if (!rows) {
        return Effect::none;
    }
    pat_.put(section.header, {shownOf(*rows)});
    if (!pat_.complete()) {
        return Effect::none;
    }
    const ProgramList list = joined(pat_.rows());
    const bool newStream = beginsNewStream(model, section.header.extension, list.entries);
    if (newStream) { // what is known of the PAT is known of the new stream
        SectionedTable<ProgramList> pat = std::move(pat_);
        *this = StreamTables{};
        pat_ = std::move(pat);
        model = StreamModel{};
    }
    model.transportStreamId = section.header.extension;
    model.programsLeftOut = list.leftOut;
    if (!newStream && lists(list.entries, model.programs)) {
        return Effect::none;
    }
    model.programs = programsOf(list.entries, model.programs);
    follow(model);
    return newStream ? Effect::newStream : Effect::programs;
}

// Wants the maps and events of the programs that there are now, and no others.
void StreamTables::follow(StreamModel& model) {
    networkPid_.reset();
    const auto before = std::exchange(maps_, {});
    for (const Program& program : model.programs) {
        if (program.number != 0) {
            const auto same = before.find(program.number);
            maps_[program.number] = same != before.end() && same->second.pid == program.pmtPid
                                        ? same->second
                                        : MapSection{program.pmtPid, std::nullopt};
        } else if (program.pmtPid < wire::nullPid) {
            networkPid_ = program.pmtPid;
        }
    }
    std::set<std::uint16_t> numbers;
    for (const auto& [number, map] : maps_) {
        numbers.insert(number);
    }
    psip_.follow(std::move(numbers));
    std::erase_if(events_, [this](const auto& entry) { return !maps_.contains(entry.first); });
    std::erase_if(model.events, [this](const auto& entry) { return !maps_.contains(entry.first); });
}

StreamTables::Effect StreamTables::takePmt(const Incoming& section, StreamModel& model) {
    maps_[section.header.extension].crc = section.header.crc; // one of no sense is known as well
    auto map = readPmt(section.bytes);
    const auto program = std::ranges::find(model.programs, section.header.extension, &Program::number);
    if (!map || program == model.programs.end()) {
        return Effect::none;
    }
    program->map = std::move(map);
    return Effect::maps;
}

StreamTables::Effect StreamTables::takeCat(const Incoming& section, StreamModel& model) {
    auto systems = readCat(section.bytes);
    if (systems && cat_.put(section.header, std::move(*systems))) {
        model.caSystems = cat_.rows();
    }
    return Effect::none;
}

StreamTables::Effect StreamTables::takeSdt(const Incoming& section, StreamModel& model) {
    auto table = readSdt(section.bytes);
    if (table && sdt_.put(section.header, std::move(table->services))) {
        table->services = sdt_.rows();
        model.services = std::move(table);
    }
    return Effect::none;
}

StreamTables::Effect StreamTables::takeNit(const Incoming& section, StreamModel& model) {
    auto nit = readNit(section.bytes);
    if (nit && nit_.put(section.header, {std::move(nit->part)})) {
        model.network = NetworkTable{nit->networkId, nit_.rows(), nit_.complete()};
    }
    return Effect::none;
}

StreamTables::Effect StreamTables::takeEit(const Incoming& section, StreamModel& model) {
    if (auto eit = readEit(section.bytes)) {
        ServiceEvents& events = events_[section.header.extension];
        events.put(section.header, std::move(*eit));
        model.events[section.header.extension] = events.events();
    }
    return Effect::none;
}

// Where a stream has tables of both, DVB's are shown.
StreamTables::Effect StreamTables::takePsip(const Incoming& section, StreamModel& model) {
    const PsipTables::Change change = psip_.take(section);
    if (change.names && !sdt_.begun()) {
        model.services = psip_.services();
    }
    if (change.time && (!model.time || model.time->tableId == sttTable)) {
        model.time = psip_.time();
    }
    for (const std::uint16_t program : change.events) {
        showPsipEvents(program, model);
    }
    return change.pids ? Effect::pids : Effect::none;
}

void StreamTables::showPsipEvents(std::uint16_t program, StreamModel& model) const {
    if (events_.contains(program)) {
        return;
    }
    if (auto events = psip_.events(program)) {
        model.events[program] = std::move(*events);
    } else {
        model.events.erase(program);
    }
}

} // namespace board
