// Lookups that the model and the documents share: a PID's place in the PID list and the rate measured there.
#pragma once

#include "feed/recordStore.h"

#include <cstdint>

namespace mpegfe {

inline constexpr int absentPid = -1; // place of a PID that is not in the list

// Entries of the PID list that are valid, 0 to 256.
int pidListLength();

// The PID at a place of the list, without the bits that do not belong to it.
std::uint16_t pidAt(int position);

// The first place at which the PID list holds this PID, or absentPid.
int pidPosition(std::uint16_t pid);

// Measured rate of the PID at this place, in bit/s. There are statistics for 128 places, and the rate is 0
// beyond them. absentPid reads the bytes before the statistics, as clients have always been shown.
float measuredRate(int position);

} // namespace mpegfe
