// Text of service information in Japan (ARIB STD-B24, part 2 of volume 1).
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace board {

// A text in the eight-bit character code as UTF-8. What libaribb24 does not know ends the text with "?".
// Control codes, those of a new line among them, are left out; a text of nothing else is "?". So is half a
// character, which is left out at the end of a longer text.
std::string aribText(std::span<const std::uint8_t> text);

} // namespace board
