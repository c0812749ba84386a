// Real time as it goes by beside a stream: how far a stream that shows no time is behind it.
#pragma once

#include "tunables.h"

namespace board {

class ArrivalTime {
  public:
    // pause is how long the stream's own clock may be silent.
    explicit ArrivalTime(Ticks pause) : pause_(static_cast<double>(pause)) {}

    // So much real time has passed since the last call, and the stream's time, in ticks, is this. Returns how
    // many ticks the stream's time has to go on because its own clock is silent; 0 when it is not.
    double owed(Ticks elapsed, double streamTime);

    // The stream's own clock has run on.
    void streamRan();

  private:
    double pause_;
    bool ran_ = false;                                       // the stream's clock, since the last call
    double silence_ = 0;                                     // real time since then
    double gap_ = static_cast<double>(tunables::longestGap); // the longest silence of late
    double lead_ = 0; // of the stream's time over real time: what a burst has brought too early
    double lastSeen_ = 0;
};

} // namespace board
