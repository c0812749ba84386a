#include "tables/serviceEvents.h"

#include "wire/records.h"

#include <bitstream/dvb/si.h>

#include <algorithm>

namespace board {

namespace {

bool sameSegment(std::uint8_t one, std::uint8_t other) {
    constexpr int sectionsPerSegment = 8;
    return one / sectionsPerSegment == other / sectionsPerSegment;
}

} // namespace

bool ServiceEvents::knows(const SectionHeader& header) const {
    const auto table = tables_.find(header.tableId);
    if (table == tables_.end()) {
        return false;
    }
    const auto section = table->second.find(header.number);
    return section != table->second.end() && section->second.crc == header.crc && !section->second.missed;
}

void ServiceEvents::put(const SectionHeader& header, EitSection section) {
    endSchedule(header.tableId, section.lastTable);
    Table& table = tables_[header.tableId];
    std::erase_if(table, [&](const auto& entry) {
        const auto& [number, old] = entry;
        return old.version != header.version &&
               (number > header.last || (sameSegment(number, header.number) && number > section.segmentLast));
    });
    table[header.number] = Section{header.version, header.crc, std::move(section.events), {}, 0, false};
    events_.transportStreamId = section.transportStreamId;
    events_.originalNetworkId = section.originalNetworkId;
    keepWhatIsShown();
}

// What a schedule table says is its last ends the schedule (ETSI EN 300 468, 5.2.4). One that lies about
// itself is not believed.
void ServiceEvents::endSchedule(std::uint8_t tableId, std::uint8_t lastTable) {
    if (tableId >= EIT_TABLE_ID_SCHED_ACTUAL_FIRST && lastTable >= tableId) {
        tables_.erase(tables_.upper_bound(lastTable), tables_.end());
    }
}

std::optional<EventStart> ServiceEvents::presentStart() const {
    const auto table = tables_.find(presentEventTable);
    if (table != tables_.end()) {
        for (const auto& [number, section] : table->second) {
            if (!section.events.empty()) {
                return startOf(section.events.front());
            }
        }
    }
    return std::nullopt;
}

// Drops what the record does not show, and shows the rest.
void ServiceEvents::keepWhatIsShown() {
    events_.events.clear();
    events_.leftOut = 0;
    const auto present = presentStart();
    std::size_t scheduleRoom = wire::maxEvents;
    for (auto& [tableId, table] : tables_) {
        std::size_t presentRoom = wire::maxEvents;
        std::size_t& room = tableId == presentEventTable ? presentRoom : scheduleRoom;
        std::vector<Event>& shown = events_.events[tableId];
        for (auto& [number, section] : table) {
            if (present && tableId != presentEventTable) {
                dropOver(section, *present);
            }
            dropWithoutRoom(section, room);
            const bool wasOver = section.lastOver && (!present || *section.lastOver >= *present);
            section.missed = wasOver || (section.cut > 0 && room > 0);
            events_.leftOut += section.cut;
            shown.insert(shown.end(), section.events.begin(), section.events.end());
        }
    }
}

// Drops the events that start before the present one.
void ServiceEvents::dropOver(Section& section, const EventStart& present) {
    std::erase_if(section.events, [&](const Event& event) {
        const EventStart start = startOf(event);
        const bool over = start < present;
        if (over) {
            section.lastOver = std::max(section.lastOver, std::optional(start));
        }
        return over;
    });
}

// Takes the section's events into the room, as far as it goes, and drops the others.
void ServiceEvents::dropWithoutRoom(Section& section, std::size_t& room) {
    const std::size_t kept = std::min(section.events.size(), room);
    section.cut += section.events.size() - kept;
    section.events.resize(kept);
    room -= kept;
}

} // namespace board
