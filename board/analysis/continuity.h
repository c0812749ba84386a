// Follows the continuity_counter of one PID (ISO/IEC 13818-1, 2.4.3.3).
#pragma once

#include <cstdint>
#include <optional>

namespace board {

class Continuity {
  public:
    enum class Step {
        next,          // the packet brings what follows, or is the first
        repeated,      // it has been there before
        repeatedAgain, // and before that, which is once too often
        afterGap       // it brings something, but packets before it are missing
    };

    // Takes a packet of 188 bytes. One without a payload does not move the counter. A repetition has the same
    // counter and the same end, and announces a discontinuity only if the packet before does; with another
    // end it is a packet behind sixteen that are missing.
    Step packet(const std::uint8_t* bytes);

    // Any packet may be next: the seam of a looped file.
    void forget() {
        last_.reset();
    }

  private:
    std::optional<std::uint8_t> last_;
    bool announced_ = false; // the last packet with a payload
    bool repeated_ = false;  // the same
    std::uint64_t mark_ = 0; // of its end
};

} // namespace board
