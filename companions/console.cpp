#include "companions/console.h"

#include "companions/stopSignals.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace companions {
namespace {

using Clock = std::chrono::steady_clock;

// Whoever is ready to be written to takes so many bytes without a wait.
constexpr std::size_t pieceSize = PIPE_BUF;

// Writes what can be written at once. Returns how much that was, -1 for nothing.
ssize_t writeNow(int descriptor, std::string_view text) {
    const ssize_t sent = ::send(descriptor, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent >= 0 || errno != ENOTSOCK) {
        return sent;
    }
    pollfd item{descriptor, POLLOUT, 0};
    if (::poll(&item, 1, 0) != 1 || (item.revents & POLLOUT) == 0) {
        errno = EAGAIN;
        return -1;
    }
    return ::write(descriptor, text.data(), std::min(text.size(), pieceSize));
}

} // namespace

void Console::say(std::string_view line) {
    catchUp();
    if (limit_.admits(line, Clock::now())) {
        print(line);
    }
}

void Console::catchUp() {
    for (const std::string& line : limit_.over(Clock::now())) {
        print(line);
    }
}

void Console::finish() {
    for (const std::string& line : limit_.all()) {
        print(line);
    }
}

void Console::print(std::string_view line) {
    if (lost_ > 0 && write(std::to_string(lost_) + " lines lost: nobody read the console")) {
        lost_ = 0;
    }
    lost_ += lost_ == 0 && write(line) ? 0 : 1;
}

// False when nobody takes it, or not all of it.
bool Console::write(std::string_view line) const {
    const std::string text = program_ + ": " + std::string(line) + "\n";
    std::string_view left = text;
    while (!left.empty()) {
        const ssize_t count = writeNow(descriptor_, left);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        left.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(0, count)));
    }
    return true;
}

void outliveReaders() {
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

Written writeOutput(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
        if (count < 0 && errno == EPIPE) {
            return Written::unread;
        }
        if (count < 0 && errno != EINTR) {
            return Written::failed;
        }
        if (stopRequested()) {
            return Written::stopped;
        }
        text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(0, count)));
    }
    return Written::whole;
}

} // namespace companions
