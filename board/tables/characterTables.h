// From character tables to UTF-8, by iconv.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace board {

// What is shown in the place of what cannot be decoded.
inline constexpr std::string_view undecodable = "?";

// What a unit means that its table does not have, by its first byte.
using Meaning = std::string_view (*)(char first);
inline std::string_view noMeaning(char /*first*/) {
    return undecodable;
}

// All of a text in a table that iconv knows by this name, as UTF-8. What makes no sense is replaced by its
// meaning, unit by unit of so many bytes; in a table that iconv does not know, that is everything.
std::string toUtf8(std::string_view table, std::string_view text, std::size_t unit,
                   Meaning meaning = noMeaning);

} // namespace board
