// mpegFE: the MPEG front end of the monitoring board.
#include "mainLoop.h"

#include <csignal>
#include <cstdio>

int main() {
    // The console is read live, also through a pipe, and its last lines must survive an abort.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    // A console that goes away does not end the service.
    std::signal(SIGPIPE, SIG_IGN);
    runMainLoop();
}
