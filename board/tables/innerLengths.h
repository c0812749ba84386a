// Whether the loops inside a section fill it as they say.
#pragma once

#include "tables/section.h"

namespace board {

// Whether entries and descriptors of a sound section end where those that hold them end. Of one where they do
// not, the readers of tables take what is whole. True for tables whose loops are not known.
bool innerLengthsFit(SectionBytes section);

} // namespace board
