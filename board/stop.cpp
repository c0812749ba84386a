#include "stop.h"

#include <csignal>
#include <initializer_list>

namespace board {

namespace {

volatile std::sig_atomic_t requested = 0;

} // namespace

void stopOnSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { requested = 1; };
    for (const int signal : {SIGINT, SIGTERM}) {
        ::sigaction(signal, &action, nullptr);
    }
}

bool stopRequested() {
    return requested != 0;
}

} // namespace board
