// How far the reading of a large file is, on a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace board {

// The size of a source in bytes, where it is a regular file ("-": standard input is one).
std::optional<std::uint64_t> fileSize(const std::string& source);

// The line, no longer than this many characters: percent, speed, time that is left.
std::string progressLine(std::uint64_t done, std::uint64_t size, std::chrono::duration<double> elapsed,
                         std::size_t width);

// Shows that line on standard error while it lives, where that is a terminal; else nothing.
class Progress {
  public:
    // Nothing is shown of a source without a size.
    explicit Progress(std::optional<std::uint64_t> size);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // So many bytes have been read.
    void read(std::uint64_t bytes);

    // Takes the line away, until more is read.
    void erase();

  private:
    using Clock = std::chrono::steady_clock;

    std::uint64_t size_ = 0; // 0: nothing is shown
    bool shown_ = false;
    Clock::time_point start_;
    Clock::time_point next_; // when it is shown again
};

} // namespace board
