// Whether enough is known of a stream to publish it.
#pragma once

#include "stream/streamModel.h"
#include "tunables.h"

#include <cstdint>

namespace board {

// Whether programs, their maps, services, video formats and rates are known. namesAreWhole: the tables that
// name programs are.
bool everythingKnown(const StreamModel& model, bool namesAreWhole, bool ratesMeasured);

// How long that is waited for.
class SettlingPatience {
  public:
    // A stream begins, at this stream time.
    void begin(Ticks now) {
        start_ = now;
        packets_ = 0;
    }

    // One of its packets has come.
    void packet() {
        ++packets_;
    }

    // Whether it has been waited for long enough.
    bool over(Ticks now) const {
        return now - start_ >= tunables::settlePatience || packets_ >= tunables::settlePackets;
    }

  private:
    Ticks start_{0};
    std::uint64_t packets_ = 0;
};

} // namespace board
