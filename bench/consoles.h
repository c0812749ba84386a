// Where the service's console goes while something is timed: into a file, into a pipe that somebody reads, or
// to /dev/null.
#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <thread>

enum class Console { file, pipe, null };

inline const char* nameOf(Console console) {
    static constexpr std::array names{"file", "pipe", "/dev/null"};
    return names[static_cast<std::size_t>(console)];
}

// Leads standard output to a console for as long as it lives.
class ConsoleTo {
  public:
    explicit ConsoleTo(Console console) : saved(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)) {
        switch (console) {
        case Console::file:
            lead(fileno(require(std::tmpfile())));
            break;
        case Console::pipe:
            leadToPipe();
            break;
        case Console::null:
            lead(fileno(require(std::fopen("/dev/null", "w"))));
            break;
        }
    }
    ~ConsoleTo() {
        std::fflush(stdout);
        dup2(saved, STDOUT_FILENO);
        close(saved);
        if (target != nullptr) {
            std::fclose(target);
        }
    }
    ConsoleTo(const ConsoleTo&) = delete;
    ConsoleTo& operator=(const ConsoleTo&) = delete;

  private:
    std::FILE* require(std::FILE* file) {
        if (file == nullptr) {
            std::perror("bench: the console cannot be opened");
            std::exit(1);
        }
        return target = file;
    }

    static void lead(int descriptor) {
        std::fflush(stdout);
        dup2(descriptor, STDOUT_FILENO);
    }

    void leadToPipe() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            std::perror("bench: no pipe for the console");
            std::exit(1);
        }
        lead(ends[1]);
        close(ends[1]);
        // Ends once standard output leads elsewhere.
        reader = std::jthread([descriptor = ends[0]] {
            std::array<char, 65536> lines{};
            while (read(descriptor, lines.data(), lines.size()) > 0) {
            }
            close(descriptor);
        });
    }

    int saved;
    std::FILE* target = nullptr;
    std::jthread reader; // ended last, when nobody writes into its pipe any more
};
