// The time of the stream itself: read from the PCR (ISO/IEC 13818-1, 2.4.3.5), from the time stamps of PES
// packets where a stream has no PCR, and from an assumed bit rate where it has neither. It runs from 0,
// never backwards, and through discontinuities and the seam of a looped file. Where a source that plays in
// real time shows no time, real time stands in for it.
#pragma once

#include "timing/arrivalTime.h"
#include "tunables.h"

#include <cstdint>
#include <map>
#include <optional>

namespace board {

// What keeps the time.
enum class TimeBase { none, pcr, timeStamps, assumedRate };

// A source that cannot wait, a network, is live: what it does not time is timed by its arrival.
enum class SourceKind { stored, live };

class StreamClock {
  public:
    // Rates are measured over ratePeriod; 0 is the whole stream.
    explicit StreamClock(SourceKind source = SourceKind::stored, Ticks ratePeriod = tunables::ratePeriod);

    // Counts one packet of pid. Returns whether the clock can be read exactly now: the packet carried the
    // reference, or the reference is silent and a tenth of a second has passed by estimation.
    bool packet(std::uint16_t pid, std::optional<Ticks> pcr, std::optional<Ticks> timeStamp);

    // The next reference is a new start, and time goes on from where it is: the seam of a looped file.
    void seam();

    // So much real time has passed since the last call, for a source that can be silent. Returns whether time
    // has moved because the reference is silent.
    bool realTime(Ticks elapsed);

    // The source has ended: a stream that has shown no time so far has taken the assumed one from its
    // beginning.
    void sourceEnded();

    // Ticks since the first reference; between references by estimation.
    Ticks now() const {
        return static_cast<Ticks>(now_);
    }
    TimeBase base() const {
        return base_;
    }

    // Whether the time stamps of PES packets may be of use.
    bool wantsTimeStamps() const {
        return base_ != TimeBase::pcr || !timed();
    }

  private:
    // The clock of a PID that is not the reference.
    struct Rival {
        double start; // time at its first reading
        Ticks value;
        std::uint64_t packet; // at its last reading
        Ticks lastStep = 0;
        Ticks ran = 0; // in all
        int steps = 0;
    };
    using Rivals = std::map<std::uint16_t, Rival>; // by PID

    // Whether it is known how long a packet takes.
    bool timed() const {
        return ticksPerPacket_ > 0;
    }
    bool pcrReading(std::uint16_t pid, Ticks value);
    bool stampReading(std::uint16_t pid, std::optional<Ticks> value);
    bool reference(std::uint16_t pid, Ticks value);
    bool takesOver(std::uint16_t pid, Ticks value);
    const Rival& readRival(Rivals& rivals, std::uint16_t pid, Ticks value) const;
    void follow(std::uint16_t pid);
    void anchor(double time, Ticks value);
    double step(Ticks ticks);
    bool isStep(Ticks ticks, std::uint64_t packets, Ticks lastStep) const;
    bool stoodStill(Ticks ticks) const;
    Ticks longestSilence() const;
    bool referenceGone() const;
    double byPackets() const;
    double estimate() const;
    void lookElsewhere(bool hasTimeStamp);
    void chooseBase();

    SourceKind source_;
    ArrivalTime arrival_;
    TimeBase base_ = TimeBase::none;
    std::uint64_t packets_ = 0;
    std::optional<std::uint16_t> referencePid_;
    std::optional<Ticks> anchorValue_; // of the reference, modulo its width
    double anchorTime_ = 0;
    std::uint64_t packetsSinceAnchor_ = 0;
    int repetitions_ = 0;    // of the anchor's value
    double borrowed_ = 0;    // of real time, since the anchor
    Ticks lastStep_ = 0;     // between two readings of the reference
    Ticks refusedStep_ = 0;  // as a leap, just before; a second one like it is the way it runs
    Rivals rivals_;          // since the reference last ran on
    Rivals returningPcrs_;   // while something else keeps the time
    double recentTicks_ = 0; // of the last steps, a second or two
    double recentPackets_ = 0;
    double ticksPerPacket_ = 0;
    double now_ = 0;
    double lastEstimate_ = 0;
};

} // namespace board
