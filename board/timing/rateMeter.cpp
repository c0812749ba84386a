#include "timing/rateMeter.h"

#include <algorithm>

namespace board {

namespace {

constexpr double bitsPerPacket = 188 * 8;
constexpr Ticks stepsPerPeriod = 10;

} // namespace

bool RateMeter::reading(Ticks now, std::uint64_t packetNumber) {
    if (steps_.empty()) { // packets before the first reading lie in no known time
        sinceReading_.assign(sinceReading_.size(), 0);
        begin(now, packetNumber);
        return false;
    }
    takeUpTo(now, packetNumber);
    if (period_ == 0 || now - steps_.back().start < period_ / stepsPerPeriod) {
        return false;
    }
    dropOldSteps();
    if (measured_ || !hasRoomForAnotherStep()) {
        measure();
    }
    begin(now, packetNumber);
    return measured_;
}

void RateMeter::finish(Ticks now, std::uint64_t packetNumber) {
    if (measured_) {
        return;
    }
    if (steps_.empty()) {
        begin(0, 0);
    }
    if (lastReading_ == steps_.front().start) {
        takeUpTo(now, packetNumber);
    }
    if (lastReading_ > steps_.front().start) {
        measure();
    }
}

// Adds what has been counted since the last reading to the current step.
void RateMeter::takeUpTo(Ticks now, std::uint64_t packetNumber) {
    std::vector<std::uint64_t>& packets = steps_.back().packets;
    packets.resize(sinceReading_.size());
    for (std::size_t k = 0; k < packets.size(); ++k) {
        packets[k] += sinceReading_[k];
    }
    sinceReading_.assign(sinceReading_.size(), 0);
    lastReading_ = now;
    lastPacket_ = packetNumber;
}

void RateMeter::begin(Ticks now, std::uint64_t packetNumber) {
    lastReading_ = now;
    lastPacket_ = packetNumber;
    steps_.push_back({now, packetNumber, {}});
}

// Between now and the next step the window gets older by about the length of the last one.
Ticks RateMeter::longestWindow() const {
    return period_ - (lastReading_ - steps_.back().start);
}

void RateMeter::dropOldSteps() {
    while (steps_.size() > 1 && lastReading_ - steps_.front().start > longestWindow()) {
        steps_.pop_front();
    }
}

bool RateMeter::hasRoomForAnotherStep() const {
    const Ticks step = lastReading_ - steps_.back().start;
    return lastReading_ - steps_.front().start + step <= longestWindow();
}

void RateMeter::measure() {
    const Ticks start = steps_.front().start;
    const double seconds = static_cast<double>(lastReading_ - start) / static_cast<double>(ticksPerSecond);
    std::vector<std::uint64_t> packets;
    for (const Step& step : steps_) { // the newest knows most PIDs, except when it has only just begun
        packets.resize(std::max(packets.size(), step.packets.size()));
        for (std::size_t k = 0; k < step.packets.size(); ++k) {
            packets[k] += step.packets[k];
        }
    }
    rates_.resize(packets.size());
    for (std::size_t k = 0; k < packets.size(); ++k) {
        rates_[k] = static_cast<float>(static_cast<double>(packets[k]) * bitsPerPacket / seconds);
    }
    window_ = {steps_.front().firstPacket, lastPacket_, lastReading_ - start};
    measured_ = true;
}

} // namespace board
