// The details of one program: "pgmDetail".
#pragma once

#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for one program: its PMT PID, video, audio, private and ECM PIDs with their attributes.
// Audio and private PIDs are counted by av, ECM PIDs by pmt. Codes that have no name read "Unknown".
// The PMT element always carries a comma and each later block opens with its own, so a program that lacks a
// block is not valid JSON; clients rely on these commas. Returns the text's length without its terminator.
std::size_t buildPgmDetailJson(const wire::PmtEntry* pmt, const wire::AvPgmEntry* av, DocumentBuffer& out);

} // namespace mpegfe
