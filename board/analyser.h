// Follows a transport stream packet by packet and keeps the stream model, the stream's clock and the rates.
#pragma once

#include "rateMeter.h"
#include "sectionAssembler.h"
#include "sectionedTable.h"
#include "streamClock.h"
#include "streamModel.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
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
    explicit Analyser(Ticks ratePeriod);

    // Takes the next packet, 188 bytes. Returns whether the stream clock has moved on to a new reading.
    bool packet(const std::uint8_t* bytes);

    // The file starts over: what spans the seam is dropped, the clock goes on.
    void seam();

    // Time has passed without a packet: rates fall.
    void rest(Ticks elapsed);

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
    // Looks for codec headers at the start of the PES packets of one elementary stream.
    struct HeaderProbe {
        StreamKind kind = StreamKind::data;
        std::uint8_t streamType = 0;
        std::uint16_t audioCoding = 0;
        std::vector<std::uint8_t> data; // of the PES packet that is being collected
        bool collecting = false;
        Ticks quietUntil = 0;
        // Pictures are timed where the headers give no picture rate.
        std::optional<Ticks> lastStamp;
        Ticks timed = 0;
        Ticks shortestStep = 0;
        Ticks longestStep = 0;
        std::uint32_t steps = 0;
    };
    struct PidSlot {
        std::int32_t position = -1; // in model_.pids
        std::unique_ptr<SectionAssembler> sections;
        std::unique_ptr<HeaderProbe> probe;
    };

    PidState& stateOf(std::uint16_t pid, PidSlot& slot);
    bool follows(PidState& state, const std::uint8_t* bytes, bool hasPayload);
    void payload(std::uint16_t pid, PidSlot& slot, std::span<const std::uint8_t> bytes, bool unitStart);
    void section(std::uint16_t pid, std::span<const std::uint8_t> bytes);
    void takePat(const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void takePmt(std::uint16_t pid, std::span<const std::uint8_t> bytes);
    void takeCat(const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void takeSdt(const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void takeNit(std::uint16_t pid, const SectionHeader& header, std::span<const std::uint8_t> bytes);
    void takeEit(const SectionHeader& header, std::span<const std::uint8_t> bytes);
    std::uint16_t networkPid() const;
    void assignPids();
    void collect(std::uint16_t pid, HeaderProbe& probe, std::span<const std::uint8_t> bytes, bool unitStart);
    void timePictures(std::uint16_t pid, HeaderProbe& probe, std::span<const std::uint8_t> bytes);
    void readHeaders(std::uint16_t pid, HeaderProbe& probe);
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
    std::vector<PidSlot> slots_; // one a PID
    SectionedTable<Program> pat_;
    SectionedTable<CaSystem> cat_;
    SectionedTable<Service> sdt_;
    SectionedTable<NetworkPart> nit_;
    std::map<std::uint32_t, SectionedTable<Event>> eit_;             // by service_id and table_id
    std::unordered_map<std::uint64_t, std::uint32_t> knownSections_; // CRC by PID, table, extension, number
};

} // namespace board
