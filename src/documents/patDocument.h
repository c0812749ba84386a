// The PAT document: "PAT".
#pragma once

#include "documents/documentText.h"
#include "feed/records.h"

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildPatJson(const PatRecord& record, DocumentBuffer& out);
