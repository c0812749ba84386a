// The SDT document: "SDT".
#pragma once

#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildSdtJson(const wire::SdtRecord& record, DocumentBuffer& out);

} // namespace mpegfe
