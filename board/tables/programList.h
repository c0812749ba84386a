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

// The rows of programs that come for the first time: a PAT that names a program twice means the first.
std::vector<PatEntry> withoutRepeats(const std::vector<PatEntry>& entries);

// Whether a whole PAT is that of another stream than the model's: another transport_stream_id, or none of the
// old programs.
bool beginsNewStream(const StreamModel& model, std::uint16_t transportStreamId,
                     const std::vector<PatEntry>& entries);

// As many programs, besides the network entry, as records show. The maps of those that stay where they were
// before are still true.
std::vector<Program> programsOf(const std::vector<PatEntry>& entries, const std::vector<Program>& before);

} // namespace board
