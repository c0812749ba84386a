// The wall clock of a picture, whose times never go back.
#pragma once

#include "picture/rateHistory.h"

#include "exchange/exchange.h"

#include <chrono>

namespace manager {

// What the machine's clock said at a time, and what has passed since. A clock that is set forward later is
// followed, one that is set back is not.
class WallClock {
  public:
    WallClock(std::chrono::system_clock::time_point wall, Time now) : wallBegin(wall), begin(now) {}

    PictureTime at(Time time) const {
        return std::chrono::floor<std::chrono::milliseconds>(wallBegin.time_since_epoch() + (time - begin));
    }

    // Follows the machine's clock, which says this now. How far it has been set forward, 0 for not.
    std::chrono::milliseconds follow(std::chrono::system_clock::time_point wall, Time now) {
        constexpr std::chrono::seconds least{1}; // less is how two clocks drift apart
        const auto forward = std::chrono::floor<std::chrono::milliseconds>(wall - wallBegin) -
                             std::chrono::floor<std::chrono::milliseconds>(now - begin);
        if (forward < least) {
            return std::chrono::milliseconds(0);
        }
        wallBegin += forward;
        return forward;
    }

  private:
    std::chrono::system_clock::time_point wallBegin;
    Time begin;
};

} // namespace manager
