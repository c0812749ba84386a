// The program list: "pgmData".
#pragma once

#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for the services of this SDT record, as printSdtSummary has completed it. When one more
// service as long as the last would pass listTextLimit characters, prints "JSON PGM Overflow" and leaves the
// rest out. Returns the text's length without its terminator.
std::size_t buildPgmListJson(const wire::SdtRecord* sdt, DocumentBuffer& out);

} // namespace mpegfe
