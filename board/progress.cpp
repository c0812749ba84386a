#include "progress.h"

#include "boardError.h"
#include "tunables.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <poll.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace board {

namespace {

Progress* onConsole = nullptr; // the one that is shown

// Of the terminal as it is now; it may be resized.
std::size_t columns() {
    constexpr std::size_t usual = 80;
    winsize size{};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

// A terminal that is held (Ctrl-S) must not hold the board.
void put(std::string_view text) {
    pollfd terminal{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&terminal, 1, 0) > 0 && (terminal.revents & POLLOUT) != 0) {
        [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    }
}

} // namespace

std::optional<std::uint64_t> fileSize(const std::string& source) {
    struct stat status {};
    const int failed = source == "-" ? ::fstat(STDIN_FILENO, &status) : ::stat(source.c_str(), &status);
    if (failed != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(status.st_size);
}

std::string progressLine(std::uint64_t done, std::uint64_t size, std::chrono::duration<double> elapsed,
                         std::size_t width) {
    constexpr unsigned minute = 60;
    constexpr double most = 359'999; // seconds that are told
    const double share = size == 0 ? 1 : std::min(1.0, static_cast<double>(done) / static_cast<double>(size));
    const double speed = elapsed.count() > 0 ? static_cast<double>(done) / elapsed.count() : 0; // bytes/s
    const double left = speed > 0 ? static_cast<double>(size - std::min(done, size)) / speed : most;
    const auto seconds = static_cast<unsigned>(std::min(left + 0.5, most));
    std::array<char, 80> line{};
    std::snprintf(line.data(), line.size(), "%3.0f%%  %.0f Mbit/s  %u:%02u:%02u left", share * 100,
                  speed * 8 / 1e6, seconds / (minute * minute), seconds / minute % minute, seconds % minute);
    return std::string(line.data()).substr(0, width);
}

Progress::Progress(std::optional<std::uint64_t> size) : start_(Clock::now()) {
    if (size && ::isatty(STDERR_FILENO) == 1) {
        size_ = *size;
        next_ = start_ + tunables::progressInterval;
        onConsole = this;
        makeRoomOnConsole = [] { onConsole->erase(); };
    }
}

Progress::~Progress() {
    erase();
    if (onConsole == this) {
        onConsole = nullptr;
        makeRoomOnConsole = nullptr;
    }
}

void Progress::read(std::uint64_t bytes) {
    if (size_ == 0) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now < next_) {
        return;
    }
    next_ = now + tunables::progressInterval;
    shown_ = true;
    // One column stays free: a terminal may begin a new line behind the last.
    put(std::string("\r").append(progressLine(bytes, size_, now - start_, columns() - 1)).append("\x1B[K"));
}

void Progress::erase() {
    if (std::exchange(shown_, false)) {
        put("\r\x1B[K");
    }
}

} // namespace board
