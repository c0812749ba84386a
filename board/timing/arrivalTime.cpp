#include "timing/arrivalTime.h"

#include <algorithm>
#include <utility>

namespace board {

namespace {

constexpr double fadingGap = 0.5; // of the time that passes; then a gap is forgotten

} // namespace

// Time that runs ahead in a burst is no silence in the gap behind it. No burst brings more than the gap
// before it has held back; what is ahead by more comes from a sender whose clock is fast. A sender that is
// slow owes no more than its silence.
FineTicks ArrivalTime::owed(Ticks elapsed, FineTicks streamTime) {
    constexpr FineTicks none{0};
    const FineTicks real = elapsed;
    silence_ += std::exchange(ran_, false) ? none : real;
    gap_ = std::max(gap_ - real * fadingGap, none);
    lead_ = std::clamp(lead_ + streamTime - lastSeen_ - real, -silence_, gap_);
    lastSeen_ = streamTime;
    if (lead_ >= none || silence_ < pause_) {
        return none;
    }
    const FineTicks owed = -lead_;
    lead_ = none;
    lastSeen_ += owed;
    return owed;
}

void ArrivalTime::streamRan() {
    gap_ = std::clamp<FineTicks>(silence_, gap_, tunables::longestGap);
    silence_ = FineTicks::zero();
    ran_ = true;
}

} // namespace board
