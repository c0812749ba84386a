#include "analysis/continuity.h"

#include <bitstream/mpeg/ts.h>

#include <bit>
#include <cstring>
#include <utility>

namespace board {

namespace {

// The last sixteen bytes in one number: they belong to the payload, and a PCR, in which repeated packets may
// differ, stands before them.
std::uint64_t markOf(const std::uint8_t* packet) {
    constexpr std::uint64_t odd = 0x9E3779B97F4A7C15U;
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::memcpy(&first, packet + TS_SIZE - sizeof first - sizeof last, sizeof first);
    std::memcpy(&last, packet + TS_SIZE - sizeof last, sizeof last);
    return first * odd ^ std::rotl(last, 1);
}

} // namespace

Continuity::Step Continuity::packet(const std::uint8_t* bytes) {
    const bool hasPayload = ts_has_payload(bytes);
    if (!hasPayload && !ts_has_adaptation(bytes)) {
        return Step::next; // reserved, and to be ignored
    }
    const std::uint8_t counter = ts_get_cc(bytes);
    const bool announced = // by discontinuity_indicator
        ts_has_adaptation(bytes) && ts_get_adaptation(bytes) > 0 && tsaf_has_discontinuity(bytes);
    const auto before = std::exchange(last_, counter);
    if (!hasPayload) {
        return !before || announced || counter == *before ? Step::next : Step::afterGap;
    }
    const std::uint64_t mark = markOf(bytes);
    const bool same = std::exchange(mark_, mark) == mark;
    const bool announcedBefore = std::exchange(announced_, announced);
    const bool repeatedBefore = std::exchange(repeated_, false);
    if (before && ts_check_duplicate(counter, *before) && same && (announcedBefore || !announced)) {
        repeated_ = true;
        return repeatedBefore ? Step::repeatedAgain : Step::repeated;
    }
    if (!before || announced) {
        return Step::next;
    }
    return ts_check_discontinuity(counter, *before) ? Step::afterGap : Step::next;
}

} // namespace board
