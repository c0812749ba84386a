// Follows a transport stream packet by packet and keeps the stream model, the stream's clock and the rates.
#pragma once

#include "codecs/headerProbe.h"
#include "stream/streamModel.h"
#include "tables/sectionAssembler.h"
#include "tables/sectionedTable.h"
#include "timing/rateMeter.h"
#include "timing/streamClock.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

namespace board {

// What went wrong in the stream since it began.
struct StreamErrors {
    std::uint64_t transportErrors = 0; // packets with transport_error_indicator; nothing in them is used
    std::uint64_t discontinuities = 0; // gaps of a continuity_counter
    std::uint64_t badSections = 0;     // sections with a wrong CRC or impossible lengths
};

class Analyser {
  public:
    // ratePeriod in stream time; 0 measures the whole stream as one period.
    explicit Analyser(Ticks ratePeriod, SourceKind source = SourceKind::stored);

    // Takes the next packet, 188 bytes. Returns whether the stream clock has moved on to a new reading.
    bool packet(const std::uint8_t* bytes);

    // The file starts over: what spans the seam is dropped, the clock goes on.
    void seam();

    // So much real time has passed since the last call, for a source that can be silent. Returns whether the
    // stream clock has moved: rates fall in a silence.
    bool realTime(Ticks elapsed);

    // Another stream begins: nothing known so far is true any more.
    void restart();

    // How many streams have begun; it counts up at the packet, or the restart, that begins a new one.
    std::uint32_t streamNumber() const {
        return streamNumber_;
    }

    // The source has ended: the rates of a stream shorter than a period are what they are.
    void finish();

    // Whether enough is known to publish: programs, their maps, services, formats and rates; or the time to
    // wait for them is over.
    bool settled() const;

    const StreamModel& model() const {
        return model_;
    }
    const RateMeter& rates() const {
        return rates_;
    }
    const StreamClock& clock() const {
        return clock_;
    }
    const StreamErrors& errors() const {
        return errors_;
    }
    std::uint64_t packets() const {
        return packets_;
    }

  private:
    struct PidSlot {
        std::int32_t position = -1; // in model_.pids
        std::unique_ptr<SectionAssembler> sections;
        std::unique_ptr<HeaderProbe> probe;
    };

    // What takes the sections of a table, where they are allowed to come from.
    struct TableReader {
        std::uint16_t pid;
        std::uint8_t firstTable;
        std::uint8_t lastTable;
        void (Analyser::*take)(std::uint16_t pid, const SectionHeader& header,
                               std::span<const std::uint8_t> bytes);
    };
    static const std::array<TableReader, 7> tableReaders;

    // How many events are kept, and how many may be. Present/following has a room of its own, so that no
    // schedule keeps it out.
    struct EventRoom {
        std::size_t most;
        std::size_t kept = 0;
    };

    using EventTableKey = std::pair<std::uint16_t, std::uint8_t>; // service_id and table_id
    using EventTables = std::map<EventTableKey, SegmentedTable<Event>>;

    bool unreadablePacket(std::uint64_t number);
    PidState& stateOf(std::uint16_t pid, PidSlot& slot);
    bool follows(PidState& state, const std::uint8_t* bytes, bool hasPayload);
    void payload(std::uint16_t pid, PidSlot& slot, std::span<const std::uint8_t> bytes, bool unitStart);
    void section(std::uint16_t pid, std::span<const std::uint8_t> bytes);
    void takeTime(std::uint16_t pid, std::span<const std::uint8_t> bytes);
    void takePat(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void takePmt(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void takeCat(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void takeSdt(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void takeNit(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void takeEit(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void endSchedule(std::uint16_t service, std::uint8_t tableId, std::uint8_t lastTable);
    EventTables::iterator dropEvents(EventTables::iterator table);
    void dropEventsOfNoProgram();
    EventRoom& eventRoom(std::uint8_t tableId);
    void remember(std::uint16_t pid, const SectionHeader& header);
    void forgetEventSections(EventTableKey table, const std::vector<std::uint8_t>& numbers);
    template <class Row>
    bool collect(SectionedTable<Row>& table, std::uint16_t pid, const SectionHeader& header,
                 std::vector<Row> rows);
    std::uint16_t networkPid() const;
    void assignPids();
    void assignSections();
    void assignProbes();
    void setProbe(std::uint16_t pid, const ElementaryStream* stream);
    void readClock(std::uint64_t packetNumber);
    bool judgementDue() const;
    void judgeScrambling();
    bool isScrambled(std::uint16_t pid) const;
    bool everythingKnown() const;

    Ticks ratePeriod_;
    std::uint32_t streamNumber_ = 1;
    Ticks streamStart_ = 0;
    std::uint64_t streamPackets_ = 0;
    StreamModel model_;
    StreamClock clock_;
    RateMeter rates_;
    StreamErrors errors_;
    std::uint64_t packets_ = 0;
    std::optional<Ticks> lastJudgement_; // of what is scrambled
    std::vector<PidSlot> slots_;         // one a PID
    SectionedTable<Program> pat_;
    SectionedTable<CaSystem> cat_;
    SectionedTable<Service> sdt_;
    SectionedTable<NetworkPart> nit_;
    EventTables eit_;
    EventRoom presentRoom_{tunables::keptPresentEvents};
    EventRoom scheduleRoom_{tunables::keptEvents};
    std::unordered_map<std::uint64_t, std::uint32_t> knownSections_; // CRC by PID, table, extension, number
};

} // namespace board
