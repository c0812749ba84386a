// The programs that a PAT lists (ISO/IEC 13818-1, 2.4.4.3).
#pragma once

#include "stream/streamModel.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace board {

// One row of a PAT.
struct PatEntry {
    std::uint16_t program = 0; // program_number; 0 is the network entry
    std::uint16_t pid = 0;
};

// As many rows as records show: the network entry and the first programs. Of a PAT no more is kept, and none
// of it looked at again: a hostile one has 256 sections of 253 programs each.
struct ProgramList {
    std::vector<PatEntry> entries; // in order, each program once: a PAT that names it twice means the first
    std::size_t leftOut = 0;       // rows of further programs
};

// What is kept of rows, those of one section for example.
ProgramList shownOf(const std::vector<PatEntry>& rows);

// The same of what is kept of all sections, in order.
ProgramList joined(const std::vector<ProgramList>& parts);

// Whether what is shown of a whole PAT is that of another stream than the model's: another
// transport_stream_id, or none of the old programs.
bool beginsNewStream(const StreamModel& model, std::uint16_t transportStreamId,
                     const std::vector<PatEntry>& entries);

// These programs. The maps of those that stay where they were before are still true.
std::vector<Program> programsOf(const std::vector<PatEntry>& entries, const std::vector<Program>& before);

} // namespace board
