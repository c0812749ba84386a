// Descriptors of a NIT (ETSI EN 300 468, 6.2) as short readable texts, as the NIT record carries them.
#pragma once

#include "tables/dvbText.h"
#include "tables/siText.h"

#include <cstdint>
#include <string>

namespace board {

// The content of a whole descriptor, given from its tag on, as text: names as they are, delivery systems as
// frequency and modulation, service lists as "number:type" pairs, and every other descriptor's bytes, and
// those of one that makes no sense for its kind, in hexadecimal.
std::string networkText(const std::uint8_t* descriptor, TextReader readName = dvbText);

} // namespace board
