// The command line of mpegfe-board.
#pragma once

#include "tunables.h"

#include <chrono>
#include <optional>
#include <span>
#include <string>

namespace board {

struct Options {
    std::string source; // path of a transport stream file, "-" for standard input
    bool once = false;  // stop at the end of the file instead of starting over
    bool fast = false;  // as fast as possible instead of paced by the stream's clock
    bool print = false; // print the records as JSON at the end; no sockets
    bool help = false;
    std::optional<std::uint16_t> eventService; // program number whose events the EIT record lists
    std::chrono::milliseconds interval = tunables::publishInterval;
    Ticks ratePeriod = tunables::ratePeriod; // 0: one period, the whole stream
};

// Reads the command line (arguments without the program's name). Throws BoardError for what it does not
// understand.
Options parseOptions(std::span<char* const> arguments);

// The usage text, with a line end.
std::string usage();

} // namespace board
