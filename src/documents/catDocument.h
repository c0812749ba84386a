// The CAT document: "CAT".
#pragma once

#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildCatJson(const wire::CatRecord& record, DocumentBuffer& out);

} // namespace mpegfe
