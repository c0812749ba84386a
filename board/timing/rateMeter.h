// Measures the rate of every PID over a window that slides through stream time: what was counted in it,
// divided by the time that it really spans. It moves in steps of a tenth of the period and never holds a
// packet that would be older than the period at the next step, so a PID that falls silent is at 0 within a
// period.
#pragma once

#include "tunables.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace board {

// The stretch of stream that the current rates were measured over. Packets are counted from the start of the
// stream, unreadable ones included.
struct RateWindow {
    std::uint64_t firstPacket = 0;
    std::uint64_t endPacket = 0; // one past the last
    Ticks elapsed{0};
};

class RateMeter {
  public:
    // Period in stream time; 0 measures the whole stream at once. The stream begins at this time, with the
    // packet of this number.
    explicit RateMeter(Ticks period, Ticks start = Ticks::zero(), std::uint64_t firstPacket = 0)
        : period_(period), past_{{start, firstPacket, {}}}, last_(past_.front()) {}

    // Counts one packet of the PID at this position of the PID list.
    void count(std::size_t position) {
        if (position >= counts_.size()) {
            counts_.resize(position + 1);
        }
        ++counts_[position];
    }

    // The clock reads now, at the packet that is counted next and has this number. Packets before time has
    // begun to run are left out. Returns whether the window has moved, so that the rates are new.
    bool reading(Ticks now, std::uint64_t packetNumber);

    // Takes what there is up to the last reading when no window has been full before. Where time has not run
    // up to there, that is everything up to now, at which the clock is set at the end, and the packet of this
    // number.
    void finish(Ticks now, std::uint64_t packetNumber);

    // Rate in bit/s of the PID at this position; 0 before the first window is full.
    float rate(std::size_t position) const {
        return position < rates_.size() ? rates_[position] : 0.0F;
    }
    bool measured() const {
        return window_.elapsed > Ticks::zero();
    }
    const RateWindow& window() const {
        return window_;
    }

  private:
    struct Reading {
        Ticks time;
        std::uint64_t packet;
        std::vector<std::uint64_t> counts; // so far, by position in the PID list
    };

    void measure();

    Ticks period_;
    std::vector<std::uint64_t> counts_;
    std::deque<Reading> past_; // a step apart, the first where the window begins
    Reading last_;
    std::vector<float> rates_;
    RateWindow window_;
};

} // namespace board
