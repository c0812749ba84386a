// How accurate the PCRs of one PID are (ETSI TR 101 290, 5.2.2, 2.4), told from where they stand: in a stream
// of constant bit rate they lie on a line over the packets. A line is laid through the PCRs of each second,
// and how far they lie beside it is their inaccuracy. Where such lines do not agree the bit rate is not
// constant, and nothing can be said.
#pragma once

#include "tunables.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace board {

class PcrAccuracy {
  public:
    // What a second has brought.
    struct Finding {
        bool measured = false;        // the bit rate has been constant for long enough
        bool varies = false;          // it is not constant
        std::uint64_t inaccurate = 0; // PCRs that are further off than they may be, of all that were not told
    };

    // Takes the next PCR, which is so much later than the one before, in the packet of this number.
    std::optional<Finding> pcr(Ticks step, std::uint64_t packet);

    // Packets are missing, or the clock begins anew: the next PCR begins a line. As it may be told late that
    // packets are missing, what the last second has brought counts for nothing either.
    void restart();

  private:
    struct Point {
        double packets; // since the first of the window
        double ticks;
        bool counts;
    };
    struct Line {
        double start = 0; // ticks
        double slope = 0; // ticks a packet
    };

    Finding judge();
    Line fit() const;
    Line fitWithoutOutliers();
    static double distance(const Point& point, const Line& line);
    double medianDistance(const Line& line) const;

    std::vector<Point> points_;
    std::uint64_t firstPacket_ = 0;
    double elapsed_ = 0;           // ticks, since the first of the window
    double slopeBefore_ = 0;       // of the window before; 0 where there is none
    std::size_t windows_ = 0;      // that agree, in a row
    std::uint64_t inaccurate_ = 0; // in windows that have not been told
    std::uint64_t newest_ = 0;     // in the last one, which is told behind the next
};

} // namespace board
