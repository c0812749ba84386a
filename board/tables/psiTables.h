// Reads PSI sections (ISO/IEC 13818-1, 2.4.4) into rows of the stream model.
#pragma once

#include "stream/streamModel.h"
#include "tables/programList.h"
#include "tables/section.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace board {

// Each reads one sound section and returns nothing for one of another table. Where a length inside it
// leads beyond what holds it, the rest of that loop is left out.
std::optional<std::vector<PatEntry>> readPat(SectionBytes section);
std::optional<std::vector<CaSystem>> readCat(SectionBytes section);
std::optional<ProgramMap> readPmt(SectionBytes section);

} // namespace board
