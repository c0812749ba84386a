#include "support/console.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>

std::string consoleOf(const std::function<void()>& run) {
    testing::internal::CaptureStdout();
    try {
        run();
    } catch (const ScriptEnded&) {
        std::puts("> the peers fall silent");
    }
    return testing::internal::GetCapturedStdout();
}

void joinConsoleAndErrors() {
    std::fflush(stdout);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    dup2(STDERR_FILENO, STDOUT_FILENO);
}
