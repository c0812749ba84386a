// The NIT document: "NIT".
#pragma once

#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildNitJson(const wire::NitRecord& record, DocumentBuffer& out);

} // namespace mpegfe
