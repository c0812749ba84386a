#include "boardError.h"

#include <cstdio>

namespace board {

void (*makeRoomOnConsole)() = nullptr;

void say(std::string_view line) {
    if (makeRoomOnConsole != nullptr) {
        makeRoomOnConsole();
    }
    std::fprintf(stderr, "mpegfe-board: %.*s\n", static_cast<int>(line.size()), line.data());
}

} // namespace board
