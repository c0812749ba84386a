#include "feed/recordStore.h"

RecordSet newestRecords;
RecordSet previousRecords;
std::int32_t programCount;
