// Real time as it goes by beside a stream: how far a stream that shows no time is behind it.
#pragma once

#include "tunables.h"

namespace board {

class ArrivalTime {
  public:
    // pause is how long the stream's own clock may be silent.
    explicit ArrivalTime(Ticks pause) : pause_(pause) {}

    // So much real time has passed since the last call, and the stream's time is this. Returns how far the
    // stream's time has to go on because its own clock is silent; 0 when it is not.
    FineTicks owed(Ticks elapsed, FineTicks streamTime);

    // The stream's own clock has run on.
    void streamRan();

  private:
    FineTicks pause_;
    bool ran_ = false;                     // the stream's clock, since the last call
    FineTicks silence_{0};                 // real time since then
    FineTicks gap_ = tunables::longestGap; // the longest silence of late
    FineTicks lead_{0}; // of the stream's time over real time: what a burst has brought too early
    FineTicks lastSeen_{0};
};

} // namespace board
