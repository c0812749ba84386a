// What ends the board: a failure told as symptom, expectation, finding and meaning.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace board {

// Four parts of a message. The meaning says what it means for the user and what to do.
struct Trouble {
    std::string symptom;
    std::string expected;
    std::string got;
    std::string meaning;
};

// The four parts as one console line, without a line end.
inline std::string describe(const Trouble& trouble) {
    return trouble.symptom + ": expected " + trouble.expected + ", got " + trouble.got + "; " +
           trouble.meaning;
}

// Thrown where the board cannot go on; main prints it and exits with 1.
class BoardError : public std::runtime_error {
  public:
    explicit BoardError(const Trouble& trouble) : std::runtime_error(describe(trouble)) {}
};

// Prints a line on the board's console (standard error), for what does not end the board.
void say(std::string_view line);

} // namespace board
