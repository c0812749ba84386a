#include "companions/stopSignals.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <initializer_list>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace companions {
namespace {

volatile std::sig_atomic_t requested = 0;
volatile std::sig_atomic_t descriptor = -1;

// errno is the interrupted code's, and stays.
void request(int signal) {
    const int before = errno;
    const std::uint64_t one = 1;
    requested = signal;
    static_cast<void>(::write(descriptor, &one, sizeof one)); // fails only when it is readable already
    errno = before;
}

} // namespace

void stopOnSignals() {
    descriptor = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    struct sigaction action {};
    action.sa_handler = request;
    for (const int signal : {SIGINT, SIGTERM}) {
        ::sigaction(signal, &action, nullptr);
    }
    struct sigaction hangUp {};
    ::sigaction(SIGHUP, nullptr, &hangUp);
    if (hangUp.sa_handler != SIG_IGN) { // NOLINT(cppcoreguidelines-pro-type-cstyle-cast): the system's macro
        ::sigaction(SIGHUP, &action, nullptr);
    }
}

int stopSignal() {
    return requested;
}

bool stopRequested() {
    return requested != 0;
}

int stopDescriptor() {
    return descriptor;
}

} // namespace companions
