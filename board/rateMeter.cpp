#include "rateMeter.h"

namespace board {

namespace {

constexpr double bitsPerPacket = 188 * 8;

} // namespace

bool RateMeter::reading(Ticks now, std::uint64_t packetNumber) {
    inPeriod_.resize(sinceReading_.size());
    if (!started_) { // packets before the first reading lie in no known time
        started_ = true;
        start_ = now;
        startPacket_ = packetNumber;
    } else {
        for (std::size_t k = 0; k < sinceReading_.size(); ++k) {
            inPeriod_[k] += sinceReading_[k];
        }
    }
    sinceReading_.assign(sinceReading_.size(), 0);
    lastReading_ = now;
    lastPacket_ = packetNumber;
    if (period_ == 0 || now - start_ < period_) {
        return false;
    }
    endPeriod();
    return true;
}

void RateMeter::finish() {
    if (!measured_ && lastReading_ > start_) {
        endPeriod();
    }
}

void RateMeter::endPeriod() {
    const double seconds = static_cast<double>(lastReading_ - start_) / static_cast<double>(ticksPerSecond);
    rates_.resize(inPeriod_.size());
    for (std::size_t k = 0; k < inPeriod_.size(); ++k) {
        rates_[k] = static_cast<float>(static_cast<double>(inPeriod_[k]) * bitsPerPacket / seconds);
    }
    window_ = {startPacket_, lastPacket_, lastReading_ - start_};
    measured_ = true;
    inPeriod_.assign(inPeriod_.size(), 0);
    start_ = lastReading_;
    startPacket_ = lastPacket_;
}

} // namespace board
