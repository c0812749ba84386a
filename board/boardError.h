// What ends the board, and what it says without ending.
#pragma once

#include "companions/trouble.h"

#include <string_view>

namespace board {

using companions::describe;
using companions::Trouble;

// The board's exit status when it cannot go on; wrong usage has companions::wrongUsage.
inline constexpr int cannotGoOn = 1;

// The board's exit status when the stream has errors that it was told to fail on.
inline constexpr int streamHasErrors = 3;

// Thrown where the board cannot go on; main prints it.
class BoardError : public companions::Failure {
  public:
    explicit BoardError(const Trouble& trouble, int status = cannotGoOn)
        : companions::Failure(status, trouble) {}
};

// Prints a line on the board's console (standard error), for what does not end the board.
void say(std::string_view line);

// Called before say() prints, by whoever keeps something on the console that has to make room. Null for none.
extern void (*makeRoomOnConsole)();

} // namespace board
