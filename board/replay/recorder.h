// Records what a board publishes, and publishes a recording again.
#pragma once

#include "publish/publisher.h"
#include "tunables.h"

#include <chrono>
#include <string>

namespace board {

struct RecordOptions {
    std::string file;               // to record to
    std::string host = "127.0.0.1"; // of the board that is recorded
    bool instruct = false;          // ask that board for every topic
    std::chrono::milliseconds duration = std::chrono::milliseconds::max();
};

struct ReplayOptions {
    std::string file;           // the recording
    bool once = false;          // stop at its end instead of starting over
    bool fast = false;          // as fast as possible instead of with its own timing
    bool deterministic = false; // begin when a client is ready, and wait for one that reads slowly
    std::chrono::milliseconds interval = tunables::publishInterval;
    std::string address = thisMachine; // that records are published on
};

// Subscribes to every topic of the board on options.host and writes what arrives to options.file, until a
// signal asks to stop or options.duration has passed, whether or not something arrives. With options.instruct
// the board on this machine is asked for every topic first. Throws BoardError when it cannot go on, and when
// the duration has passed and nothing has arrived.
void record(const RecordOptions& options);

// Publishes the recording options.file with its own timing, and from its beginning again at its end unless
// options.once. Instruction words are answered, and only the topics of the last word are published. Throws
// BoardError when it cannot go on, and for a recording without a message that a client can use.
void replay(const ReplayOptions& options);

} // namespace board
