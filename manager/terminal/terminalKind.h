// What the terminal can do.
#pragma once

namespace manager {

// Whether text can be placed anywhere on the terminal of standard output, by what TERM says. True for a
// terminal that the system does not know, of which who takes it over says more.
bool canPlaceText();

} // namespace manager
