// One record of each topic, side by side.
#pragma once

#include "wire/records.h"

namespace wire {

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

} // namespace wire
