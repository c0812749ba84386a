// Runs a command where it meets no other test and no running service; for tests that are no C++.
//
// usage: isolated COMMAND [ARGUMENT...]      exit status: that of the command; 125 when it cannot be run

#include "isolation.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int cannotRun = 125;
constexpr int signalStatus = 128; // and the signal's number, as a shell tells it

int fail(const char* what) {
    std::fprintf(stderr, "isolated: %s: %s\n", what, std::strerror(errno));
    return cannotRun;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: isolated COMMAND [ARGUMENT...]\n", stderr);
        return cannotRun;
    }
    testSupport::enterIsolation();
    // Not in place of this process, which may hold a lock.
    const pid_t command = fork();
    if (command == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execvp(argv[1], argv + 1);
        _exit(fail(argv[1]));
    }
    int status = 0;
    while (command > 0 && waitpid(command, &status, 0) < 0 && errno == EINTR) {
    }
    if (command < 0) {
        return fail("fork");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : signalStatus + WTERMSIG(status);
}
