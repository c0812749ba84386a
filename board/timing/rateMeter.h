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
    std::uint64_t firstPacket;
    std::uint64_t endPacket; // one past the last
    Ticks elapsed;
};

class RateMeter {
  public:
    // Period in stream time; 0 measures the whole stream at once. The stream begins at this time, with the
    // packet of this number.
    explicit RateMeter(Ticks period, Ticks start = Ticks::zero(), std::uint64_t firstPacket = 0)
        : period_(period), steps_{{start, firstPacket, {}}}, last_(steps_.front()) {}

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
    float rate(std::size_t position) const;

    bool measured() const {
        return end_.time > begin_.time;
    }
    RateWindow window() const {
        return {begin_.packet, end_.packet, end_.time - begin_.time};
    }

  private:
    struct Reading {
        Ticks time{0};
        std::uint64_t packet = 0;
        std::vector<std::uint64_t> counts; // so far, by position in the PID list

        std::uint64_t count(std::size_t position) const {
            return position < counts.size() ? counts[position] : 0;
        }
    };

    Ticks period_;
    std::vector<std::uint64_t> counts_;
    std::deque<Reading> steps_; // the first where the next window may begin
    Reading last_;
    Reading begin_; // of the window
    Reading end_;
};

} // namespace board
