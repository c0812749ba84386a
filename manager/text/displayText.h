// UTF-8 text as a terminal shows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace manager {

// A character of a text, which may hold any bytes.
struct Character {
    std::int32_t codePoint = -1; // negative: this byte is not UTF-8
    std::string_view bytes;
};

// Takes the first character off a text that is not empty.
Character takeCharacter(std::string_view& text);

// Whether a terminal shows the character and does nothing else with it.
bool isDisplayable(const Character& character);

// Columns that a text of displayable characters takes on a terminal: 0 for a combining mark, 2 for a wide
// character.
std::size_t displayWidth(std::string_view text);

// The text with everything that a terminal would act on or not show written out: a byte that is not UTF-8 as
// \xE9; control characters, line and paragraph separators, characters that change the writing direction or
// show nothing (a zero-width space), and characters for private use (the emphasis marks of DVB text, EN 300
// 468 annex A, are among them) as \u{9B}.
std::string displayable(std::string_view text);

// A displayable text cut to this many columns, with an ellipsis in place of what is left out.
std::string cutToWidth(std::string_view text, std::size_t columns);

} // namespace manager
