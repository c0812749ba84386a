// The tables of an ATSC stream (ATSC A/65): its channels' names, its time, and the events of these three
// hours.
#pragma once

#include "stream/streamModel.h"
#include "tables/psipSections.h"
#include "tables/section.h"
#include "tables/sectionedTable.h"
#include "tables/serviceEvents.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace board {

inline constexpr std::uint16_t psipPid = 0x1FFB; // of the tables that are always there

// Events come once the channels, the stream's programs, the system time and their PID are known; until then
// their sections are not wanted. Texts come for the events that are kept. So what is kept is bounded.
class PsipTables {
  public:
    // What a section has changed.
    struct Change {
        bool names = false;
        bool time = false;
        bool pids = false;
        std::set<std::uint16_t> events; // of these programs
    };

    // Whether a section of this table, not checked yet, would tell anything new.
    bool wants(const IncomingSection& section) const;

    // Takes a sound section that is wanted.
    Change take(const IncomingSection& section);

    // Keeps the events of these programs, and no others.
    void follow(std::set<std::uint16_t> programs);

    // The PIDs whose sections are wanted.
    std::vector<std::uint16_t> pids() const;

    bool namesAreWhole() const {
        return (tvct_.begun() ? tvct_ : cvct_).complete();
    }

    // The channels as services; a terrestrial table comes before a cable's.
    const std::optional<ServiceTable>& services() const {
        return services_;
    }

    const std::optional<UtcTime>& time() const {
        return time_;
    }

    // The events of a program that have come, with their texts.
    std::optional<EventTable> events(std::uint16_t program) const;

  private:
    struct Reader {
        std::uint8_t tableId;
        bool (PsipTables::*wants)(const IncomingSection& section) const;
        void (PsipTables::*take)(const IncomingSection& section, Change& change);
    };
    static const std::array<Reader, 6> readers;
    static const Reader* readerOf(std::uint8_t tableId);

    struct EventText {
        std::uint32_t crc = 0; // of its section
        std::string text;
    };

    bool wantsMgt(const IncomingSection& section) const;
    bool wantsTvct(const IncomingSection& section) const;
    bool wantsCvct(const IncomingSection& section) const;
    bool wantsStt(const IncomingSection& section) const;
    bool wantsEit(const IncomingSection& section) const;
    bool wantsEtt(const IncomingSection& section) const;
    void takeMgt(const IncomingSection& section, Change& change);
    void takeTvct(const IncomingSection& section, Change& change);
    void takeCvct(const IncomingSection& section, Change& change);
    void takeStt(const IncomingSection& section, Change& change);
    void takeEit(const IncomingSection& section, Change& change);
    void takeEtt(const IncomingSection& section, Change& change);
    void takeChannels(SectionedTable<Channel>& table, const IncomingSection& section, Change& change);
    void dropEvents(Change& change);
    void dropUnwanted();
    std::optional<std::uint16_t> listedProgramOf(std::uint16_t source) const;
    bool hasEvent(const EventKey& key) const;

    std::set<std::uint16_t> programs_; // of the PAT
    std::optional<std::uint32_t> mgtCrc_;
    GuidePids guide_;
    SectionedTable<Channel> tvct_;
    SectionedTable<Channel> cvct_;
    std::optional<ServiceTable> services_;
    std::map<std::uint16_t, std::uint16_t> programsOfSources_; // program_number by source_id
    std::optional<std::uint32_t> sttCrc_;
    std::optional<std::uint8_t> gpsOffset_;
    std::optional<UtcTime> time_;
    std::map<std::uint16_t, ServiceEvents> events_; // by source_id, of the programs in programs_
    std::map<EventKey, EventText> texts_;           // of these events
};

} // namespace board
