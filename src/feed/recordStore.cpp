#include "feed/recordStore.h"

namespace mpegfe {

wire::RecordSet newestRecords;
wire::RecordSet previousRecords;
std::int32_t programCount;

} // namespace mpegfe
