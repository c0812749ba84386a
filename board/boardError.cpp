#include "boardError.h"

#include <cstdio>

namespace board {

void say(std::string_view line) {
    std::fprintf(stderr, "mpegfe-board: %.*s\n", static_cast<int>(line.size()), line.data());
}

} // namespace board
