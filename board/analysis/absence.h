// Something that has to come again and again, and the time for which it has not.
#pragma once

#include "tunables.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace board {

class Absence {
  public:
    explicit Absence(Ticks limit, Ticks now) : limit_(limit), since_(now) {}

    // How often the limit has passed up to now without having been told before.
    std::uint64_t told(Ticks now) {
        return tell(now - since_);
    }

    // The same; it has come now.
    std::uint64_t ended(Ticks now) {
        return ended(now, now - since_);
    }

    // The same where it is known better for how long it has not come.
    std::uint64_t ended(Ticks now, Ticks absence) {
        const std::uint64_t passed = tell(absence);
        begin(now);
        return passed;
    }

    // Nothing is wrong with what has been: a seam, or a stream that begins.
    void begin(Ticks now) {
        since_ = now;
        told_ = 0;
    }

    // The clock has stood still at the one time up to the other: what has come in between may have come at
    // its end.
    void clockStood(Ticks from, Ticks to) {
        if (since_ >= from) {
            since_ = to;
        }
    }

  private:
    // An absence of the limit itself is none yet.
    std::uint64_t tell(Ticks absence) {
        const auto passed = static_cast<std::uint64_t>(
            std::max<std::int64_t>((absence - Ticks(1)) / limit_, static_cast<std::int64_t>(told_)));
        return passed - std::exchange(told_, passed);
    }

    Ticks limit_;
    Ticks since_;
    std::uint64_t told_ = 0;
};

} // namespace board
