// The live screen: one watched table in place, over the whole terminal, and the keys.
#pragma once

#include "terminal/watchedTable.h"

#include <string>

namespace manager {

// Takes over the terminal of standard input and output until its end. One can exist at a time.
class WatchScreen {
  public:
    // Throws std::runtime_error when the terminal cannot be used so.
    WatchScreen();
    ~WatchScreen();
    WatchScreen(const WatchScreen&) = delete;
    WatchScreen& operator=(const WatchScreen&) = delete;

    // status: one displayable line of what is asked for and what came of it.
    void show(const WatchedTable& table, const std::string& status);

    // Heeds the keys that have been pressed, and a new size. Returns false when one of them says to quit.
    bool takeKeys(WatchedTable& table);

    // While it is, no new document is to be shown.
    bool isPaused() const {
        return paused;
    }

  private:
    void showRows(const WatchedTable& table);

    int firstRow = 0;
    bool paused = false;
};

} // namespace manager
