// How a program is asked to stop: Ctrl-C, SIGTERM, and SIGHUP when its terminal goes.
#pragma once

namespace companions {

// From now on SIGINT, SIGTERM and SIGHUP, unless it is ignored (nohup), ask to stop instead of ending the
// process. They still interrupt whatever
// waits. Throws std::system_error when the process may not open another descriptor.
void stopOnSignals();

// The number of the signal that has asked to stop, 0 when none has.
int stopSignal();

// Whether a signal has asked to stop.
bool stopRequested();

// Readable from the first signal on, for whoever waits without a bound: a signal just before the wait does
// not interrupt it. -1 before stopOnSignals.
int stopDescriptor();

} // namespace companions
