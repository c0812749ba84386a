// The command line of mpegfe-board.
#pragma once

#include "tunables.h"

#include <chrono>
#include <optional>
#include <span>
#include <string>

namespace board {

struct Options {
    std::string source;             // file, "-" for standard input, or network address of a transport stream
    std::string interface;          // network interface of multicast groups; empty leaves it to the system
    std::string record;             // file to record a board to; empty does not
    std::string replay;             // recording to publish again; empty does not
    std::string host = "127.0.0.1"; // of the board that is recorded
    bool instruct = false;          // ask that board for every topic
    std::chrono::milliseconds duration = std::chrono::milliseconds::max(); // of the recording
    bool newStreamOnLoop = false; // a file that starts over is a new stream
    bool deterministic = false;   // the stream's clock is the only clock
    bool once = false;            // stop at the end of the file instead of starting over
    bool fast = false;            // as fast as possible instead of paced by the stream's clock
    bool print = false;           // print the records as JSON at the end; no sockets
    bool help = false;
    std::optional<std::uint16_t> eventService; // program number whose events the EIT record lists
    std::chrono::milliseconds interval = tunables::publishInterval;
    Ticks ratePeriod = tunables::ratePeriod; // 0: one period, the whole stream
};

// Reads the command line (arguments without the program's name). Throws BoardError for what it does not
// understand, and for options that would have no effect beside the others.
Options parseOptions(std::span<char* const> arguments);

// The usage text, with a line end.
std::string usage();

} // namespace board
