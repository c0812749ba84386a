// Real time as it goes by beside a stream: how far a stream that shows no time is behind it.
#pragma once

#include "tunables.h"

#include <algorithm>
#include <utility>

namespace board {

class ArrivalTime {
  public:
    // pause is how long the stream's own clock may be silent.
    explicit ArrivalTime(Ticks pause) : pause_(pause) {}

    // So much real time has passed since the last call, and the stream's time is this. Returns how far the
    // stream's time has to go on because its own clock is silent; 0 when it is not.
    //
    // Time that runs ahead in a burst is no silence in the gap behind it. No burst brings more than the gap
    // before it has held back; what is ahead by more comes from a sender whose clock is fast. A sender that
    // is slow owes no more than its silence.
    FineTicks owed(Ticks elapsed, FineTicks streamTime) {
        constexpr FineTicks none{0};
        constexpr double fadingGap = 0.5; // of the time that passes; then a gap is forgotten
        silence_ += std::exchange(ran_, false) ? Ticks::zero() : elapsed;
        gap_ = std::max(gap_ - elapsed * fadingGap, none);
        lead_ = std::clamp(lead_ + streamTime - lastSeen_ - elapsed, -silence_, gap_);
        lastSeen_ = streamTime;
        if (lead_ >= none || silence_ < pause_) {
            return none;
        }
        lastSeen_ -= lead_;
        return -std::exchange(lead_, none);
    }

    // The stream's own clock has run on.
    void streamRan() {
        gap_ = std::clamp<FineTicks>(silence_, gap_, tunables::longestGap);
        silence_ = FineTicks::zero();
        ran_ = true;
    }

  private:
    FineTicks pause_;
    bool ran_ = false;                     // the stream's clock, since the last call
    FineTicks silence_{0};                 // real time since then
    FineTicks gap_ = tunables::longestGap; // the longest silence of late
    FineTicks lead_{0};                    // of the stream over real time: what bursts have brought too early
    FineTicks lastSeen_{0};
};

} // namespace board
