// Where the service's console goes while something is timed: into a file, into a pipe that somebody reads, or
// to /dev/null.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

constexpr std::array consoles{"file", "pipe", "/dev/null"};

// Leads standard output to one of the consoles for as long as it lives.
class ConsoleTo {
  public:
    explicit ConsoleTo(std::string_view console) : saved(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)) {
        std::array<int, 2> ends{-1, -1};
        if (console == "file") {
            ends[1] = open(P_tmpdir, O_TMPFILE | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
        } else if (console == "/dev/null") {
            ends[1] = open("/dev/null", O_WRONLY | O_CLOEXEC);
        } else if (pipe2(ends.data(), O_CLOEXEC) == 0) {
            // Ends once standard output leads elsewhere.
            reader = std::jthread([from = ends[0]] {
                std::array<char, 65536> lines{};
                while (read(from, lines.data(), lines.size()) > 0) {
                }
                close(from);
            });
        }
        lead(ends[1]);
    }
    ~ConsoleTo() {
        lead(saved);
    }
    ConsoleTo(const ConsoleTo&) = delete;
    ConsoleTo& operator=(const ConsoleTo&) = delete;

  private:
    static void lead(int descriptor) {
        std::fflush(stdout);
        if (dup2(descriptor, STDOUT_FILENO) < 0) {
            std::perror("bench: the console cannot be opened");
            std::exit(1);
        }
        close(descriptor);
    }

    int saved;
    std::jthread reader; // ended last, when nobody writes into its pipe any more
};
