// Where the service's console goes while something is timed: into a file, into a pipe that somebody reads, or
// to /dev/null.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

struct Console {
    const char* name;
    std::FILE* (*open)();
    int (*close)(std::FILE* file);
};

inline const Console consoles[]{
    {"file", std::tmpfile, std::fclose},
    {"pipe", [] { return popen("exec cat >/dev/null", "we"); }, pclose},
    {"/dev/null", [] { return std::fopen("/dev/null", "we"); }, std::fclose},
};

// Leads standard output to the console for as long as it lives.
class ConsoleTo {
  public:
    explicit ConsoleTo(const Console& chosen)
        : console(chosen), saved(dup(STDOUT_FILENO)), file(console.open()) {
        lead(fileno(file));
    }
    ~ConsoleTo() {
        lead(saved);
        close(saved);
        console.close(file);
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
    }

    const Console& console;
    int saved;
    std::FILE* file;
};
