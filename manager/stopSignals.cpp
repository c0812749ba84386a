#include "stopSignals.h"

#include <cerrno>
#include <csignal>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace manager {

StopSignals::StopSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    signals = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    if (signals < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

StopSignals::~StopSignals() {
    close(signals);
}

int StopSignals::take() const {
    signalfd_siginfo information{};
    return read(signals, &information, sizeof information) == sizeof information
               ? static_cast<int>(information.ssi_signo)
               : 0;
}

} // namespace manager
