// The TDT document: "TDT".
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildTdtJson(const wire::TdtRecord& record, DocumentBuffer& out);

namespace shape {

constexpr auto tdt(const wire::TdtRecord& record) {
    return document<"TDT">(hex<"tableID">(record.tableId),
                           number<"Date:MJD">(record.dateMjd),
                           field<"TOD">(record.timeOfDay),
                           rateKbps<"pidRate">(record.pidRate));
}

} // namespace shape

} // namespace mpegfe
