#include "arrivalTime.h"

#include <algorithm>

namespace board {

// A stored source is paced, so it brings nothing too early.
ArrivalTime::ArrivalTime(SourceKind source, Ticks pause)
    : pause_(static_cast<double>(pause)),
      longestLead_(source == SourceKind::live ? static_cast<double>(tunables::longestLead) : 0) {}

// Time that runs ahead in a burst is no silence in the pause behind it; but two clocks never agree for long,
// so the lead fades. A sender that is too slow owes no more than its silence.
double ArrivalTime::owed(Ticks elapsed, double streamTime) {
    const auto real = static_cast<double>(elapsed);
    silence_ += real;
    lead_ = std::min(lead_ + streamTime - lastSeen_, longestLead_);
    lead_ = std::max(lead_ - real, -silence_);
    if (lead_ > 0) {
        lead_ = std::max(lead_ - real * tunables::fadingLead, 0.0);
    }
    lastSeen_ = streamTime;
    if (lead_ >= 0 || silence_ < pause_) {
        return 0;
    }
    const double owed = -lead_;
    lead_ = 0;
    lastSeen_ += owed;
    return owed;
}

} // namespace board
