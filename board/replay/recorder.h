// Records what a board publishes, and publishes a recording again.
#pragma once

#include "options.h"

namespace board {

// Subscribes to every topic of the board on options.host and writes what arrives to options.record, until a
// signal asks to stop or options.duration has passed, whether or not something arrives. With options.instruct
// the board on this machine is asked for every topic first. Throws BoardError when it cannot go on, and when
// the duration has passed and nothing has arrived.
void record(const Options& options);

// Publishes the recording options.replay with its own timing, and from its beginning again at its end unless
// options.once. Instruction words are answered, and only the topics of the last word are published. Throws
// BoardError when it cannot go on, and for a recording without a message that a client can use.
void replay(const Options& options);

} // namespace board
