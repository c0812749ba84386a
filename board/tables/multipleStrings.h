// Text of ATSC tables: multiple_string_structure (ATSC A/65, 6.10).
#pragma once

#include "tables/section.h"

#include <string>

namespace board {

struct MultipleStrings {
    std::string language; // ISO 639-2, of the first string
    std::string text;     // UTF-8
    bool readable = true; // else some of it cannot be decoded
};

// The first of the strings, all of its segments, up to its first zero character. A segment that is
// compressed, in a mode that is not known, or longer than the structure is "?".
MultipleStrings multipleStrings(SectionBytes structure);

// Text in UTF-16, most significant byte first, as UTF-8 up to its first zero character.
std::string utf16Text(SectionBytes text);

} // namespace board
