// How the board is asked to stop.
#pragma once

namespace board {

// From now on SIGINT and SIGTERM ask to stop instead of ending the process.
void stopOnSignals();

// Whether a signal has asked to stop.
bool stopRequested();

} // namespace board
