// The six PSI/SI table documents: which builder a table's PID selects.
#pragma once

#include "documents/documentText.h"

#include <cstdint>

namespace mpegfe {

// Stamps the record of the table on this PID with the PID's measured rate and writes the table's document.
// The rate stays in the newest record until the parser replaces it. A PID without a document prints
// "Unsupported PSI %d" and writes "{}". Returns the text's length without its terminator.
std::size_t buildPsiJson(std::uint16_t pid, DocumentBuffer& out);

} // namespace mpegfe
