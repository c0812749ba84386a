// The collection of the PID table written plainly, as a peer for the service's: the same tables, the same
// sums, the same order, and a search that looks at one entry of the PID list after the other.
#pragma once

#include "model/pidTable.h"
#include "serviceNames.h"

#include <cstdint>

extern PidEntry plainTable[maxPids];
extern float plainProgramRates[maxPrograms];
extern float plainAggregateRate;

void collectPlainly(std::int32_t programCount);
