// The PAT document: "PAT".
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildPatJson(const wire::PatRecord& record, DocumentBuffer& out);

namespace shape {

inline constexpr auto patProgram = [](const wire::ProgramEntry& program) {
    return object(number<"pgmNum">(program.pgmNum), number<"referencePID">(program.pmtPid));
};

constexpr auto pat(const wire::PatRecord& record) {
    return document<"PAT">(number<"pgms">(record.programCount),
                           rateKbps<"pidRate">(record.pidRate),
                           list<"details">(record.programs, record.programCount, patProgram));
}

} // namespace shape

} // namespace mpegfe
