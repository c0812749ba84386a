// Where a program says what happens: standard error, a line at a time.
#pragma once

#include "companions/lineLimit.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace companions {

// A reader that goes does not end the program, and one that does not read does not hold it up: lines that
// nobody takes are lost, and counted. Of lines of one kind no more are shown than LineLimit admits.
class Console {
  public:
    // program: begins each line. descriptor: a pipe, a terminal, a socket or a file; how it is opened stays
    // as it is, because others may write to it too.
    Console(std::string program, int descriptor) : program_(std::move(program)), descriptor_(descriptor) {}

    // Prints the line at once, unless there are too many of its kind.
    void say(std::string_view line);

    // Prints how many lines have not been shown, of kinds whose period is over. To be called now and then.
    void catchUp();

    // The same of every kind: the program ends.
    void finish();

  private:
    void print(std::string_view line);
    bool write(std::string_view line) const;

    std::string program_;
    int descriptor_;
    LineLimit limit_;
    std::size_t lost_ = 0; // lines, since the last one that was taken
};

// From now on a pipe whose reader has gone is an error of writing, and does not end the process.
void outliveReaders();

// How writing to standard output ended.
enum class Written {
    whole,
    stopped, // a signal asked to stop
    unread,  // its reader has gone
    failed,  // errno says why
};

// Writes the text to standard output, waiting for its reader.
Written writeOutput(std::string_view text);

} // namespace companions
