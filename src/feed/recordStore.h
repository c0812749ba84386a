// The record store: for each topic the newest copy of its record and the previous one. Both are zero at
// start, live as long as the process, and nothing clears them.
#pragma once

#include "wire/recordSet.h"

#include <cstdint>

namespace mpegfe {

// What the parser sent last. Everybody reads these in place; the fields that records.h marks as written by
// the service are written here, and so are the services of an artificial SDT.
extern wire::RecordSet newestRecords;

// What the parser had sent before that. Only the change detection of the reception reads and writes these.
extern wire::RecordSet previousRecords;

// The PAT record's programCount as of the last PAT that did not announce a new stream.
extern std::int32_t programCount;

} // namespace mpegfe
