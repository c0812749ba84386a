// The PID list: "pidData".
#pragma once

#include "documents/documentText.h"
#include "model/pidTable.h"

namespace mpegfe {

// Writes the document for the first count entries (at most the 256 that there are; "pidCount" shows count as
// it stands), with the whole stream's rate in bit/s. When one more entry as long as the last would pass
// listTextLimit characters, prints "JSON PID Overflow" and leaves the rest out. Returns the text's length
// without its terminator.
std::size_t buildPidListJson(const PidEntry* entries, int count, float aggRate, DocumentBuffer& out);

} // namespace mpegfe
