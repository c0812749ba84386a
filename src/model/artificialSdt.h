// A substitute for the SDT of a stream that has none, so that it still has a program list.
#pragma once

namespace mpegfe {

// Writes an SDT made from the PAT record's sectionPrograms into the newest SDT record, unless the stream has
// PID 17 and the SDT record's actual is not 1. serviceType, caFlag and pidCount of the services stay as they
// were. Returns 1 when it wrote one, 0 when it left the record alone.
int buildArtificialSdt();

} // namespace mpegfe
