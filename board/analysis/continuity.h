// Follows the continuity_counter of one PID (ISO/IEC 13818-1, 2.4.3.3).
#pragma once

#include <cstdint>
#include <optional>

namespace board {

class Continuity {
  public:
    enum class Step {
        next,     // the packet brings what follows, or is the first
        repeated, // it has been there before
        afterGap  // it brings something, but packets before it are missing
    };

    // Takes a packet of 188 bytes that has a payload.
    Step packet(const std::uint8_t* bytes);

    // Any packet may be next: the seam of a looped file.
    void forget() {
        last_.reset();
    }

  private:
    std::optional<std::uint8_t> last_;
};

} // namespace board
