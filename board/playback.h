// Plays a source: reads it, paces it, analyses it and publishes what is known of it.
#pragma once

#include "options.h"

namespace board {

// Plays until the source ends (with --once, or standard input), or a signal asks to stop. Throws BoardError
// when it cannot go on.
void play(const Options& options);

// Reads the source once as fast as possible and prints the records as JSON on standard output.
void printRecords(const Options& options);

} // namespace board
