// Follows a transport stream packet by packet and hands each packet on to those who know it: the stream clock
// and the rates, the tables, and what reads codec headers. What they find is the stream model.
#pragma once

#include "analysis/continuity.h"
#include "analysis/errorWatch.h"
#include "analysis/scrambling.h"
#include "analysis/settling.h"
#include "codecs/headerProbe.h"
#include "stream/streamModel.h"
#include "tables/sectionAssembler.h"
#include "tables/streamTables.h"
#include "timing/rateMeter.h"
#include "timing/streamClock.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace board {

class Analyser {
  public:
    // ratePeriod in stream time; 0 measures the whole stream as one period.
    explicit Analyser(Ticks ratePeriod, SourceKind source = SourceKind::stored);

    // Takes the next packet, 188 bytes. Returns whether the stream clock has moved on to a new reading.
    bool packet(const std::uint8_t* bytes);

    // What the search for packets has met so far, before the next packet.
    void sync(const SyncErrors& errors) {
        watch_.sync(errors);
    }

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
    // What is wrong with the stream, in sum since the first packet.
    const StreamErrors& errors() const {
        return watch_.errors();
    }
    std::uint64_t packets() const {
        return packets_;
    }

  private:
    // What is followed of a PID.
    struct PidSlot {
        std::int32_t position = -1; // in model_.pids
        Continuity continuity;
        ScramblingVotes votes;
        bool inScrambledPes = false; // the packets belong to a PES packet that is scrambled itself
        std::unique_ptr<SectionAssembler> sections;
        std::unique_ptr<HeaderProbe> probe;
        const ElementaryStream* wanted = nullptr; // to be probed; none but while probes are assigned
    };

    bool unreadablePacket(const std::uint8_t* bytes, std::uint64_t number);
    PidState& stateOf(std::uint16_t pid, PidSlot& slot);
    bool follows(std::uint16_t pid, PidSlot& slot, const std::uint8_t* bytes);
    static void lose(PidSlot& slot);
    void payload(std::uint16_t pid, PidSlot& slot, std::span<const std::uint8_t> bytes, bool unitStart);
    void section(std::uint16_t pid, SectionBytes bytes);
    void beginStream();
    void assignSections();
    void assignProbes();
    void setProbe(std::uint16_t pid, const ElementaryStream* stream);
    void readClock(std::uint64_t packetNumber);
    void judgeScrambling();

    Ticks ratePeriod_;
    std::uint32_t streamNumber_ = 1;
    StreamModel model_;
    StreamTables tables_;
    StreamClock clock_;
    RateMeter rates_;
    ErrorWatch watch_;
    std::uint64_t packets_ = 0;
    SettlingPatience patience_;
    ScramblingPeriod scramblingPeriod_;
    std::vector<PidSlot> slots_;        // one a PID
    std::vector<std::uint16_t> seen_;   // the PIDs of this stream
    std::vector<std::uint16_t> read_;   // the PIDs whose sections are
    std::vector<std::uint16_t> probed_; // the PIDs whose headers are read
};

} // namespace board
