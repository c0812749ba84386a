// Where documents of statistics go.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace board {

// What happens while nobody reads what is written into a pipe.
enum class SlowReader {
    isWaitedFor,     // the board waits, and does everything else meanwhile
    missesDocuments, // the board goes on, and leaves out documents
};

// A file always holds the newest document and never a part of one: each is written beside it and takes its
// place. Standard output, a pipe or a device gets one document a line; one that is slow misses whole ones.
// What cannot be written is said once, and the board goes on.
class StatisticsOutput {
  public:
    // What is done now and then while a reader is waited for.
    using Meanwhile = std::function<void()>;

    // "-" is standard output. Throws BoardError when the file cannot be opened for writing.
    StatisticsOutput(std::string name, SlowReader slowReader, Meanwhile meanwhile);
    ~StatisticsOutput();
    StatisticsOutput(const StatisticsOutput&) = delete;
    StatisticsOutput& operator=(const StatisticsOutput&) = delete;

    // Writes a document, a line with its end.
    void write(std::string_view document);

    // Goes on with a document that has been begun, as far as somebody reads it.
    void goOn();

    // Waits a little for somebody to read the rest of one that has been begun.
    void finish();

  private:
    bool replacesFile() const {
        return descriptor_ < 0;
    }
    void replace(std::string_view document);
    void waitForReader();
    void writeRest(int patience); // ms
    bool writable(int patience) const;
    void complain(int error);

    std::string name_;
    SlowReader slowReader_;
    Meanwhile meanwhile_;
    int descriptor_ = -1; // of what gets lines
    bool closed_ = false; // nobody will ever read
    std::string rest_;    // of the document that has been begun
    bool told_ = false;   // what could not be written
    bool missedTold_ = false;
};

} // namespace board
