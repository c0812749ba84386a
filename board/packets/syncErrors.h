// Sync bytes that are missing, and sync that is lost (ETSI TR 101 290, 5.2.1, 1.1 and 1.2).
#pragma once

#include "tunables.h"

#include <cstdint>

namespace board {

class SyncErrors {
  public:
    // A packet begins where it should.
    void present() {
        if (disturbed_) {
            wrong_ = 0;
            lost_ = lost_ && ++right_ < tunables::regainedSyncBytes;
            disturbed_ = lost_;
        }
    }

    // No sync byte stands where one should.
    void missing() {
        disturbed_ = true;
        ++bytes_;
        right_ = 0;
        if (++wrong_ == tunables::lostSyncBytes && !lost_) {
            lost_ = true;
            ++losses_;
        }
    }

    // Whether sync has been lost and not been found again for long enough.
    bool lost() const {
        return lost_;
    }
    std::uint64_t bytes() const {
        return bytes_;
    }
    std::uint64_t losses() const {
        return losses_;
    }

  private:
    std::uint64_t bytes_ = 0;
    std::uint64_t losses_ = 0;
    std::uint32_t wrong_ = 0; // in a row
    std::uint32_t right_ = 0; // in a row, since sync was lost
    bool lost_ = false;
    bool disturbed_ = false; // lost, or a sync byte was missing just now
};

} // namespace board
