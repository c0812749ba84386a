// Plays a source: reads it, paces it, analyses it and publishes what is known of it.
#pragma once

#include "publish/publisher.h"
#include "tunables.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace board {

// Which errors of the stream make the program fail.
enum class FailOn { nothing, priority1, errors };

// Where the packets come from and how they are measured.
struct StreamOptions {
    std::string source;                        // file, "-" for standard input, or network address
    std::string interface;                     // of multicast groups; empty leaves it to the system
    Ticks ratePeriod = tunables::ratePeriod;   // 0: one period, the whole stream
    std::optional<std::uint16_t> eventService; // program number whose events the EIT record lists
    FailOn failOn = FailOn::nothing;
};

struct PlayOptions : StreamOptions {
    bool newStreamOnLoop = false; // a file that starts over is a new stream
    bool deterministic = false;   // the stream's clock is the only clock
    bool once = false;            // stop at the end of the file instead of starting over
    bool fast = false;            // as fast as possible instead of paced by the stream's clock
    std::chrono::milliseconds interval = tunables::publishInterval;
    std::string address = thisMachine; // that records are published on
    std::string
        statistics; // file for a document of statistics a period, "-" for standard output; empty: none
};

// Plays until the source ends (with --once, or standard input), or a signal asks to stop. Returns the exit
// status: 0, or streamHasErrors when it is to fail on what the stream has shown. Throws BoardError when it
// cannot go on.
int play(const PlayOptions& options);

// Reads the source once as fast as possible and prints the records as JSON on standard output. Returns the
// exit status, as play does.
int printRecords(const StreamOptions& options);

} // namespace board
