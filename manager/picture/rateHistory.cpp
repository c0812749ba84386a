#include "picture/rateHistory.h"

#include <algorithm>
#include <cmath>

namespace manager {
namespace {

// What the choice makes of the samples that are numbers; 0 when there are none.
template <typename Choose>
double chosen(const RateHistory& history, Choose choose) {
    double result = 0;
    bool found = false;
    for (std::size_t i = 0; i < history.size(); ++i) {
        const double rate = history[i].bitPerSecond;
        if (std::isfinite(rate)) {
            result = found ? choose(result, rate) : rate;
            found = true;
        }
    }
    return result;
}

} // namespace

void RateHistory::add(PictureTime time, double bitPerSecond) {
    ring.resize(capacity);
    const bool replaces = used > 0 && time - (*this)[used - 1].time < closest;
    const PictureTime kept = replaces ? (*this)[used - 1].time : time;
    used -= replaces ? 1 : 0;
    dropOlderThan(time - span);
    if (used == capacity) {
        first = (first + 1) % capacity;
        --used;
    }
    ring[(first + used) % capacity] = {kept, static_cast<float>(bitPerSecond)};
    ++used;
}

double RateHistory::least() const {
    return chosen(*this, [](double one, double other) { return std::min(one, other); });
}

double RateHistory::most() const {
    return chosen(*this, [](double one, double other) { return std::max(one, other); });
}

void RateHistory::dropOlderThan(PictureTime time) {
    while (used > 0 && (*this)[0].time < time) {
        first = (first + 1) % capacity;
        --used;
    }
}

} // namespace manager
