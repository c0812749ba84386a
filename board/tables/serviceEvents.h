// The events of one service (ETSI EN 300 468, 5.2.4): present/following and the tables of its schedule.
#pragma once

#include "stream/streamModel.h"
#include "tables/section.h"
#include "tables/siTables.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace board {

// Its sections speak for themselves, and their numbers may have gaps between segments of eight, so that
// nothing tells when a table is whole. A section stays until its number comes again, or until a newer one
// says that it is no longer there.
//
// Of present/following, and of the schedule from the present event on, no more events are kept than the
// record shows. A section whose events have been left out is asked for again when there is room for them, or
// when the present event is an earlier one.
class ServiceEvents {
  public:
    // Whether this very section is known and would bring nothing that is missed.
    bool knows(const SectionHeader& header) const;

    // Takes one section.
    void put(const SectionHeader& header, EitSection section);

    // Everything that is kept.
    const EventTable& events() const {
        return events_;
    }

  private:
    struct Section {
        std::uint8_t version = 0;
        std::uint32_t crc = 0;
        std::vector<Event> events;
        std::optional<EventStart> lastOver; // the latest of its events that were over and are not kept
        std::size_t cut = 0;                // how many of its events there was no room for
        bool missed = false;                // whether one of those that are not kept would be now
    };
    using Table = std::map<std::uint8_t, Section>; // by section_number

    void endSchedule(std::uint8_t tableId, std::uint8_t lastTable);
    void keepWhatIsShown();
    static void dropOver(Section& section, const EventStart& present);
    static void dropWithoutRoom(Section& section, std::size_t& room);
    std::optional<EventStart> presentStart() const;

    std::map<std::uint8_t, Table> tables_; // by table_id
    EventTable events_;
};

} // namespace board
