#include "timing/rateMeter.h"

namespace board {

bool RateMeter::reading(Ticks now, std::uint64_t packetNumber) {
    last_.time = now;
    last_.packet = packetNumber;
    last_.counts = counts_; // where those before stood
    if (now == steps_.front().time) {
        steps_.front() = last_;
        return false;
    }
    constexpr int stepsPerPeriod = 10;
    const Ticks step = now - steps_.back().time;
    if (period_ == Ticks::zero() || step < period_ / stepsPerPeriod) {
        return false;
    }
    // Until the next step the window gets older by about the length of the last one.
    const Ticks longest = period_ - step;
    while (steps_.size() > 1 && now - steps_.front().time > longest) {
        steps_.pop_front();
    }
    if (measured() || now - steps_.front().time + step > longest) {
        begin_ = steps_.front();
        end_ = last_;
    }
    steps_.push_back(last_);
    return measured();
}

void RateMeter::finish(Ticks now, std::uint64_t packetNumber) {
    if (last_.time == steps_.front().time) {
        last_ = {now, packetNumber, counts_};
    }
    if (!measured() && last_.time > steps_.front().time) {
        begin_ = steps_.front();
        end_ = last_;
    }
}

float RateMeter::rate(std::size_t position) const {
    constexpr double bitsPerPacket = 188 * 8;
    const auto packets = static_cast<double>(end_.count(position) - begin_.count(position));
    const std::chrono::duration<double> elapsed = end_.time - begin_.time;
    return measured() ? static_cast<float>(packets * bitsPerPacket / elapsed.count()) : 0.0F;
}

} // namespace board
