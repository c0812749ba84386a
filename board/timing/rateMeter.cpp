#include "timing/rateMeter.h"

namespace board {

bool RateMeter::reading(Ticks now, std::uint64_t packetNumber) {
    last_ = {now, packetNumber, counts_};
    if (now == past_.front().time) {
        past_.front() = last_;
        return false;
    }
    constexpr int stepsPerPeriod = 10;
    const Ticks step = now - past_.back().time;
    if (period_ == Ticks::zero() || step < period_ / stepsPerPeriod) {
        return false;
    }
    // Until the next step the window gets older by about the length of the last one.
    const Ticks longest = period_ - step;
    while (past_.size() > 1 && now - past_.front().time > longest) {
        past_.pop_front();
    }
    if (measured() || now - past_.front().time + step > longest) {
        measure();
    }
    past_.push_back(last_);
    return measured();
}

void RateMeter::finish(Ticks now, std::uint64_t packetNumber) {
    if (last_.time == past_.front().time) {
        last_ = {now, packetNumber, counts_};
    }
    if (!measured() && last_.time > past_.front().time) {
        measure();
    }
}

void RateMeter::measure() {
    constexpr double bitsPerPacket = 188 * 8;
    const Reading& first = past_.front();
    window_ = {first.packet, last_.packet, last_.time - first.time};
    const double seconds = std::chrono::duration<double>(window_.elapsed).count();
    rates_.resize(last_.counts.size());
    for (std::size_t k = 0; k < rates_.size(); ++k) {
        const std::uint64_t before = k < first.counts.size() ? first.counts[k] : 0;
        rates_[k] =
            static_cast<float>(static_cast<double>(last_.counts[k] - before) * bitsPerPacket / seconds);
    }
}

} // namespace board
