// The time of the stream itself, from 0 on, never backwards.
//
// Every PID that carries a PCR (ISO/IEC 13818-1, 2.4.3.5) has a line: its last value, and the time at which
// it was read. A plausible step from there moves time on; anything else starts the line anew at the time that
// it is. One line leads until it is late, and between its readings time goes on by packets. The time stamps
// of PES packets have such lines too, which count where no PCR does. Where a stream shows no time at all,
// packets take as long as at an assumed bit rate, or, when the source is live, as long as they take to
// arrive.
#pragma once

#include "timing/arrivalTime.h"
#include "tunables.h"

#include <cstdint>
#include <map>
#include <optional>

namespace board {

// A source that cannot wait, a network, is live: what it does not time is timed by its arrival.
enum class SourceKind { stored, live };

class StreamClock {
  public:
    // Rates are measured over ratePeriod; 0 is the whole stream.
    explicit StreamClock(SourceKind source = SourceKind::stored, Ticks ratePeriod = tunables::ratePeriod);

    // Counts one packet of pid, with the PCR and the decoding time in it, and whether it announces a
    // discontinuity. Returns whether the clock is to be read now: a line has started or moved time, or time
    // has gone on by a tenth of a second without.
    bool packet(std::uint16_t pid, std::optional<Ticks> pcr, std::optional<Ticks> timeStamp,
                bool announced = false);

    // So much real time has passed since the last call, for a source that can be silent. Returns whether time
    // has moved because the stream shows none.
    bool realTime(Ticks elapsed);

    // The source has ended, or starts over. A stream whose clock has not run, nor real time instead, takes
    // the time that its packets take, from its first reading or its beginning on. Returns whether time has
    // moved.
    bool passEnded();

    // Another stream begins, at the time that it is; the one before has taken some, whatever it has shown.
    void startOver();

    Ticks now() const {
        return std::chrono::duration_cast<Ticks>(now_);
    }

    // Whether nothing but packets tells the time.
    bool timedByPackets() const {
        return timed() && recentTime_ == FineTicks::zero();
    }

    // How much of the time between the last two readings its packets do not account for: others are missing,
    // or nothing has come. 0 where it is not known how long a packet takes.
    Ticks outage() const {
        return std::chrono::duration_cast<Ticks>(outage_);
    }

  private:
    struct Line {
        Ticks value; // at its last reading
        FineTicks time;
        std::uint64_t packet;
        Ticks lastStep{0}; // to its last reading; 0 when that was beyond every step
        Ticks ran{0};      // in steps that were plausible
        double ranPackets = 0;
    };
    using Lines = std::map<std::uint16_t, Line>; // by PID

    void take(FineTicks packetTime);
    bool read(Lines& lines, std::uint16_t pid, Ticks value, bool announced);
    bool isPlausible(const Line& line, Ticks step, std::uint64_t packets) const;
    bool moveTo(Line& line, Ticks step, std::uint64_t packets);
    bool leaderIsLate(const Line& line, Ticks step) const;
    void anchor(const Line& line, FineTicks time);
    void learnRate(Ticks step, std::uint64_t packets);
    bool timed() const;
    void timeByPackets();
    FineTicks packetTimeByStamps() const;
    void estimate();

    SourceKind source_;
    ArrivalTime arrival_;
    Lines pcrs_;
    Lines stamps_;
    FineTicks now_{0};
    FineTicks lastRead_{0};
    std::uint64_t lastReadPacket_ = 0;
    FineTicks outage_{0};
    std::uint64_t packets_ = 0;
    std::uint64_t firstPacket_ = 0; // of the stream
    std::uint64_t lastMove_ = 0;    // packet at which a line moved time
    std::uint64_t lastPcrMove_ = 0; // the same of a PCR's
    const Line* leader_ = nullptr;
    FineTicks anchorTime_{0}; // of the leader's last reading, or of a new start since: estimates begin here
    std::uint64_t anchorPacket_ = 0;
    Ticks expectedStep_{0};   // of the leader; 0 while none has led
    FineTicks recentTime_{0}; // of the last steps, a second or two
    double recentPackets_ = 0;
    FineTicks packetTime_{0}; // 0 while it is neither known nor assumed
};

} // namespace board
