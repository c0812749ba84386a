#include "analysis/continuity.h"

#include <bitstream/mpeg/ts.h>

#include <utility>

namespace board {

Continuity::Step Continuity::packet(const std::uint8_t* bytes) {
    const std::uint8_t counter = ts_get_cc(bytes);
    const bool announced = // by discontinuity_indicator
        ts_has_adaptation(bytes) && ts_get_adaptation(bytes) > 0 && tsaf_has_discontinuity(bytes);
    const auto before = std::exchange(last_, counter);
    if (!before || announced) {
        return Step::next;
    }
    if (ts_check_duplicate(counter, *before)) {
        return Step::repeated;
    }
    return ts_check_discontinuity(counter, *before) ? Step::afterGap : Step::next;
}

} // namespace board
