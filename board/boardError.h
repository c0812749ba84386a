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

// Prints a line on the board's console (standard error), for what does not end the board. Does not wait for
// its reader, and leaves out lines of a kind of which there are too many.
void say(std::string_view line);

// Says how many lines have been left out: to be called now and then, and at the end.
void sayWhatWasLeftOut();
void sayAllThatWasLeftOut();

// Thrown when nobody reads standard output any more: the board ends without a word.
struct OutputUnread {};

// Prints a text on standard output, as far as no signal asks to stop. Throws OutputUnread, and BoardError
// when it cannot be written.
void print(std::string_view text);

// Called before say() prints, by whoever keeps something on the console that has to make room. Null for none.
extern void (*makeRoomOnConsole)();

} // namespace board
