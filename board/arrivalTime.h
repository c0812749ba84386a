// Real time as it goes by beside a stream: how far a stream that shows no time is behind it.
#pragma once

#include "tunables.h"

namespace board {

// A source that cannot wait, a network, is live: what it does not time is timed by its arrival.
enum class SourceKind { stored, live };

class ArrivalTime {
  public:
    // pause is how long the stream's own clock may be silent.
    ArrivalTime(SourceKind source, Ticks pause);

    // So much real time has passed since the last call, and the stream's time, in ticks, is this. Returns how
    // many ticks the stream's time has to go on because its own clock is silent; 0 when it is not.
    double owed(Ticks elapsed, double streamTime);

    // The stream's own clock has run on.
    void streamRan() {
        silence_ = 0;
    }

  private:
    double pause_;
    double longestLead_;
    double silence_ = 0; // real time since the stream's clock ran on
    double lead_ = 0;    // of the stream's time over real time: what a burst has brought too early
    double lastSeen_ = 0;
};

} // namespace board
