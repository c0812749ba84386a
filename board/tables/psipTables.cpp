#include "tables/psipTables.h"

#include "wire/records.h"

#include <algorithm>
#include <utility>

namespace board {

const std::array<PsipTables::Reader, 6> PsipTables::readers{{
    {mgtTable, &PsipTables::wantsMgt, &PsipTables::takeMgt},
    {tvctTable, &PsipTables::wantsTvct, &PsipTables::takeTvct},
    {cvctTable, &PsipTables::wantsCvct, &PsipTables::takeCvct},
    {sttTable, &PsipTables::wantsStt, &PsipTables::takeStt},
    {psipEitTable, &PsipTables::wantsEit, &PsipTables::takeEit},
    {ettTable, &PsipTables::wantsEtt, &PsipTables::takeEtt},
}};

const PsipTables::Reader* PsipTables::readerOf(std::uint8_t tableId) {
    const auto* const reader = std::ranges::find(readers, tableId, &Reader::tableId);
    return reader == readers.end() ? nullptr : reader;
}

bool PsipTables::wants(const IncomingSection& section) const {
    const Reader* reader = readerOf(section.header.tableId);
    return reader != nullptr && (this->*reader->wants)(section);
}

PsipTables::Change PsipTables::take(const IncomingSection& section) {
    Change change;
    if (const Reader* reader = readerOf(section.header.tableId)) {
        (this->*reader->take)(section, change);
    }
    return change;
}

void PsipTables::follow(std::set<std::uint16_t> programs) {
    programs_ = std::move(programs);
    dropUnwanted();
}

std::vector<std::uint16_t> PsipTables::pids() const {
    std::vector<std::uint16_t> all{psipPid};
    for (const auto& pid : {guide_.events, guide_.texts}) {
        if (pid && *pid < wire::nullPid) {
            all.push_back(*pid);
        }
    }
    return all;
}

std::optional<EventTable> PsipTables::events(std::uint16_t program) const {
    const auto source = std::ranges::find_if(
        programsOfSources_, [program](const auto& entry) { return entry.second == program; });
    if (source == programsOfSources_.end() || !events_.contains(source->first)) {
        return std::nullopt;
    }
    EventTable table = events_.at(source->first).events();
    for (auto& [tableId, events] : table.events) {
        for (Event& event : events) {
            const auto text = texts_.find({source->first, event.id});
            event.description = text == texts_.end() ? "" : text->second.text;
        }
    }
    return table;
}

bool PsipTables::wantsMgt(const IncomingSection& section) const {
    return section.pid == psipPid && mgtCrc_ != section.header.crc;
}

bool PsipTables::wantsTvct(const IncomingSection& section) const {
    return section.pid == psipPid && !tvct_.knows(section.header);
}

bool PsipTables::wantsCvct(const IncomingSection& section) const {
    return section.pid == psipPid && !tvct_.begun() && !cvct_.knows(section.header);
}

bool PsipTables::wantsStt(const IncomingSection& section) const {
    return section.pid == psipPid && sttCrc_ != section.header.crc;
}

bool PsipTables::wantsEit(const IncomingSection& section) const {
    const std::uint16_t source = section.header.extension;
    if (section.pid != guide_.events || !gpsOffset_ || !listedProgramOf(source)) {
        return false;
    }
    const auto events = events_.find(source);
    return events == events_.end() || !events->second.knows(section.header);
}

bool PsipTables::wantsEtt(const IncomingSection& section) const {
    const auto key = section.pid == guide_.texts ? eventOfEtt(section.bytes) : std::nullopt;
    if (!key || !hasEvent(*key)) {
        return false;
    }
    const auto text = texts_.find(*key);
    return text == texts_.end() || text->second.crc != section.header.crc;
}

// Other events come from other PIDs: those of before are over, or come again.
void PsipTables::takeMgt(const IncomingSection& section, Change& change) {
    mgtCrc_ = section.header.crc; // one of no sense is known as well
    const auto guide = readMgt(section.bytes);
    if (!guide || *guide == guide_) {
        return;
    }
    if (guide->events != guide_.events) {
        dropEvents(change);
    }
    guide_ = *guide;
    change.pids = true;
}

void PsipTables::takeTvct(const IncomingSection& section, Change& change) {
    takeChannels(tvct_, section, change);
}

void PsipTables::takeCvct(const IncomingSection& section, Change& change) {
    takeChannels(cvct_, section, change);
}

// Several channels may be one program: it is the first of them.
void PsipTables::takeChannels(SectionedTable<Channel>& table, const IncomingSection& section,
                              Change& change) {
    auto channels = readVct(section.bytes);
    if (!channels || !table.put(section.header, std::move(*channels))) {
        return;
    }
    services_ = ServiceTable{section.header.extension, 0, {}, section.header.tableId, section.pid};
    programsOfSources_.clear();
    std::set<std::uint16_t> seen;
    for (Channel& channel : table.rows()) {
        if (seen.insert(channel.service.id).second) {
            programsOfSources_.try_emplace(channel.sourceId, channel.service.id);
            services_->services.push_back(std::move(channel.service));
        }
    }
    dropUnwanted();
    change.names = true;
    change.events = programs_;
}

void PsipTables::takeStt(const IncomingSection& section, Change& change) {
    sttCrc_ = section.header.crc;
    const auto now = readStt(section.bytes);
    if (!now) {
        return;
    }
    if (gpsOffset_ && gpsOffset_ != now->gpsOffset) { // a leap second: the events are read again
        dropEvents(change);
    }
    gpsOffset_ = now->gpsOffset;
    if (const auto utc = utcOf(*now)) {
        time_ = utc;
        change.time = true;
    }
}

void PsipTables::takeEit(const IncomingSection& section, Change& change) {
    const std::uint16_t source = section.header.extension;
    auto events = readPsipEit(section.bytes, *gpsOffset_);
    if (!events) {
        return;
    }
    events_[source].put(section.header, {services_->transportStreamId, 0, section.header.last,
                                         section.header.tableId, std::move(*events)});
    dropUnwanted();
    change.events.insert(*listedProgramOf(source));
}

void PsipTables::takeEtt(const IncomingSection& section, Change& change) {
    const auto key = eventOfEtt(section.bytes);
    auto text = readEtt(section.bytes);
    if (key && text) {
        texts_[*key] = {section.header.crc, std::move(*text)};
        change.events.insert(*listedProgramOf(key->sourceId));
    }
}

void PsipTables::dropEvents(Change& change) {
    events_.clear();
    texts_.clear();
    change.events = programs_;
}

// Drops the events of channels that are none any more, and the texts without an event.
void PsipTables::dropUnwanted() {
    std::erase_if(events_, [this](const auto& entry) { return !listedProgramOf(entry.first); });
    std::erase_if(texts_, [this](const auto& entry) { return !hasEvent(entry.first); });
}

// The program of a channel, where the PAT has it.
std::optional<std::uint16_t> PsipTables::listedProgramOf(std::uint16_t source) const {
    const auto program = programsOfSources_.find(source);
    return program != programsOfSources_.end() && programs_.contains(program->second)
               ? std::optional(program->second)
               : std::nullopt;
}

bool PsipTables::hasEvent(const EventKey& key) const {
    const auto source = events_.find(key.sourceId);
    if (source == events_.end()) {
        return false;
    }
    const auto& tables = source->second.events().events;
    return std::ranges::any_of(tables, [&](const auto& table) {
        return std::ranges::find(table.second, key.eventId, &Event::id) != table.second.end();
    });
}

} // namespace board
