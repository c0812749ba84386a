// The CAT document: "CAT".
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildCatJson(const wire::CatRecord& record, DocumentBuffer& out);

namespace shape {

inline constexpr auto caSystem = [](const wire::CaEntry& entry) {
    return object(hex<"systemID">(entry.caSystemId), number<"pidNum">(entry.caPid));
};

constexpr auto cat(const wire::CatRecord& record) {
    return document<"CAT">(number<"pidCount">(record.caCount),
                           hex<"tableID">(record.tableId),
                           rateKbps<"pidRate">(record.pidRate),
                           list<"details", "noServices">(record.caEntries, record.caCount, caSystem));
}

} // namespace shape

} // namespace mpegfe
