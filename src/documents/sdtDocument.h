// The SDT document: "SDT".
#pragma once

#include "documents/documentText.h"
#include "feed/records.h"

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildSdtJson(const SdtRecord& record, DocumentBuffer& out);
