// mpegFE: the MPEG front end of the monitoring board.
#include "mainLoop.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

// A service may be started without standard descriptors. libzmq's own would take their numbers, and the
// console would be written into one of them.
void occupyStandardDescriptors() {
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) {
        close(descriptor);
    }
}

} // namespace

int main() {
    occupyStandardDescriptors();
    // The console is read live, also through a pipe, and its last lines must survive an abort.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    // A console that goes away does not end the service.
    std::signal(SIGPIPE, SIG_IGN);
    mpegfe::runMainLoop();
}
