// The command line of mpegfe-board.
#pragma once

#include "playback.h"
#include "replay/recorder.h"

#include <optional>
#include <variant>

namespace board {

// What the board is started for.
struct PrintOptions : StreamOptions {};
using Options = std::variant<PlayOptions, PrintOptions, RecordOptions, ReplayOptions>;

// Reads the command line. Nothing when it was --help or --version, which are then printed on standard output.
// Throws Failure (wrong usage) for what it does not understand, and for options that would have no effect
// beside the others.
std::optional<Options> parseOptions(int argumentCount, const char* const* arguments);

} // namespace board
