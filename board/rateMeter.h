// Measures the rate of every PID over periods of stream time: what was counted in a period, divided by the
// time that the period really took. A PID that falls silent counts 0 in the next period.
#pragma once

#include "tunables.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace board {

// The stretch of stream that the current rates were measured over. Packets are counted from the start of the
// stream, unreadable ones included.
struct RateWindow {
    std::uint64_t firstPacket = 0;
    std::uint64_t endPacket = 0; // one past the last
    Ticks elapsed = 0;
};

class RateMeter {
  public:
    // Period in stream time; 0 measures the whole stream as one period.
    explicit RateMeter(Ticks period) : period_(period) {}

    // Counts one packet of the PID at this position of the PID list.
    void count(std::size_t position) {
        if (position >= sinceReading_.size()) {
            sinceReading_.resize(position + 1);
        }
        ++sinceReading_[position];
    }

    // The clock reads now, at the packet that is counted next and has this number. Returns whether a period
    // has ended, so that the rates are new.
    bool reading(Ticks now, std::uint64_t packetNumber);

    // Ends the running period at the last reading, when no period has ended before.
    void finish();

    // Rate in bit/s of the PID at this position; 0 before the first period has ended.
    float rate(std::size_t position) const {
        return position < rates_.size() ? rates_[position] : 0.0F;
    }
    bool measured() const {
        return measured_;
    }
    const RateWindow& window() const {
        return window_;
    }

  private:
    void endPeriod();

    Ticks period_;
    bool started_ = false;
    bool measured_ = false;
    Ticks start_ = 0;
    std::uint64_t startPacket_ = 0;
    Ticks lastReading_ = 0;
    std::uint64_t lastPacket_ = 0;
    std::vector<std::uint32_t> sinceReading_; // packets since the last reading
    std::vector<std::uint64_t> inPeriod_;     // packets from the start of the period to the last reading
    std::vector<float> rates_;
    RateWindow window_;
};

} // namespace board
