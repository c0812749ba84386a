#include "terminal/terminalKind.h"

#include <curses.h>
#include <term.h>
#include <unistd.h>

namespace manager {

bool canPlaceText() {
    int found = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &found) != OK) {
        return true;
    }
    const bool isPossible = tigetstr("cup") != nullptr;
    del_curterm(cur_term);
    return isPossible;
}

} // namespace manager
