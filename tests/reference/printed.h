// What printf would print, as a string.
#pragma once

#include <string>

namespace reference {

// The text of this format and its arguments, of any length.
[[gnu::format(printf, 1, 2)]] std::string printed(const char* format, ...);

} // namespace reference
