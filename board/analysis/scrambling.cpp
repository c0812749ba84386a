#include "analysis/scrambling.h"

#include <utility>

namespace board {

std::optional<bool> ScramblingVotes::judge() {
    const ScramblingVotes votes = std::exchange(*this, {});
    if (votes.clear_ + votes.scrambled_ == 0) {
        return std::nullopt;
    }
    return votes.scrambled_ > votes.clear_;
}

bool ScramblingPeriod::over(Ticks now, bool ratesMeasured) {
    const bool wholeStream = ratePeriod_ == Ticks::zero();
    const bool due = start_ ? now - *start_ >= (wholeStream ? tunables::ratePeriod : ratePeriod_)
                            : ratesMeasured || wholeStream;
    if (due) {
        start_ = now;
    }
    return due;
}

} // namespace board
