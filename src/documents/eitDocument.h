// The EIT document: "EIT".
#pragma once

#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildEitJson(const wire::EitRecord& record, DocumentBuffer& out);

} // namespace mpegfe
