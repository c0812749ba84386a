// UTF-8 text as a terminal shows it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace manager {

// Columns that a text of displayable characters takes on a terminal: 0 for a combining mark, 2 for a wide
// character.
std::size_t displayWidth(std::string_view text);

// The text with everything that a terminal would act on or not show written out: a byte that is not UTF-8 as
// \xE9; control characters, line and paragraph separators, characters that change the writing direction, and
// characters for private use (the emphasis marks of DVB text, EN 300 468 annex A, are among them) as \u{9B}.
// The backslash of these is a parameter for texts that are read as JSON afterwards.
std::string displayable(std::string_view text, std::string_view backslash = "\\");

} // namespace manager
