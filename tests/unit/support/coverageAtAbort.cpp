// Part of instrumented builds only: what a death test ran through counts as covered, although the process
// that ran it was aborted.
#include <csignal>

extern "C" void __gcov_dump();

namespace {

void writeCountersAndDie(int signal) {
    __gcov_dump();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

[[maybe_unused]] const auto previousHandler = std::signal(SIGABRT, writeCountersAndDie);

} // namespace
