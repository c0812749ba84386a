// The record store: for each topic the newest copy of its record and the previous one. Both are zero at
// start, live as long as the process, and nothing clears them.
#pragma once

#include "feed/records.h"

#include <cstdint>

// One record of each topic.
struct RecordSet {
    PatRecord pat;
    SdtRecord sdt;
    CatRecord cat;
    NitRecord nit;
    EitRecord eit;
    TdtRecord tdt;
    PmtRecord pmt;
    TsStatusRecord tsStatus;
    AvPgmRecord avPgm;
};

// What the parser sent last. Everybody reads these in place; the fields that records.h marks as written by
// the service are written here, and so are the services of an artificial SDT.
extern RecordSet newestRecords;

// What the parser had sent before that. Only the change detection of the reception reads and writes these.
extern RecordSet previousRecords;

// The PAT record's programCount as of the last PAT that did not announce a new stream.
extern std::int32_t programCount;
