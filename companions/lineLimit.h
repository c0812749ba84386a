// How many lines of a kind a console gets.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace companions {

// Lines of a kind begin with the same words. Of each kind the first ones of a period are shown, and the
// others counted, so that neither a peer nor a stream can fill a console, or a disk.
class LineLimit {
  public:
    using Instant = std::chrono::steady_clock::time_point;

    static constexpr std::size_t linesAPeriod = 20;
    static constexpr std::chrono::seconds period{10};

    // Whether the line is shown; else it is counted.
    bool admits(std::string_view line, Instant now);

    // What to say of the lines that were counted: a line for each kind whose period is over. Such a kind has
    // all its lines again.
    std::vector<std::string> over(Instant now);

    // The same for every kind, whether or not its period is over.
    std::vector<std::string> all();

  private:
    struct Kind {
        Instant start;
        std::size_t lines = 0;
    };

    std::map<std::string, Kind, std::less<>> kinds_; // by the words
};

} // namespace companions
