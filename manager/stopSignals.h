// Ctrl-C and SIGTERM as something to poll for.
#pragma once

namespace manager {

// While it lives, SIGINT and SIGTERM do not end the process but make the descriptor readable. Make it before
// the first thread starts, so that every thread has the signals blocked.
class StopSignals {
  public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    int descriptor() const {
        return signals;
    }

    // The number of the signal that arrived, 0 when none has.
    int take() const;

  private:
    int signals = -1;
};

} // namespace manager
