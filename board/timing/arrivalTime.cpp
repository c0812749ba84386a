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
double ArrivalTime::owed(Ticks elapsed, double streamTime) {
    const auto real = static_cast<double>(elapsed);
    silence_ += std::exchange(ran_, false) ? 0 : real;
    gap_ = std::max(gap_ - real * fadingGap, 0.0);
    lead_ = std::clamp(lead_ + streamTime - lastSeen_ - real, -silence_, gap_);
    lastSeen_ = streamTime;
    if (lead_ >= 0 || silence_ < pause_) {
        return 0;
    }
    const double owed = -lead_;
    lead_ = 0;
    lastSeen_ += owed;
    return owed;
}

void ArrivalTime::streamRan() {
    gap_ = std::clamp(silence_, gap_, static_cast<double>(tunables::longestGap));
    silence_ = 0;
    ran_ = true;
}

} // namespace board
