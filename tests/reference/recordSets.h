// Random record sets, as a sane parser would publish them and as only a broken one could.
#pragma once

#include "feed/recordStore.h"

#include <cstddef>
#include <cstdint>
#include <random>

namespace reference {

// The same numbers with every compiler and library.
class Random {
  public:
    explicit Random(std::uint64_t seed) : engine(seed) {}

    std::uint64_t bits() {
        return engine();
    }
    // 0 to count - 1.
    unsigned below(unsigned count) {
        return static_cast<unsigned>(engine() % count);
    }
    bool oneIn(unsigned count) {
        return below(count) == 0;
    }

  private:
    std::mt19937_64 engine;
};

// Bytes that tell the same story in all nine records: PIDs once, counts within their arrays, texts
// terminated, programs in one order. Reserved bytes and uncounted entries hold anything.
void fillConsistently(wire::RecordSet& set, Random& random);

// Bytes that need not: anything at all, a consistent set with fields spoilt, PIDs from a handful so that
// everything collides, or counts, texts and rates at their extremes.
void fillInconsistently(wire::RecordSet& set, Random& random);

} // namespace reference
