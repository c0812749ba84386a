// Judges which PIDs are scrambled: those most of whose recent packets are, so that a few wrong headers do not
// make one flicker.
#pragma once

#include "tunables.h"

#include <cstdint>
#include <optional>

namespace board {

// What the packets of one PID say, those with a payload, since it was judged last.
class ScramblingVotes {
  public:
    // Counts a packet, of which transport_scrambling_control says whether it is scrambled.
    void count(bool scrambled) {
        ++(scrambled ? scrambled_ : clear_);
    }

    // Whether most of them were scrambled; nothing where there were none. Begins anew.
    std::optional<bool> judge();

  private:
    std::uint32_t clear_ = 0;
    std::uint32_t scrambled_ = 0;
};

// When all PIDs are judged: once a period, and for the first time as soon as there are rates.
class ScramblingPeriod {
  public:
    // ratePeriod in stream time; 0 measures rates over the whole stream, which is judged once a second.
    explicit ScramblingPeriod(Ticks ratePeriod) : ratePeriod_(ratePeriod) {}

    // Whether they are judged now, at this stream time; then a new period begins.
    bool over(Ticks now, bool ratesMeasured);

    // Another stream begins.
    void restart() {
        start_.reset();
    }

  private:
    Ticks ratePeriod_;
    std::optional<Ticks> start_;
};

} // namespace board
