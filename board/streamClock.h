// The time of the stream itself: read from the PCR (ISO/IEC 13818-1, 2.4.3.5), from the time stamps of PES
// packets where a stream has no PCR, and from an assumed bit rate where it has neither. It runs from 0,
// never backwards, and through discontinuities and the seam of a looped file.
#pragma once

#include "tunables.h"

#include <cstdint>
#include <optional>

namespace board {

// What keeps the time.
enum class TimeBase { none, pcr, timeStamps, assumedRate };

class StreamClock {
  public:
    // Counts one packet of pid. Returns whether the clock can be read exactly now: the packet carried the
    // reference, or the reference is silent and a tenth of a second has passed by estimation.
    bool packet(std::uint16_t pid, std::optional<Ticks> pcr, std::optional<Ticks> timeStamp);

    // The next reference is a new start, and time goes on from where it is: the seam of a looped file.
    void seam();

    // Time has passed without a packet.
    void rest(Ticks elapsed);

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
    // Whether it is known how long a packet takes.
    bool timed() const {
        return ticksPerPacket_ > 0;
    }
    void lookElsewhere(bool hasTimeStamp);
    bool referenceSilent() const;
    bool isStep(Ticks step) const;
    bool reference(std::uint16_t pid, Ticks value, Ticks modulus);
    void chooseBase();

    TimeBase base_ = TimeBase::none;
    std::uint64_t packets_ = 0;
    std::optional<std::uint16_t> referencePid_;
    std::optional<Ticks> anchorValue_; // of the reference, modulo its width
    double anchorTime_ = 0;
    Ticks lastStep_ = 0; // between two readings of the reference
    std::uint64_t packetsSinceAnchor_ = 0;
    double ticksPerPacket_ = 0;
    double now_ = 0;
    double lastEstimate_ = 0;
};

} // namespace board
